#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/DCAPFileProcessor.h"

#include "inspect/listing/CanonicalPrinter.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/WalkRange.h"
#include "support/CaptureBuilder.h"
#include "support/RandomCapture.h"
#include "support/Test.h"

namespace Inspect {

bool operator==(const BlockRange& a, const BlockRange& b) {
  return a.begin == b.begin && a.end == b.end && a.framesBefore == b.framesBefore &&
         a.numberBefore == b.numberBefore && a.largestBlock == b.largestBlock;
}

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint64_t kStart = sizeof(Data::FileHeader);
constexpr uint64_t kBlock = 6 + 4 + 10 + 2 + 100 + 8;  // of the frames below
constexpr auto kSize = static_cast<uint32_t>(kBlock - 6);

// Frames with the numbers 11, 12, 13, ...
Bytes Frames(uint32_t count) {
  CaptureBuilder capture;
  for (uint32_t i = 1; i <= count; ++i) {
    capture.FrameBlock(10 + i).Call(0x9001, std::string(100, 'x'));
  }
  return capture.Finish();
}

std::vector<BlockRange> RangesOf(const Bytes& capture, const Ranges& frames, uint64_t size) {
  BlockRanges ranges(std::make_shared<Core::MemoryReader>(capture), frames, size);
  std::vector<BlockRange> all;
  for (BlockRange range; ranges.Next(&range);) all.push_back(range);
  return all;
}

class Text : public TextSink {
 public:
  void Write(std::string_view piece) override { text.append(piece); }
  std::string text;
};

// The canonical form of ranges that are walked one after the other.
std::string Walk(const Bytes& capture, const Selection& selection,
                 const std::vector<BlockRange>& ranges) {
  Text sink;
  CanonicalPrinter printer(&sink);
  EventConsumer consumer(&printer, &selection);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, std::make_shared<Core::MemoryReader>(capture), 0);
  for (const BlockRange& range : ranges) {
    if (!WalkRange(&processor, &consumer, range, nullptr)) break;
  }
  printer.Flush();
  return sink.text;
}

TEST(BlockRangesTest, ARangeEndsWhereBlocksDoNotFitOrAreNotSelected) {
  EXPECT_THAT(RangesOf(Frames(9), Ranges("2-4,6,20"), 2 * kBlock + 1),
              ElementsAre(BlockRange{kStart + kBlock, kStart + 3 * kBlock, 1, 11, kSize},
                          BlockRange{kStart + 3 * kBlock, kStart + 4 * kBlock, 3, 13, kSize},
                          BlockRange{kStart + 5 * kBlock, kStart + 6 * kBlock, 5, 15, kSize}));
  EXPECT_EQ(RangesOf(Frames(3), Ranges(), 1).size(), 3u) << "a block larger than that has its own";
  EXPECT_THAT(RangesOf(Frames(0), Ranges(), 1), IsEmpty());
}

TEST(BlockRangesTest, WhereBlocksDoNotFitTheLastRangeBegins) {
  Bytes capture = Frames(4);
  capture[kStart + 2 * kBlock + 5] = 1;  // the size of the third block
  const auto ranges = RangesOf(capture, Ranges("4"), kBlock);
  EXPECT_THAT(ranges, ElementsAre(BlockRange{kStart + 2 * kBlock, BlockRange::kToTheEnd, 2, 12,
                                             UINT32_MAX}));
  EXPECT_THROW(Walk(capture, Selection(), ranges), Core::BasicException);
}

TEST(BlockRangesTest, RangesAreWalkedAsTheWholeIs) {
  const LogCollector quiet;
  for (uint32_t seed = 0; seed < 60; ++seed) {
    const Bytes capture = RandomCapture(seed, RandomCapture::kSome).Finish();
    Selection selection;
    const char* frames[] = {"0-", "0,2-3,5-", "0-1,3", "2"};
    selection.frames = Ranges(frames[seed % 4]);
    EXPECT_EQ(
        Walk(capture, selection, RangesOf(capture, selection.frames, uint64_t{1000} * (seed % 5))),
        Walk(capture, selection, {BlockRange::All()}));
  }
}

TEST(BlockRangesTest, ABlockThatGrewPastTheEndOfItsRangeEndsTheWalk) {
  const Bytes capture = Frames(4);
  const BlockRange range = RangesOf(capture, Ranges(), 2 * kBlock).front();
  BlockRange cutBefore = range;
  cutBefore.end -= 1;  // when the second block was smaller
  EXPECT_EQ(Walk(capture, Selection(), {cutBefore}), Walk(capture, Selection(), {range}));
}

}  // namespace
}  // namespace Inspect
