#include "BlockRanges.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Damage.h"

BlockWalk::BlockWalk(std::shared_ptr<Core::DataReader> capture, const BlockRange& range)
    : reader_((capture->Seek(SEEK_SET, 0), std::move(capture))),
      end_(range.end),
      frames_(range.framesBefore),
      number_(range.numberBefore) {
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
    throw DamageError({reader_.BlockBegin(), frames_, number_, false},
                      "The block runs past the end of the file.");
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
  throw DamageError({reader_.Position(), frames_, number_, inFrame_}, error.what());
}

BlockRanges::BlockRanges(std::shared_ptr<Core::DataReader> reader, Ranges frames, uint64_t size)
    : walk_(std::move(reader)), frames_(std::move(frames)), size_(size) {}

bool BlockRanges::Next(BlockRange* range) {
  bool begun = false;
  while (!ended_) {
    const BlockRange start{walk_.Reader().BlockEnd(), BlockRange::kToTheEnd, walk_.Frames(),
                           walk_.FrameNumber(), 0};
    try {
      ended_ = !walk_.NextBlock() || walk_.Frames() > frames_.Last();
    } catch (const DamageError&) {
      ended_ = true;
      if (!begun) *range = start;
      range->end = BlockRange::kToTheEnd;
      range->largestBlock = UINT32_MAX;
      return true;
    }
    if (ended_) break;
    const bool selected = frames_.Contains(walk_.Frames());
    if (selected && !begun) *range = start;
    begun = begun || selected;
    if (selected) {
      range->end = walk_.Reader().BlockEnd();
      range->largestBlock = std::max(range->largestBlock, uint32_t{walk_.Reader().Block().size});
    }
    const bool isFrame = walk_.Reader().Block().type == Data::kBlockFrame;
    ended_ = isFrame && walk_.Frames() == frames_.Last();
    if (begun && (!selected || range->end - range->begin >= size_)) return true;
  }
  return begun;
}
