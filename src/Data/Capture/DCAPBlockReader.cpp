#include "Data/Capture/DCAPBlockReader.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "Data/DCAPFileProcessor.h"
#include "Data/Detail/BlockWindow.h"
#include "Data/Detail/Compression.h"
#include "Data/Detail/Format.h"

namespace Data {

namespace {

using Texts = DCAPFileProcessor;

// Bytes of a call's description without the decompressed size.
uint32_t PlainDescSize(const StoredSubBlock& call) {
  return call.DescSize() - (call.IsPacked() ? kInflatedSizeSize : 0);
}

}  // namespace

DCAPBlockReader::DCAPBlockReader(std::shared_ptr<Core::DataReader> reader)
    : window_(std::make_unique<BlockWindow>(std::move(reader))) {
  if (window_->Reader() == nullptr || !window_->Reader()->IsValid()) Fail(Texts::InvalidReaderMsg);
  if (window_->ReadOutside(&header_, sizeof(header_)) != sizeof(header_)) {
    Fail(Texts::FileHeaderFailMsg);
  }
  if (header_.fourCC != kDCAPFourCC) Fail(Texts::FourCCFailMsg);
  inflater_ = std::make_unique<Inflater>(header_.optionMask);
}

DCAPBlockReader::~DCAPBlockReader() = default;

void DCAPBlockReader::ContinueAt(uint64_t position) {
  if (!window_->SeekTo(position)) Fail(Texts::BlockHeaderFailMsg);
  remaining_ = 0;
  trailerDue_ = false;
  block_ = {};
  nextBlock_ = position;
}

bool DCAPBlockReader::NextBlock() {
  window_->Skip(window_->Left());
  remaining_ = 0;
  trailerDue_ = false;
  block_ = {};
  if (header_.fileSize != 0 && nextBlock_ >= header_.fileSize) return false;
  if (window_->ReadOutside(&block_, sizeof(block_)) != sizeof(block_)) {
    if (!window_->AtEof()) Fail(Texts::BlockHeaderFailMsg);
    return false;
  }
  nextBlock_ += sizeof(block_) + block_.size;
  remaining_ = block_.size;
  window_->BeginBlock(block_.size);
  if (!IsFramed()) return true;

  if (HasTrailers(header_.optionMask)) {
    if (remaining_ < kTrailerSize) Fail(Texts::BlockTrailerMissingMsg);
    remaining_ -= kTrailerSize;
    trailerDue_ = true;
  }
  if (remaining_ < kFrameNumberSize) Fail(Texts::FrameNumberFailMsg);
  // Read by itself, so that frames that the program skips are not fetched.
  if (window_->ReadOutside(&frameNumber_, kFrameNumberSize) != kFrameNumberSize) {
    Fail(Texts::FrameNumberFailMsg);
  }
  window_->BeginBlock(block_.size - kFrameNumberSize);
  remaining_ -= kFrameNumberSize;
  return true;
}

bool DCAPBlockReader::NextSubBlock(StoredSubBlock* subBlock) {
  if (!ReadSubBlockHeader(subBlock)) return false;
  subBlock->body = window_->Take(subBlock->size, Texts::SubBlockDataFailMsg);
  subBlock->bodySize = subBlock->size;
  remaining_ -= subBlock->size;
  return true;
}

bool DCAPBlockReader::NextSubBlockDesc(StoredSubBlock* subBlock) {
  if (!ReadSubBlockHeader(subBlock)) return false;
  const uint32_t descSize = std::min(subBlock->DescSize(), subBlock->size);
  // Copied, since skipping may drop the window that holds the description.
  std::memcpy(desc_.data(), window_->Take(descSize, Texts::SubBlockDataFailMsg), descSize);
  subBlock->body = desc_.data();
  subBlock->bodySize = descSize;
  window_->Skip(subBlock->size - descSize);
  remaining_ -= subBlock->size;
  return true;
}

inline bool DCAPBlockReader::ReadSubBlockHeader(StoredSubBlock* subBlock) {
  if (!IsFramed()) return false;
  if (remaining_ == 0) {
    if (std::exchange(trailerDue_, false)) {
      const uint8_t* trailer = window_->Take(kTrailerSize, Texts::BlockTrailerFailMsg);
      if (Load<uint64_t>(trailer) != DCAPFrameTrailer) Fail(Texts::BlockTrailerMissingMsg);
    }
    return false;
  }
  const bool hasThreadIds = HasThreadIds(header_.optionMask);
  const uint32_t headerSize = SubBlockHeaderSize(hasThreadIds);
  if (remaining_ < headerSize) Fail(Texts::SubBlockHeaderFailMsg);
  const SubBlockHeader header =
      LoadSubBlockHeader(window_->Take(headerSize, Texts::SubBlockHeaderFailMsg), hasThreadIds);
  remaining_ -= headerSize;
  subBlock->type = header.type;
  subBlock->size = header.size;
  subBlock->threadId = header.threadId;
  if (header.size > remaining_) Fail(Texts::SubBlockDataFailMsg);
  return true;
}

std::span<const uint8_t> DCAPBlockReader::NextPiece() {
  if (IsFramed() || remaining_ == 0) return {};
  const std::span<const uint8_t> piece = window_->TakeSome();
  remaining_ -= static_cast<uint32_t>(piece.size());
  if (piece.empty()) remaining_ = 0;
  return piece;
}

std::optional<ApiCallType> DCAPBlockReader::CallId(const StoredSubBlock& subBlock) {
  if (!subBlock.IsCall() || subBlock.size < PlainDescSize(subBlock)) return {};
  const uint32_t offset = subBlock.IsMethodCall() ? offsetof(MethodCallDesc, callId) : 0;
  return static_cast<ApiCallType>(Load<uint16_t>(subBlock.body + offset));
}

uint32_t DCAPBlockReader::InflatedSize(const StoredSubBlock& subBlock) const {
  const uint32_t descSize = subBlock.DescSize();
  if (subBlock.size < descSize) Fail(Texts::SubBlockDataFailMsg);
  const bool isStored = !subBlock.IsPacked() || !inflater_->IsNeeded() || subBlock.size == descSize;
  return isStored ? subBlock.size - descSize
                  : Load<uint32_t>(subBlock.body + PlainDescSize(subBlock));
}

std::optional<StoredCall> DCAPBlockReader::ReadCall(const StoredSubBlock& subBlock) {
  const uint32_t inflatedSize = InflatedSize(subBlock);
  if (subBlock.bodySize < subBlock.size) Fail(Texts::SubBlockDataFailMsg);
  const uint32_t descSize = subBlock.DescSize();
  StoredCall call{subBlock.IsMethodCall(), {}, subBlock.body + descSize, subBlock.size - descSize};
  if (call.isMethod) {
    call.desc = Load<MethodCallDesc>(subBlock.body);
  } else {
    call.desc.callId = Load<uint16_t>(subBlock.body);
  }
  if (!subBlock.IsPacked() || !inflater_->IsNeeded() || call.size == 0) return call;

  if (inflatedSize == 0) return {};
  call.payload = inflater_->Inflate(call.payload, call.size, inflatedSize);
  call.size = inflatedSize;
  return call;
}

}  // namespace Data
