#include "Data/DCAPFileProcessor.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "Core/Detail/CopyBytes.h"
#include "Core/Exceptions.h"
#include "Core/Log.h"
#include "Core/MappedReader.h"
#include "Core/MemoryReader.h"
#include "Core/StdioReader.h"
#include "Core/ViewReader.h"
#include "Util/Compressor.h"
#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

namespace Data {

using Core::Log;

const std::string DCAPFileProcessor::InvalidReaderMsg =
    "DCAP file processing failed: The data reader is invalid.";
const std::string DCAPFileProcessor::FileHeaderFailMsg =
    "DCAP file processing failed: Could not read file header.";
const std::string DCAPFileProcessor::FourCCFailMsg =
    "DCAP file processing failed: Four character code does not match DCAP.";
const std::string DCAPFileProcessor::CompressionTypeFailMsg =
    "DCAP file processing failed: File compressed with an unsupported algorithm.";
const std::string DCAPFileProcessor::DecompressFailMsg =
    "DCAP file processing failed: Could not decompress the API call data.";
const std::string DCAPFileProcessor::BlockHeaderFailMsg =
    "DCAP file processing failed: Could not read block header.";
const std::string DCAPFileProcessor::BlockTrailerMissingMsg =
    "DCAP file processing failed: Block trailer is not present.";
const std::string DCAPFileProcessor::BlockTrailerFailMsg =
    "DCAP file processing failed: Could not read block trailer.";
const std::string DCAPFileProcessor::FrameNumberFailMsg =
    "DCAP file processing failed: Could not read frame sequence number.";
const std::string DCAPFileProcessor::SubBlockHeaderFailMsg =
    "DCAP file processing failed: Could not read sub-block header.";
const std::string DCAPFileProcessor::SubBlockDescFailMsg =
    "DCAP file processing failed: Could not read sub-block desription.";
const std::string DCAPFileProcessor::SubBlockDataFailMsg =
    "DCAP file processing failed: Could not read sub-block data.";

namespace {

constexpr char kUnit[] = "src/Data/DCAPFileProcessor";

// Small enough to stay in the first-level cache between the copy in and the decoding.
constexpr unsigned long kWindowSize = 16ul * 1024;
// Sub-blocks up to this size get their memory on the file's word, larger ones as bytes arrive.
constexpr unsigned long kTrustedSize = 1024ul * 1024;

// Descriptions as they lie in the file.
constexpr unsigned int kInflatedSizeSize = sizeof(uint32_t);
constexpr unsigned int kMaxDescSize = sizeof(MethodCallDesc) + kInflatedSizeSize;
// A sub-block header without its thread id.
constexpr unsigned int kShortSubHeaderSize = sizeof(SubBlockHeader) - sizeof(uint32_t);

[[noreturn, gnu::cold, gnu::noinline]] void Fail(const std::string& message) {
  throw Core::BasicException(message);
}

// The reader, if it is one of the library's own. What is derived from these may read other bytes
// than they show.
Core::ViewReader* AsViewer(Core::DataReader* reader) {
  const std::type_info& type = typeid(*reader);
  const bool isOwn = type == typeid(Core::StdioReader) || type == typeid(Core::MemoryReader) ||
                     type == typeid(Core::MappedReader);
  return isOwn ? static_cast<Core::ViewReader*>(reader) : nullptr;
}

template <typename T>
T Load(const unsigned char* bytes) {
  T value{};
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

}  // namespace

DCAPFileProcessor::DCAPFileProcessor() = default;

DCAPFileProcessor::~DCAPFileProcessor() = default;

bool DCAPFileProcessor::Initialize(DCAPConsumer* consumer,
                                   const std::shared_ptr<Core::DataReader>& reader,
                                   uint64_t fileSize) {
  if (initialized_) return true;
  if (reader == nullptr || !reader->IsValid()) Fail(InvalidReaderMsg);
  // Everything else still has its initial value, since there is no second initialisation.
  consumer_ = consumer;
  reader_ = reader;
  viewer_ = AsViewer(reader.get());
  initialized_ = true;
  processNextType2Block = false;
  ReadFileHeader(fileSize);
  return false;
}

unsigned char DCAPFileProcessor::GetFileVersionMajor() const {
  return static_cast<unsigned char>(versionWord_ >> 24);
}

unsigned char DCAPFileProcessor::GetFileVersionMinor() const {
  return static_cast<unsigned char>(versionWord_ >> 16);
}

bool DCAPFileProcessor::AtEof() const {
  if (headerFileSize_ != 0) return position_ - Ahead() >= headerFileSize_;
  if (reader_ == nullptr) return true;
  return Ahead() == 0 && reader_->AtEof();
}

void DCAPFileProcessor::ReadFileHeader(unsigned long actualSize) {
  FileHeader header{};
  CheckedRead(&header, sizeof(header), FileHeaderFailMsg);
  if (header.fourCC != kDCAPFourCC) Fail(FourCCFailMsg);
  if (actualSize != 0 && header.fileSize != actualSize) {
    Log::Print(Log::LogLevel::kWarning, Log::LogZone::kCompleteness, __LINE__, kUnit, true,
               "File header size field (%d) does not match actual file size (%d).",
               static_cast<int>(header.fileSize), static_cast<int>(actualSize));
  }
  ProcessOptionMask(header.optionMask);
  headerFileSize_ = header.fileSize;
  versionWord_ = static_cast<uint32_t>(header.versionLow) |
                 static_cast<uint32_t>(header.versionMinor) << 16 |
                 static_cast<uint32_t>(header.versionMajor) << 24;
  headerFrameCount_ = header.frameCount;
  consumer_->ProcessFileStart(header);
}

void DCAPFileProcessor::ProcessOptionMask(unsigned int mask) {
  optionBit4_ = (mask & 1u << 4) != 0;
  optionBit5_ = (mask & 1u << 5) != 0;
  threadIdsPresent_ = (mask & kOptionThreadIds) != 0;
  optionBit7_ = (mask & 1u << 7) != 0;
  blockTrailersPresent_ = (mask & kOptionNoTrailers) == 0;
  type2BeforeFirstFrame_ = (mask & kOptionType2BeforeFirst) != 0;
  optionHighByte_ = static_cast<uint8_t>(mask >> 24);
  compressionType_ = (mask & kOptionCompressionMask) >> kOptionCompressionShift;
  using Quality = Util::Compressor::CompressorQuality;
  switch (compressionType_) {
    case kCompressionNone:
      return;
    case kCompressionLZ4:
      Log::Print(Log::LogLevel::kInformation, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                 "DCAP file compressed with LZ4.");
      compressor_ = std::make_unique<Util::LZ4Compressor>(static_cast<Quality>(1), 1);
      break;
    case kCompressionLZ77:
      Log::Print(Log::LogLevel::kInformation, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                 "DCAP file compressed with LZ77.");
      compressor_ = std::make_unique<Util::LZ77Compressor>(static_cast<Quality>(1), 1, 32768);
      break;
    default:
      Fail(CompressionTypeFailMsg);
  }
  compressed_ = true;
}

unsigned long DCAPFileProcessor::Read(void* buffer, unsigned long size) {
  if (reader_ == nullptr) return 0;
  const unsigned long count = reader_->Read(buffer, size);
  position_ += count;
  return count;
}

unsigned long DCAPFileProcessor::CheckedRead(void* buffer, unsigned long size,
                                             const std::string& message) {
  if (Read(buffer, size) != size) Fail(message);
  return size;
}

// The read-ahead window holds bytes of the current block that came from the reader and were not
// processed yet: where the reader has them, if it shows them, otherwise in a buffer. It makes one
// virtual Read of many small ones and lets payloads be handed on where they lie. Because it never
// holds bytes of the next block and `position_` minus `Ahead()` is what has been processed, nobody
// outside can tell it from reading piece by piece; the texts of failures follow from how many bytes
// of a piece the stream still had.

// Processes `size` bytes of the block, which the window can hold, and returns them.
inline const unsigned char* DCAPFileProcessor::Take(unsigned long size,
                                                    const std::string& message) {
  if (Ahead() < size) [[unlikely]] {
    Fill(size, message);
  }
  const unsigned char* bytes = windowCursor_;
  windowCursor_ += size;
  return bytes;
}

// Processes a sub-block's description and payload and returns them, in one piece.
inline const unsigned char* DCAPFileProcessor::TakeBody(const SubBlockHeader& subHeader,
                                                        unsigned int descSize) {
  if (subHeader.size < descSize || Ahead() < subHeader.size) [[unlikely]] {
    return TakeBodyAcrossWindow(subHeader.size, descSize);
  }
  const unsigned char* body = windowCursor_;
  windowCursor_ += subHeader.size;
  return body;
}

// Makes the next `size` bytes of the block, and what else the reader has of it at hand, the window.
// When the reader cannot show them it is left where they begin.
bool DCAPFileProcessor::FillByView(unsigned long size) {
  const unsigned long kept = Ahead();
  if (kept != 0 && reader_->Seek(SEEK_CUR, -static_cast<int64_t>(kept)) != 0) return false;
  windowCursor_ = windowEnd_;
  unfetched_ += kept;
  position_ -= kept;
  const std::span<const unsigned char> bytes = viewer_->View(size, unfetched_);
  if (bytes.empty()) return false;
  windowCursor_ = bytes.data();
  windowEnd_ = windowCursor_ + bytes.size();
  unfetched_ -= bytes.size();
  position_ += bytes.size();
  return true;
}

// Brings at least `size` bytes of the block into the window, and as many as it can hold.
void DCAPFileProcessor::Fill(unsigned long size, const std::string& message) {
  if (viewer_ != nullptr && FillByView(size)) return;
  const unsigned long kept = Ahead();
  if (window_ == nullptr) {
    window_ = std::make_unique_for_overwrite<unsigned char[]>(kWindowSize);
  } else {
    std::memmove(window_.get(), windowCursor_, kept);
  }
  windowCursor_ = window_.get();
  windowEnd_ = windowCursor_ + kept;
  const unsigned long count =
      Read(window_.get() + kept, std::min<unsigned long>(kWindowSize - kept, unfetched_));
  windowEnd_ += count;
  unfetched_ -= count;
  if (Ahead() < size) Fail(message);
}

[[gnu::noinline]] const unsigned char* DCAPFileProcessor::TakeBodyAcrossWindow(
    unsigned int size, unsigned int descSize) {
  if (size < descSize) {
    // Whether the stream has the description decides the text, even past the sub-block's end.
    unsigned char desc[kMaxDescSize];
    const unsigned long missing = descSize - std::min<unsigned long>(descSize, Ahead());
    CheckedRead(desc, missing, SubBlockDescFailMsg);
    Fail(SubBlockDataFailMsg);
  }
  if (Ahead() < descSize) Fill(descSize, SubBlockDescFailMsg);
  if (size <= kWindowSize || (viewer_ != nullptr && FillByView(size))) {
    return Take(size, SubBlockDataFailMsg);
  }

  unsigned long have = 0;
  while (have < size) {
    const unsigned long target =
        std::min<unsigned long>(size, std::max({dataBufferSize_, kTrustedSize, Ahead(), 2 * have}));
    EnsureSpace(&dataBuffer_, &dataBufferSize_, target, have);
    if (have == 0) {
      have = Ahead();
      Core::CopyBytes(dataBuffer_.get(), windowCursor_, have);
      windowCursor_ = windowEnd_;
    }
    const unsigned long count =
        CheckedRead(dataBuffer_.get() + have, target - have, SubBlockDataFailMsg);
    unfetched_ -= count;
    have = target;
  }
  return dataBuffer_.get();
}

bool DCAPFileProcessor::SkipBlock(unsigned int size) {
  if (reader_ == nullptr) return false;
  const unsigned long ahead = Ahead();
  const uint64_t processed = position_ - ahead;
  const bool beyondEnd = processed + size > headerFileSize_;
  if (!beyondEnd && size <= ahead) {
    windowCursor_ += size;
    return !AtEof();
  }
  // The rest of the block is counted down even when the stream then has none of it.
  const uint64_t rest = ahead + unfetched_;
  unfetched_ = rest - std::min<uint64_t>(rest, size);
  windowCursor_ = windowEnd_;
  // A reader that cannot seek goes on where it is; what it reads there is checked like any bytes.
  if (beyondEnd) {
    reader_->Seek(SEEK_END, 0);
    position_ = headerFileSize_;
  } else {
    reader_->Seek(SEEK_CUR, static_cast<int64_t>(size - ahead));
    position_ = processed + size;
  }
  return !AtEof();
}

// Gives `*buffer` room for `needed` bytes. Only the first `kept` bytes survive a reallocation.
void DCAPFileProcessor::EnsureSpace(std::unique_ptr<unsigned char[]>* buffer, unsigned long* size,
                                    unsigned long needed, unsigned long kept) {
  if (*size >= needed) return;
  if (kept == 0) {
    buffer->reset();
    *size = 0;
  }
  auto grown = std::make_unique_for_overwrite<unsigned char[]>(needed);
  if (kept != 0) std::memcpy(grown.get(), buffer->get(), kept);
  *buffer = std::move(grown);
  *size = needed;
}

bool DCAPFileProcessor::ProcessNextBlock() {
  if (reader_ != nullptr) blockStart_ = reader_->Tell();
  BlockHeader header{};
  if (Read(&header, sizeof(header)) != sizeof(header)) {
    if (!AtEof()) Fail(BlockHeaderFailMsg);
    Log::Print(Log::LogLevel::kNotice, Log::LogZone::kProcessing, __LINE__, kUnit, true,
               "Reading past end of DCAP file.");
    return false;
  }
  lastBlockType_ = header.type;
  consumer_->ProcessBlockStart(header);
  bool more = false;
  switch (header.type) {
    case kBlockFrame:
      more = ProcessFrameBlock(header);
      if (loopFrameNumber != 0 && loopFrameNumber == currentFrame_) {
        windowCursor_ = windowEnd_;
        reader_->Seek(SEEK_SET, static_cast<int64_t>(blockStart_));
        position_ = blockStart_;
        if (loopRepeatCount == 0) return true;
        more = --loopRepeatCount != 0;
      }
      break;
    case kBlockType2:
      if (processNextType2Block || (type2BeforeFirstFrame_ && currentFrame_ == 0)) {
        more = ProcessFrameBlock(header);
        processNextType2Block = false;
      } else {
        more = SkipBlock(header.size);
      }
      break;
    default:
      Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                 "Skipping unrecognized block type %d.", header.type);
      more = SkipBlock(header.size);
  }
  if (!more) consumer_->ProcessFileEnd();
  return more;
}

bool DCAPFileProcessor::ProcessNextFrame() {
  bool more = false;
  do {
    more = ProcessNextBlock();
  } while (more && lastBlockType_ != kBlockFrame);
  return more;
}

void DCAPFileProcessor::ContinueAt(uint64_t position, uint32_t frameNumber) {
  if (reader_ == nullptr || reader_->Seek(SEEK_SET, static_cast<int64_t>(position)) != 0) {
    Fail(BlockHeaderFailMsg);
  }
  windowCursor_ = windowEnd_;
  unfetched_ = 0;
  position_ = position;
  currentFrame_ = frameNumber;
}

inline bool DCAPFileProcessor::IsThreadFiltered(const SubBlockHeader& subHeader) {
  if (threadIdsPresent_ && (subHeader.threadId != lastThreadId_ || lastThreadIndex_ == 0)) {
    NoteThread(subHeader.threadId);
  }
  return !threadFilter.empty() && FilterDropsThread();
}

void DCAPFileProcessor::NoteThread(uint32_t threadId) {
  const auto [entry, isNew] = threadIndexById_.try_emplace(threadId, threadCount_ + 1);
  if (isNew) ++threadCount_;
  lastThreadId_ = threadId;
  lastThreadIndex_ = entry->second;
}

bool DCAPFileProcessor::FilterDropsThread() const {
  if (currentFrame_ < threadFilterStartFrame) return false;
  return std::find(threadFilter.begin(), threadFilter.end(), lastThreadIndex_) ==
         threadFilter.end();
}

const unsigned char* DCAPFileProcessor::Inflate(const unsigned char* payload, unsigned int size,
                                                uint32_t inflatedSize) {
  if (inflatedSize > compressor_->MaxDecompressedSize(size)) Fail(DecompressFailMsg);
  EnsureSpace(&inflateBuffer_, &inflateBufferSize_, inflatedSize);
  unsigned int produced = inflatedSize;
  if (!compressor_->Decompress(payload, size, inflateBuffer_.get(), &produced) ||
      produced != inflatedSize) {
    Fail(DecompressFailMsg);
  }
  return inflateBuffer_.get();
}

// Each kind of call has code of its own, without a branch on the kind.
template <typename Desc, bool kIsPacked>
inline unsigned int DCAPFileProcessor::ProcessCall(const SubBlockHeader& subHeader) {
  constexpr bool kIsMethod = std::is_same_v<Desc, MethodCallDesc>;
  constexpr unsigned int kDescSize = sizeof(Desc) + (kIsPacked ? kInflatedSizeSize : 0);
  const unsigned char* body = TakeBody(subHeader, kDescSize);
  const unsigned char* payload = body + kDescSize;
  unsigned int size = subHeader.size - kDescSize;
  const auto desc = Load<Desc>(body);
  lastCallId_ = desc.callId;

  const SubBlockHeader* header = &subHeader;
  [[maybe_unused]] SubBlockHeader plainHeader{};
  if constexpr (kIsPacked) {
    // The consumer sees what an uncompressed sub-block would have said; its size cannot wrap.
    const auto inflatedSize = Load<uint32_t>(body + sizeof(Desc));
    plainHeader = {kIsMethod ? kSubBlockMethodCall : kSubBlockFunctionCall,
                   inflatedSize + std::min<uint32_t>(sizeof(Desc), UINT32_MAX - inflatedSize),
                   subHeader.threadId};
    header = &plainHeader;
    if (compressed_ && size != 0) {
      if (inflatedSize == 0) {
        Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                   "File contains a compressed API call block reporting an invalid decompressed "
                   "size of 0.  File may be corrupt.");
        return 0;
      }
      payload = Inflate(payload, size, inflatedSize);
      size = inflatedSize;
    }
  }
  if (IsThreadFiltered(subHeader)) return subHeader.size;
  if constexpr (kIsMethod) {
    consumer_->ProcessMethodCall(*header, desc, payload, size);
  } else {
    consumer_->ProcessFunctionCall(*header, desc, payload, size);
  }
  return subHeader.size;
}

inline unsigned int DCAPFileProcessor::ProcessApiCall(const SubBlockHeader& subHeader) {
  switch (subHeader.type) {
    case kSubBlockFunctionCall:
      return ProcessCall<FunctionCallDesc, false>(subHeader);
    case kSubBlockMethodCall:
      return ProcessCall<MethodCallDesc, false>(subHeader);
    case kSubBlockCompressedFunctionCall:
      return ProcessCall<FunctionCallDesc, true>(subHeader);
    case kSubBlockCompressedMethodCall:
      return ProcessCall<MethodCallDesc, true>(subHeader);
    default:
      Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                 "Unrecognized API call sub-block type");
      return 0;
  }
}

inline unsigned int DCAPFileProcessor::ProcessMetadata(const SubBlockHeader& subHeader) {
  const unsigned char* body = TakeBody(subHeader, sizeof(MetadataDesc));
  if (IsThreadFiltered(subHeader)) return subHeader.size;
  const unsigned char* payload = body + sizeof(MetadataDesc);
  const unsigned int size = subHeader.size - static_cast<unsigned int>(sizeof(MetadataDesc));
  // Decoders hand out arrays where they lie in the payload.
  if (size != 0 && reinterpret_cast<uintptr_t>(payload) % alignof(uint32_t) != 0) {
    EnsureSpace(&dataBuffer_, &dataBufferSize_, size);
    std::memcpy(dataBuffer_.get(), payload, size);
    payload = dataBuffer_.get();
  }
  consumer_->ProcessMetadata(subHeader, Load<MetadataDesc>(body), payload, size);
  return subHeader.size;
}

bool DCAPFileProcessor::ProcessFrameBlock(const BlockHeader& header) {
  uint32_t remaining = header.size;
  unfetched_ = header.size;
  if (blockTrailersPresent_) {
    if (remaining < sizeof(DCAPFrameTrailer)) Fail(BlockTrailerMissingMsg);
    remaining -= static_cast<uint32_t>(sizeof(DCAPFrameTrailer));
  }
  uint32_t frameNumber = 0;
  if (remaining < sizeof(frameNumber)) Fail(FrameNumberFailMsg);
  frameNumber = Load<uint32_t>(Take(sizeof(frameNumber), FrameNumberFailMsg));
  remaining -= static_cast<uint32_t>(sizeof(frameNumber));
  if (header.type == kBlockFrame) currentFrame_ = frameNumber;
  consumer_->ProcessFrameNumber(frameNumber);

  const uint32_t subHeaderSize = threadIdsPresent_ ? sizeof(SubBlockHeader) : kShortSubHeaderSize;
  while (remaining != 0) {
    if (remaining < subHeaderSize) Fail(SubBlockHeaderFailMsg);
    const unsigned char* bytes = Take(subHeaderSize, SubBlockHeaderFailMsg);
    remaining -= subHeaderSize;
    // Field by field: loads that span two stores stall.
    const SubBlockHeader subHeader{
        Load<uint16_t>(bytes), Load<uint32_t>(bytes + offsetof(SubBlockHeader, size)),
        threadIdsPresent_ ? Load<uint32_t>(bytes + offsetof(SubBlockHeader, threadId)) : 0};

    if (subHeader.size > remaining) {
      // A recorder that died leaves its last frame short; anywhere else the file is damaged.
      if (currentFrame_ != headerFrameCount_) Fail(SubBlockDataFailMsg);
      Log::Print(Log::LogLevel::kWarning, Log::LogZone::kCompleteness, __LINE__, kUnit, true,
                 "Last frame is incomplete.");
      return false;
    }
    switch (subHeader.type) {
      case kSubBlockMethodCall:
      case kSubBlockFunctionCall:
      case kSubBlockCompressedMethodCall:
      case kSubBlockCompressedFunctionCall:
        ProcessApiCall(subHeader);
        break;
      case kSubBlockMetadata:
        ProcessMetadata(subHeader);
        break;
      default:
        Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                   "Skipping unrecognized subblock type %d.", subHeader.type);
        SkipBlock(subHeader.size);
    }
    remaining -= subHeader.size;
  }

  unsigned long trailer = 0;
  if (blockTrailersPresent_) {
    trailer = Load<unsigned long>(Take(sizeof(trailer), BlockTrailerFailMsg));
    if (trailer != DCAPFrameTrailer) Fail(BlockTrailerMissingMsg);
  }
  consumer_->ProcessBlockEnd(trailer);
  return !AtEof();
}

}  // namespace Data
