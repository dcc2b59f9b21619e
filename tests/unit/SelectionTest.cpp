#include "inspect/events/Selection.h"
#include "support/Test.h"

namespace {

using Inspect::Ranges;

// "1-3 7-7"
std::string Intervals(const std::string& text) {
  const Ranges ranges(text);
  std::string all;
  for (const Ranges::Range& range : ranges.All()) {
    all +=
        (all.empty() ? "" : " ") + std::to_string(range.first) + "-" + std::to_string(range.last);
  }
  return all;
}

TEST(RangesTest, IntervalsAreSortedAndJoinedWhereTheyTouch) {
  EXPECT_EQ(Intervals("7"), "7-7");
  EXPECT_EQ(Intervals("8-9,1,3-4,2"), "1-4 8-9");
  EXPECT_EQ(Intervals("3-20,5-6,4,21"), "3-21");
  EXPECT_EQ(Intervals("5-,9-12"), "5-4294967295");
  EXPECT_EQ(Intervals("4294967295,0-4294967294"), "0-4294967295");
  EXPECT_EQ(Intervals("1\n2,5"), "1-2 5-5");  // of options that are given several times
}

TEST(RangesTest, NumbersAreFoundInThem) {
  const Ranges ranges("2-3,7");
  std::vector<bool> contained;
  for (uint32_t number = 1; number < 9; ++number) contained.push_back(ranges.Contains(number));
  EXPECT_EQ(contained, (std::vector<bool>{false, true, true, false, false, false, true, false}));
  EXPECT_EQ(ranges.Next(4)->first, 7u);
  EXPECT_EQ(ranges.Next(8), nullptr);
  EXPECT_FALSE(ranges.IsAll());
  EXPECT_TRUE(Ranges().IsAll() && Ranges("0-").IsAll() && Ranges().Contains(UINT32_MAX));
}

}  // namespace
