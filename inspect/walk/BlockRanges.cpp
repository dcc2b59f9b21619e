#include "inspect/walk/BlockRanges.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Core/StdioReader.h"

#include "inspect/walk/Damage.h"

namespace Inspect {

namespace {

// In larger blocks the reader skips payloads: reading them would take longer.
constexpr uint32_t kSmallBlock = uint32_t{64} << 10;

}  // namespace

void ExpectToRead(const BlockRange& range, Core::DataReader* reader) {
  auto* file = dynamic_cast<Core::StdioReader*>(reader);
  if (file == nullptr || range.end == BlockRange::kToTheEnd) return;
  file->Seek(SEEK_SET, static_cast<int64_t>(range.begin));
  file->ExpectReadsUpTo(range.end);
}

BlockWalk::BlockWalk(const std::shared_ptr<Core::DataReader>& capture, const BlockRange& range)
    : reader_((capture->Seek(SEEK_SET, 0), capture)),
      end_(range.end),
      frames_(range.framesBefore),
      number_(range.numberBefore) {
  if (range.largestBlock <= kSmallBlock) ExpectToRead(range, capture.get());
  reader_.ContinueAt(range.begin);
}

bool BlockWalk::NextBlock() {
  inFrame_ = false;
  if (reader_.BlockEnd() >= end_) return false;
  try {
    if (!reader_.NextBlock()) return false;
  } catch (const Core::BasicException& error) {
    Fail(error);
  }
  if (reader_.BlockEnd() > reader_.Header().fileSize) {
    throw DamageError({{reader_.BlockBegin(), frames_, number_, false},
                       "The block runs past the end of the file."});
  }
  if (reader_.Block().type == Data::kBlockFrame) {
    ++frames_;
    number_ = reader_.FrameNumber();
    inFrame_ = true;
  }
  return true;
}

bool BlockWalk::NextSubBlock(Data::StoredSubBlock* subBlock) {
  try {
    return reader_.NextSubBlockDesc(subBlock);
  } catch (const Core::BasicException& error) {
    Fail(error);
  }
}

uint32_t BlockWalk::InflatedSize(const Data::StoredSubBlock& subBlock) const {
  try {
    return reader_.InflatedSize(subBlock);
  } catch (const Core::BasicException& error) {
    Fail(error);
  }
}

void BlockWalk::Fail(const Core::BasicException& error) const {
  throw DamageError({{reader_.Position(), frames_, number_, inFrame_}, error.what()});
}

BlockRanges::BlockRanges(const std::shared_ptr<Core::DataReader>& reader, Ranges frames,
                         uint64_t size)
    : walk_(reader), frames_(std::move(frames)), size_(size) {}

bool BlockRanges::Next(BlockRange* range) {
  bool begun = next_.has_value();
  if (begun) *range = *std::exchange(next_, std::nullopt);
  while (!ended_) {
    BlockRange block{walk_.Reader().BlockEnd(), BlockRange::kToTheEnd, walk_.Frames(),
                     walk_.FrameNumber(), UINT32_MAX};
    try {
      ended_ = !walk_.NextBlock() || walk_.Frames() > frames_.Last();
    } catch (const DamageError&) {
      ended_ = true;
      if (!begun) *range = block;
      range->end = BlockRange::kToTheEnd;
      range->largestBlock = UINT32_MAX;
      return true;
    }
    if (ended_) break;
    const bool isFrame = walk_.Reader().Block().type == Data::kBlockFrame;
    ended_ = isFrame && walk_.Frames() == frames_.Last();
    if (!frames_.Contains(walk_.Frames())) {
      if (begun) return true;
      continue;
    }
    block.end = walk_.Reader().BlockEnd();
    block.largestBlock = walk_.Reader().Block().size;
    if (begun && block.end - range->begin > size_) {
      next_ = block;
      return true;
    }
    if (!begun) *range = block;
    begun = true;
    range->end = block.end;
    range->largestBlock = std::max(range->largestBlock, block.largestBlock);
  }
  return begun;
}

}  // namespace Inspect
