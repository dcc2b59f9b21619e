#include "BlockWalk.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "Damage.h"

namespace {

template <typename T>
T Load(const uint8_t* bytes) {
  T value{};
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

}  // namespace

BlockWalk::BlockWalk(Core::DataReader* reader) : reader_(reader), size_(reader->Size()) {
  ReadAt(0, &header_, sizeof header_);
}

unsigned long BlockWalk::ReadAt(uint64_t position, void* buffer, unsigned long size) {
  if (reader_->Seek(SEEK_SET, static_cast<int64_t>(position)) != 0) return 0;
  return reader_->Read(buffer, size);
}

void BlockWalk::FailInBlock(const char* trouble) const {
  throw DamageError({position_, frames_, frameNumber_, false}, trouble);
}

void BlockWalk::FailInSubBlock(const char* trouble) const {
  throw DamageError({nextSub_, frames_, frameNumber_, block_.type == Data::kBlockFrame}, trouble);
}

bool BlockWalk::NextBlock() {
  position_ = nextBlock_;
  if (position_ >= size_) return false;
  std::array<uint8_t, sizeof block_ + sizeof number_> bytes{};
  const unsigned long count = ReadAt(position_, bytes.data(), bytes.size());
  if (count < sizeof block_) FailInBlock("The block cannot be read.");
  block_ = Load<Data::BlockHeader>(bytes.data());
  number_ = Load<uint32_t>(bytes.data() + sizeof block_);
  nextBlock_ = position_ + BlockBytes();
  if (nextBlock_ > size_) FailInBlock("The block runs past the end of the file.");
  nextSub_ = subEnd_ = 0;
  if (HasSubBlocks()) {
    const bool trailers = (header_.optionMask & Data::kOptionNoTrailers) == 0;
    const uint64_t around = sizeof number_ + (trailers ? sizeof Data::DCAPFrameTrailer : 0);
    if (block_.size < around) FailInBlock("The block is too small.");
    nextSub_ = position_ + bytes.size();
    subEnd_ = nextSub_ + block_.size - around;
  }
  if (block_.type == Data::kBlockFrame) {
    ++frames_;
    frameNumber_ = number_;
  }
  return true;
}

bool BlockWalk::NextSubBlock() {
  if (nextSub_ >= subEnd_) return false;
  const bool threadIds = (header_.optionMask & Data::kOptionThreadIds) != 0;
  const uint32_t headerSize = sizeof sub_.header - (threadIds ? 0 : sizeof sub_.header.threadId);
  // The header, and the longest description: object, call and decompressed size.
  std::array<uint8_t, sizeof(Data::SubBlockHeader) + 10> bytes{};
  const unsigned long count =
      ReadAt(nextSub_, bytes.data(), std::min<uint64_t>(subEnd_ - nextSub_, bytes.size()));
  sub_ = {};
  std::memcpy(&sub_.header, bytes.data(), headerSize);
  const uint64_t end = nextSub_ + headerSize + sub_.header.size;
  if (count < headerSize || end > subEnd_) {
    FailInSubBlock("The sub-block runs past the end of its block.");
  }
  const uint8_t* desc = bytes.data() + headerSize;
  uint32_t descSize = 0;
  bool packed = false;
  switch (sub_.header.type) {
    case Data::kSubBlockMetadata:
      descSize = sizeof(Data::MetadataDesc);
      break;
    case Data::kSubBlockCompressedMethodCall:
      packed = true;
      [[fallthrough]];
    case Data::kSubBlockMethodCall:
      sub_.callId = Load<Data::MethodCallDesc>(desc).callId;
      descSize = sizeof(Data::MethodCallDesc);
      break;
    case Data::kSubBlockCompressedFunctionCall:
      packed = true;
      [[fallthrough]];
    case Data::kSubBlockFunctionCall:
      sub_.callId = Load<Data::FunctionCallDesc>(desc).callId;
      descSize = sizeof(Data::FunctionCallDesc);
      break;
    default:
      break;
  }
  const auto inflatedSize = Load<uint32_t>(desc + descSize);
  if (packed) descSize += static_cast<uint32_t>(sizeof inflatedSize);
  if (sub_.header.size < descSize) FailInSubBlock("The sub-block is too small.");
  sub_.payloadSize = sub_.inflatedSize = sub_.header.size - descSize;
  const bool compressed = (header_.optionMask & Data::kOptionCompressionMask) != 0;
  if (packed && compressed && sub_.payloadSize != 0) sub_.inflatedSize = inflatedSize;
  nextSub_ = end;
  return true;
}
