#include "Data/Capture/DCAPFileWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "Data/Detail/Compression.h"
#include "Data/Detail/Format.h"

namespace Data {

const std::string DCAPFileWriter::InvalidWriterMsg =
    "DCAP file writing failed: The data writer is invalid.";
const std::string DCAPFileWriter::CompressionTypeFailMsg =
    "DCAP file writing failed: The compression algorithm is not supported.";
const std::string DCAPFileWriter::WriteFailMsg =
    "DCAP file writing failed: The data could not be written.";
const std::string DCAPFileWriter::BlockTooLargeMsg =
    "DCAP file writing failed: The block would be larger than its size field can say.";
const std::string DCAPFileWriter::NoBlockMsg =
    "DCAP file writing failed: There is no block to write this into.";
const std::string DCAPFileWriter::ClosedMsg = "DCAP file writing failed: The capture is closed.";

namespace {

// A larger block may have left the buffer of the `DataWriter` in part: its size would then reach
// the file before its last bytes.
constexpr uint64_t kBufferedSize = uint64_t{64} * 1024;

}  // namespace

DCAPWriterOptions::DCAPWriterOptions(const FileHeader& header)
    : versionLow(header.versionLow),
      versionMinor(header.versionMinor),
      versionMajor(header.versionMajor),
      optionMask(header.optionMask),
      compression(static_cast<CompressionType>(CompressionOf(header.optionMask))) {
  std::copy(std::begin(header.reserved), std::end(header.reserved), reserved);
}

DCAPFileWriter::DCAPFileWriter(std::shared_ptr<Core::DataWriter> writer,
                               const DCAPWriterOptions& options)
    : writer_(std::move(writer)),
      compressor_(MakeCompressor(options.compression, options.quality, CompressionTypeFailMsg)),
      compressionThreshold_(options.compressionThreshold),
      hasThreadIds_(HasThreadIds(options.optionMask)),
      hasTrailers_(HasTrailers(options.optionMask)),
      flushBlocks_(options.flushBlocks) {
  if (writer_ == nullptr || !writer_->IsValid()) Fail(InvalidWriterMsg);
  FileHeader header{};
  header.fourCC = kDCAPFourCC;
  header.versionLow = options.versionLow;
  header.versionMinor = options.versionMinor;
  header.versionMajor = options.versionMajor;
  header.optionMask = (options.optionMask & ~kOptionCompressionMask) |
                      (static_cast<uint32_t>(options.compression) << kOptionCompressionShift);
  std::copy(std::begin(options.reserved), std::end(options.reserved), header.reserved);
  Append(&header, sizeof(header));
  if (flushBlocks_) Flush();  // the header alone is an unfinished capture already
}

DCAPFileWriter::~DCAPFileWriter() = default;

// Blocks ------------------------------------------------------------------------------------------

void DCAPFileWriter::BeginFrame(uint32_t number) {
  BeginBlock(kBlockFrame, BlockKind::kFramed);
  Append(&number, sizeof(number));
  ++frameCount_;
}

void DCAPFileWriter::BeginType2Block(uint32_t number) {
  BeginBlock(kBlockType2, BlockKind::kFramed);
  Append(&number, sizeof(number));
}

void DCAPFileWriter::BeginRawBlock(uint16_t type) { BeginBlock(type, BlockKind::kRaw); }

void DCAPFileWriter::BeginBlock(uint16_t type, BlockKind kind) {
  if (closed_) Fail(ClosedMsg);
  EndBlock();
  blockStart_ = size_;
  // Size 0 tells readers that the block has not ended, should the process die.
  const BlockHeader header{type, 0};
  Append(&header, sizeof(header));
  block_ = kind;
}

void DCAPFileWriter::EndBlock() {
  if (block_ == BlockKind::kNone) return;
  if (block_ == BlockKind::kFramed && hasTrailers_) {
    Append(&DCAPFrameTrailer, sizeof(DCAPFrameTrailer));
  }
  const uint64_t size = size_ - blockStart_ - sizeof(BlockHeader);
  // The file must say a size only once all bytes of the block are there. Bytes that the writer
  // still buffers reach the file in one piece with the size.
  if (flushBlocks_ && size > kBufferedSize) Flush();
  const auto recorded = static_cast<uint32_t>(size);
  Patch(&recorded, sizeof(recorded), blockStart_ + offsetof(BlockHeader, size));
  if (flushBlocks_) Flush();
  block_ = BlockKind::kNone;
}

void DCAPFileWriter::Close() {
  if (closed_) return;
  EndBlock();
  Flush();
  // Both fields at once, so that no reader finds one without the other.
  uint8_t totals[sizeof(FileHeader::frameCount) + sizeof(FileHeader::fileSize)];
  static_assert(offsetof(FileHeader, fileSize) ==
                offsetof(FileHeader, frameCount) + sizeof(FileHeader::frameCount));
  std::memcpy(totals, &frameCount_, sizeof(frameCount_));
  std::memcpy(totals + sizeof(frameCount_), &size_, sizeof(size_));
  Patch(totals, sizeof(totals), offsetof(FileHeader, frameCount));
  Flush();
  closed_ = true;
}

// Sub-blocks --------------------------------------------------------------------------------------

void DCAPFileWriter::WriteFunctionCall(uint32_t threadId, ApiCallType callId,
                                       const uint8_t* payload, uint32_t size) {
  WriteCall(threadId, {0, static_cast<uint16_t>(callId)}, false, payload, size);
}

void DCAPFileWriter::WriteMethodCall(uint32_t threadId, uint32_t objectValue, ApiCallType callId,
                                     const uint8_t* payload, uint32_t size) {
  WriteCall(threadId, {objectValue, static_cast<uint16_t>(callId)}, true, payload, size);
}

void DCAPFileWriter::WriteCall(uint32_t threadId, const MethodCallDesc& desc, bool isMethod,
                               const uint8_t* payload, uint32_t size) {
  // One row of bytes holds object, identifier and decompressed size: a function call begins behind
  // the object, a plain one ends before the size.
  uint8_t bytes[kMaxDescSize];
  std::memcpy(bytes, &desc, sizeof(desc));
  std::memcpy(bytes + sizeof(desc), &size, kInflatedSizeSize);
  // A function call has the method call's description without the object value before it.
  const uint32_t skipped = isMethod ? 0 : offsetof(MethodCallDesc, callId);
  const auto plainSize = static_cast<uint32_t>(sizeof(desc)) - skipped;

  if (compressor_ != nullptr && size >= compressionThreshold_) {
    const uint32_t packedSize = Compress(payload, size);
    if (packedSize != 0) {
      WriteParts(threadId,
                 isMethod ? kSubBlockCompressedMethodCall : kSubBlockCompressedFunctionCall,
                 bytes + skipped, plainSize + kInflatedSizeSize, packed_.get(), packedSize);
      return;
    }
  }
  WriteParts(threadId, isMethod ? kSubBlockMethodCall : kSubBlockFunctionCall, bytes + skipped,
             plainSize, payload, size);
}

void DCAPFileWriter::WriteMetadata(uint32_t threadId, uint16_t type, uint16_t subtype,
                                   const uint8_t* payload, uint32_t size) {
  const MetadataDesc desc{type, subtype};
  uint8_t bytes[sizeof(desc)];
  std::memcpy(bytes, &desc, sizeof(desc));
  WriteParts(threadId, kSubBlockMetadata, bytes, sizeof(bytes), payload, size);
}

void DCAPFileWriter::WriteSubBlock(uint32_t threadId, uint16_t type, const uint8_t* body,
                                   uint32_t size) {
  WriteParts(threadId, type, nullptr, 0, body, size);
}

void DCAPFileWriter::WriteParts(uint32_t threadId, uint16_t type, const uint8_t* desc,
                                uint32_t descSize, const uint8_t* payload, uint32_t size) {
  // Everything is checked before the first byte is written, so that an error changes nothing.
  if (block_ != BlockKind::kFramed) Fail(NoBlockMsg);
  const uint32_t headerSize = SubBlockHeaderSize(hasThreadIds_);
  RequireRoom(uint64_t{headerSize} + descSize + size);

  const SubBlockHeader header{type, descSize + size, threadId};
  uint8_t lead[sizeof(header) + kMaxDescSize];
  std::memcpy(lead, &header, sizeof(header));
  if (descSize != 0) std::memcpy(lead + headerSize, desc, descSize);
  Append(lead, headerSize + descSize);
  if (size != 0) Append(payload, size);
}

void DCAPFileWriter::WriteBytes(const uint8_t* bytes, uint64_t size) {
  if (block_ != BlockKind::kRaw) Fail(NoBlockMsg);
  RequireRoom(size);
  if (size != 0) Append(bytes, size);
}

// Compresses into `packed_`. Returns the size, or 0 when compressing gains nothing over a plain
// sub-block, which need not record the inflated size.
uint32_t DCAPFileWriter::Compress(const uint8_t* payload, uint32_t size) {
  const unsigned int bound = compressor_->CompressBound(size);
  if (bound == 0) return 0;
  if (packedCapacity_ < bound) {
    packed_ = std::make_unique_for_overwrite<uint8_t[]>(bound);
    packedCapacity_ = bound;
  }
  unsigned int produced = packedCapacity_;
  if (!compressor_->Compress(payload, size, packed_.get(), &produced)) return 0;
  return uint64_t{produced} + kInflatedSizeSize < size ? produced : 0;
}

// The stream --------------------------------------------------------------------------------------

void DCAPFileWriter::RequireRoom(uint64_t size) const {
  // The trailer counts, too, so that a block can always be ended.
  const uint64_t used =
      size_ - blockStart_ - sizeof(BlockHeader) +
      (block_ == BlockKind::kFramed && hasTrailers_ ? sizeof(DCAPFrameTrailer) : 0);
  if (size > UINT32_MAX - used) [[unlikely]] {
    Fail(BlockTooLargeMsg);
  }
}

void DCAPFileWriter::Append(const void* bytes, uint64_t size) {
  RequireSuccess(!failed_ && writer_->Write(bytes, size) == size);
  size_ += size;
}

void DCAPFileWriter::Patch(const void* bytes, uint64_t size, uint64_t offset) {
  RequireSuccess(!failed_ && writer_->WriteAt(bytes, size, offset) == size);
}

void DCAPFileWriter::Flush() { RequireSuccess(!failed_ && writer_->Flush()); }

void DCAPFileWriter::RequireSuccess(bool success) {
  if (!success) [[unlikely]] {
    // Offsets may not fit the file any more: nothing further is written.
    failed_ = true;
    Fail(WriteFailMsg);
  }
}

}  // namespace Data
