#include "Data/Capture/DCAPBlockReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Core/Exceptions.h"
#include "Data/DCAPFileProcessor.h"
#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

namespace Data {

namespace {

using Texts = DCAPFileProcessor;

// What is fetched at once; less after bytes were left out, as more of them may be.
constexpr uint64_t kWindowSize = uint64_t{256} * 1024;
constexpr uint64_t kFirstFetch = 4096;
constexpr uint64_t kFetchGrowth = 4;
// Sub-blocks up to this size get their memory on the file's word, larger ones as bytes arrive.
constexpr uint64_t kTrustedSize = uint64_t{1024} * 1024;

constexpr uint32_t kShortSubHeaderSize = sizeof(SubBlockHeader) - sizeof(uint32_t);
constexpr uint32_t kInflatedSizeSize = sizeof(uint32_t);

[[noreturn, gnu::cold, gnu::noinline]] void Fail(const std::string& message) {
  throw Core::BasicException(message);
}

template <typename T>
T Load(const uint8_t* bytes) {
  T value{};
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

std::unique_ptr<Util::Compressor> MakeCompressor(uint32_t optionMask) {
  constexpr auto kQuality = Util::Compressor::kDefault;
  switch ((optionMask & kOptionCompressionMask) >> kOptionCompressionShift) {
    case kCompressionNone:
      return nullptr;
    case kCompressionLZ4:
      return std::make_unique<Util::LZ4Compressor>(kQuality, 1);
    case kCompressionLZ77:
      return std::make_unique<Util::LZ77Compressor>(kQuality, 1, Util::LZ77Compressor::kMaxWindow);
    default:
      Fail(Texts::CompressionTypeFailMsg);
  }
}

// Bytes of a call's description before its payload or its inflated size.
uint32_t PlainDescSize(const StoredSubBlock& call) {
  return call.DescSize() - (call.IsPacked() ? kInflatedSizeSize : 0);
}

}  // namespace

DCAPBlockReader::DCAPBlockReader(std::shared_ptr<Core::DataReader> reader)
    : reader_(std::move(reader)), fetchSize_(kWindowSize) {
  if (reader_ == nullptr || !reader_->IsValid()) Fail(Texts::InvalidReaderMsg);
  if (reader_->Read(&header_, sizeof(header_)) != sizeof(header_)) Fail(Texts::FileHeaderFailMsg);
  if (header_.fourCC != kDCAPFourCC) Fail(Texts::FourCCFailMsg);
  compressor_ = MakeCompressor(header_.optionMask);
}

DCAPBlockReader::~DCAPBlockReader() = default;

void DCAPBlockReader::ContinueAt(uint64_t position) {
  if (reader_->Seek(SEEK_SET, static_cast<int64_t>(position)) != 0) Fail(Texts::BlockHeaderFailMsg);
  unfetched_ = 0;
  remaining_ = 0;
  trailerDue_ = false;
  block_ = {};
  nextBlock_ = position;
  fetchSize_ = kFirstFetch;
}

bool DCAPBlockReader::NextBlock() {
  // The rest of the block at hand; a stream that cannot seek there ends.
  if (unfetched_ != 0) reader_->Seek(SEEK_CUR, static_cast<int64_t>(unfetched_));
  cursor_ = end_ = 0;
  unfetched_ = 0;
  remaining_ = 0;
  trailerDue_ = false;
  block_ = {};
  if (header_.fileSize != 0 && nextBlock_ >= header_.fileSize) return false;
  if (reader_->Read(&block_, sizeof(block_)) != sizeof(block_)) {
    if (!reader_->AtEof()) Fail(Texts::BlockHeaderFailMsg);
    return false;
  }
  nextBlock_ += sizeof(block_) + block_.size;
  unfetched_ = remaining_ = block_.size;
  if (!IsFramed()) return true;

  if ((header_.optionMask & kOptionNoTrailers) == 0) {
    if (remaining_ < sizeof(DCAPFrameTrailer)) Fail(Texts::BlockTrailerMissingMsg);
    remaining_ -= static_cast<uint32_t>(sizeof(DCAPFrameTrailer));
    trailerDue_ = true;
  }
  if (remaining_ < sizeof(frameNumber_)) Fail(Texts::FrameNumberFailMsg);
  // Read by itself, so that frames which nobody looks into are not fetched.
  if (reader_->Read(&frameNumber_, sizeof(frameNumber_)) != sizeof(frameNumber_)) {
    Fail(Texts::FrameNumberFailMsg);
  }
  unfetched_ -= sizeof(frameNumber_);
  remaining_ -= static_cast<uint32_t>(sizeof(frameNumber_));
  return true;
}

bool DCAPBlockReader::NextSubBlock(StoredSubBlock* subBlock) {
  if (!ReadSubBlockHeader(subBlock)) return false;
  subBlock->body = Take(subBlock->size, Texts::SubBlockDataFailMsg);
  remaining_ -= subBlock->size;
  return true;
}

bool DCAPBlockReader::NextSubBlockDesc(StoredSubBlock* subBlock) {
  if (!ReadSubBlockHeader(subBlock)) return false;
  const uint32_t descSize = std::min(subBlock->DescSize(), subBlock->size);
  // Skipping may drop the window that holds the description.
  std::memcpy(desc_.data(), Take(descSize, Texts::SubBlockDataFailMsg), descSize);
  subBlock->body = desc_.data();
  Skip(subBlock->size - descSize);
  remaining_ -= subBlock->size;
  return true;
}

inline bool DCAPBlockReader::ReadSubBlockHeader(StoredSubBlock* subBlock) {
  if (!IsFramed()) return false;
  if (remaining_ == 0) {
    if (trailerDue_) {
      trailerDue_ = false;
      const uint8_t* trailer = Take(sizeof(DCAPFrameTrailer), Texts::BlockTrailerFailMsg);
      if (Load<uint64_t>(trailer) != DCAPFrameTrailer) Fail(Texts::BlockTrailerMissingMsg);
    }
    return false;
  }
  const bool hasThreadId = (header_.optionMask & kOptionThreadIds) != 0;
  const uint32_t headerSize = hasThreadId ? sizeof(SubBlockHeader) : kShortSubHeaderSize;
  if (remaining_ < headerSize) Fail(Texts::SubBlockHeaderFailMsg);
  const uint8_t* header = Take(headerSize, Texts::SubBlockHeaderFailMsg);
  remaining_ -= headerSize;
  subBlock->type = Load<uint16_t>(header);
  subBlock->size = Load<uint32_t>(header + offsetof(SubBlockHeader, size));
  subBlock->threadId =
      hasThreadId ? Load<uint32_t>(header + offsetof(SubBlockHeader, threadId)) : 0;
  if (subBlock->size > remaining_) Fail(Texts::SubBlockDataFailMsg);
  return true;
}

std::span<const uint8_t> DCAPBlockReader::NextPiece() {
  if (IsFramed() || remaining_ == 0) return {};
  Reserve(kWindowSize);
  const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(kWindowSize, remaining_));
  const uint64_t count = reader_->Read(buffer_.get(), wanted);
  unfetched_ -= count;
  remaining_ -= static_cast<uint32_t>(count);
  if (count == 0) remaining_ = 0;
  return {buffer_.get(), count};
}

std::optional<ApiCallType> DCAPBlockReader::CallId(const StoredSubBlock& subBlock) {
  if (!subBlock.IsCall() || subBlock.size < PlainDescSize(subBlock)) return {};
  const uint32_t offset = subBlock.IsMethodCall() ? offsetof(MethodCallDesc, callId) : 0;
  return static_cast<ApiCallType>(Load<uint16_t>(subBlock.body + offset));
}

uint32_t DCAPBlockReader::InflatedSize(const StoredSubBlock& subBlock) const {
  const uint32_t descSize = subBlock.DescSize();
  if (subBlock.size < descSize) Fail(Texts::SubBlockDataFailMsg);
  const bool isStored = !subBlock.IsPacked() || compressor_ == nullptr || subBlock.size == descSize;
  return isStored ? subBlock.size - descSize
                  : Load<uint32_t>(subBlock.body + PlainDescSize(subBlock));
}

std::optional<StoredCall> DCAPBlockReader::ReadCall(const StoredSubBlock& subBlock) {
  const uint32_t inflatedSize = InflatedSize(subBlock);
  const uint32_t descSize = subBlock.DescSize();
  StoredCall call{subBlock.IsMethodCall(), {}, subBlock.body + descSize, subBlock.size - descSize};
  if (call.isMethod) {
    call.desc = Load<MethodCallDesc>(subBlock.body);
  } else {
    call.desc.callId = Load<uint16_t>(subBlock.body);
  }
  if (!subBlock.IsPacked() || compressor_ == nullptr || call.size == 0) return call;

  if (inflatedSize == 0) return {};
  if (inflatedSize > compressor_->MaxDecompressedSize(call.size)) Fail(Texts::DecompressFailMsg);
  if (inflatedCapacity_ < inflatedSize) {
    inflated_ = std::make_unique_for_overwrite<uint8_t[]>(inflatedSize);
    inflatedCapacity_ = inflatedSize;
  }
  unsigned int produced = inflatedSize;
  if (!compressor_->Decompress(call.payload, call.size, inflated_.get(), &produced) ||
      produced != inflatedSize) {
    Fail(Texts::DecompressFailMsg);
  }
  call.payload = inflated_.get();
  call.size = inflatedSize;
  return call;
}

// Hands out `size` bytes of the block in one piece, valid until the next ones are taken.
inline const uint8_t* DCAPBlockReader::Take(uint32_t size, const std::string& message) {
  if (Ahead() < size) [[unlikely]] {
    Fill(size, message);
  }
  const uint8_t* bytes = buffer_.get() + cursor_;
  cursor_ += size;
  return bytes;
}

// Leaves out `size` bytes of the block, unread where they were not fetched yet.
inline void DCAPBlockReader::Skip(uint32_t size) {
  const uint64_t fetched = std::min<uint64_t>(Ahead(), size);
  cursor_ += fetched;
  if (const uint64_t rest = size - fetched; rest != 0) {
    unfetched_ -= rest;
    reader_->Seek(SEEK_CUR, static_cast<int64_t>(rest));
    fetchSize_ = kFirstFetch;
  }
}

// Fetches at least `size` bytes of the block, and what else of it fits into the window.
void DCAPBlockReader::Fill(uint32_t size, const std::string& message) {
  const uint64_t kept = Ahead();
  if (kept != 0) std::memmove(buffer_.get(), buffer_.get() + cursor_, kept);
  cursor_ = 0;
  end_ = kept;
  while (end_ < size) {
    const uint64_t target =
        std::max(fetchSize_, std::min<uint64_t>(size, std::max(kTrustedSize, 2 * end_)));
    fetchSize_ = std::min(fetchSize_ * kFetchGrowth, kWindowSize);
    Reserve(target);
    const uint64_t wanted = std::min(target - end_, unfetched_);
    const uint64_t count = wanted == 0 ? 0 : reader_->Read(buffer_.get() + end_, wanted);
    end_ += count;
    unfetched_ -= count;
    if (count == 0) Fail(message);
  }
}

// Makes the buffer hold `capacity` bytes; those up to end_ are kept.
void DCAPBlockReader::Reserve(uint64_t capacity) {
  if (capacity_ >= capacity) return;
  auto grown = std::make_unique_for_overwrite<uint8_t[]>(capacity);
  if (end_ != 0) std::memcpy(grown.get(), buffer_.get(), end_);
  buffer_ = std::move(grown);
  capacity_ = capacity;
}

}  // namespace Data
