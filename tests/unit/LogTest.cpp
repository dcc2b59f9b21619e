#include "Core/Log.h"
#include "Core/RepeatFilter.h"

#include "support/Test.h"

namespace {

using Core::Log;

void Print(const std::string& text, int line = 1, bool flag = true) {
  Log::Print(Log::kError, Log::kProcessing, line, "src/Data/Unit", flag, "%s", text.c_str());
}

TEST(LogTest, ASinkReceivesTheWholeRecordOfWhateverLength) {
  LogCollector log;
  Log::Print(Log::kWarning, Log::kCompleteness, 42, "src/Data/Unit", true, "%d of %s", 7, "x");
  EXPECT_THAT(log.Take(), ElementsAre("2/4 src/Data/Unit:42 7 of x"));
  for (const size_t size : {510u, 511u, 512u, 513u, 100'000u}) {
    const std::string text = std::string(size - 1, 'x') + '!';
    Print(text);
    EXPECT_EQ(log.Messages().back(), text);
  }
  log.Take();
  for (int i = 0; i < 100; ++i) Print("again");
  EXPECT_EQ(log.Messages().size(), 100u) << "repeats, too";
}

TEST(LogTest, AFormatThatFailsIsPrintedAsItStandsAndAFalseFlagPrintsNothing) {
  const LogCollector log;
  Log::Print(Log::kError, Log::kProcessing, 1, "src/Data/Unit", true, "%ls.", L"\xFFFFFFF");
  Print("hidden", 1, false);
  EXPECT_THAT(log.Messages(), ElementsAre("%ls."));
}

TEST(LogTest, ErrnoSurvives) {
  const LogCollector log;
  errno = EBUSY;
  Print(std::string(5000, 'x'));
  EXPECT_EQ(errno, EBUSY);
}

TEST(LogTest, SinksAreSwitchedAndHandedBack) {
  LogCollector first;
  {
    LogCollector second;
    Print("one");
    EXPECT_EQ(Log::SetSink(nullptr), &second);
    EXPECT_EQ(Log::SetSink(&first), nullptr);
    Print("two");
    EXPECT_THAT(second.Messages(), ElementsAre("one"));
  }
  EXPECT_THAT(first.Messages(), ElementsAre("two"));
}

TEST(LogTest, TheDefaultSinkWritesOneLineThatTextsCannotForge) {
  const LogCollector restores;
  Log::SetSink(nullptr);
  testing::internal::CaptureStderr();
  Log::Print(Log::kWarning, Log::kProcessing, 12, "src/Data/Unit", true, "a\n\x1B[2Jb \xC3\xA4");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "dcapkit: warning: a??[2Jb \xC3\xA4 [src/Data/Unit:12]\n");
}

TEST(LogTest, TheDefaultSinkCutsRepeatsAndCountsThemWhenTheProcessEnds) {
  const auto logAndExit = [] {
    Log::SetSink(nullptr);
    for (int i = 1; i <= 20; ++i) Print("message " + std::to_string(i) + ".", 77);
    std::exit(0);
  };
  EXPECT_EXIT(logAndExit(), testing::ExitedWithCode(0),
              AllOf(HasSubstr("message 8."), Not(HasSubstr("message 9.")),
                    HasSubstr("repeated 7 times [src/Data/Unit:77]\n"
                              "dcapkit: error: message 16."),
                    HasSubstr("repeated 4 times [src/Data/Unit:77]\n")));
}

class RepeatFilterTest : public testing::Test {
 protected:
  void Write(int line, const std::string& text, int times = 1) {
    for (int i = 0; i < times; ++i) {
      filter_.Write({Log::kError, Log::kProcessing, line, "src/Data/Unit", text.c_str()});
    }
  }

  LogCollector log_;
  Core::RepeatFilterSink filter_{&log_};
};

TEST_F(RepeatFilterTest, AFloodBecomesALineForEachPowerOfTwo) {
  Write(1, "flood", 1'000'000);
  filter_.Flush();
  EXPECT_EQ(log_.Lines().size(), 8u + 2 * 16 + 1) << "16 to 524288, each after its count; the rest";
  EXPECT_EQ(log_.Lines().back(), "1/3 src/Data/Unit:1 repeated 475712 times");
}

TEST_F(RepeatFilterTest, FlushStartsAnew) {
  Write(1, "a", 9);
  filter_.Flush();
  Write(1, "b", 2);
  EXPECT_THAT(log_.Messages(),
              ElementsAre("a", "a", "a", "a", "a", "a", "a", "a", "repeated 1 time", "b", "b"));
}

TEST_F(RepeatFilterTest, TheTableOfSitesDoesNotGrowWithoutEnd) {
  Write(-1, "first", 9);
  for (int line = 0; line < 5000; ++line) Write(line, "x");
  EXPECT_THAT(log_.Messages(), testing::Contains("repeated 1 time"));
}

TEST_F(RepeatFilterTest, ThreadsLoseNoMessageFromTheCount) {
  Log::SetSink(&filter_);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 1000; ++n) Print(std::to_string(n), 5);
    });
  }
  for (std::thread& thread : threads) thread.join();
  filter_.Flush();
  size_t total = 0;
  for (const std::string& line : log_.Messages()) {
    total += line.starts_with("repeated ") ? std::stoul(line.substr(9)) : 1;
  }
  EXPECT_EQ(total, 4000u);
}

}  // namespace
