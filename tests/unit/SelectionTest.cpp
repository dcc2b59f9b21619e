#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/MetaDecoder.h"

#include "inspect/events/Selection.h"

namespace {

using Inspect::Ranges;
using Inspect::Selection;
using testing::HasSubstr;

constexpr auto kDrawArrays = Data::ApiCallType::glDrawArrays;
constexpr auto kBindBuffer = Data::ApiCallType::glBindBuffer;
constexpr auto kGetError = Data::ApiCallType::glGetError;

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

// The message of a mistake.
template <typename Set>
std::string Mistake(Set set) {
  try {
    set();
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "none";
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

TEST(RangesTest, MistakesAreQuoted) {
  for (const auto& [text, message] : std::vector<std::pair<std::string, std::string>>{
           {"1,,2", "'1,,2' has an empty part"},
           {"", "'' has an empty part"},
           {"1,20-10", "'20-10' ends before it begins"},
           {"1,2x", "'2x' is neither a number, nor an interval"},
           {"-3", "'-3' is neither"},
           {"1-2-3", "'1-2-3' is neither"},
           {"7,4294967296", "'4294967296' is beyond 4294967295"}}) {
    EXPECT_THAT(Mistake([&text = text] { Ranges ranges(text); }), HasSubstr(message));
  }
}

TEST(SelectionTest, CallsMatchGlobsWithoutExclusions) {
  Selection selection;
  EXPECT_TRUE(selection.SelectsAllCalls());
  selection.SetCalls("gl*,!glGet?rror");
  selection.SetCalls("!glDraw*");
  EXPECT_TRUE(selection.SelectsCall(kBindBuffer));
  EXPECT_FALSE(selection.SelectsCall(kGetError));
  EXPECT_FALSE(selection.SelectsCall(kDrawArrays));
  EXPECT_FALSE(selection.SelectsCall(Data::ApiCallType::eglSwapBuffers));
  EXPECT_FALSE(selection.SelectsCall(Data::ApiCallType{0xFFFF}));
  EXPECT_FALSE(selection.SelectsMetadata(Data::kMetadataText, 1));
}

TEST(SelectionTest, ClassesAndCallsNarrowTogether) {
  Selection selection;
  selection.SetClasses("draw,query");
  EXPECT_TRUE(selection.SelectsCall(kDrawArrays) && selection.SelectsCall(kGetError));
  EXPECT_FALSE(selection.SelectsCall(kBindBuffer));
  EXPECT_FALSE(selection.SelectsMetadata(Data::kMetadataText, 1));
  selection.SetCalls("!glGet*");
  EXPECT_FALSE(selection.SelectsCall(kGetError));
}

TEST(SelectionTest, MistakesAreQuoted) {
  Selection selection;
  EXPECT_THAT(Mistake([&] { selection.SetCalls("glDraw*,glDrawArray"); }),
              HasSubstr("'glDrawArray' matches no call"));
  EXPECT_THAT(Mistake([&] { selection.SetClasses("draw,drow"); }),
              HasSubstr("'drow' is no class of calls: there are draw, compute, "));
}

}  // namespace
