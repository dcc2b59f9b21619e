#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/Log.h"
#include "Core/RepeatFilter.h"

namespace {

using Core::Log;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto kError = Log::LogLevel::kError;
constexpr auto kWarning = Log::LogLevel::kWarning;
constexpr auto kProcessing = Log::LogZone::kProcessing;

class CollectingSink : public Log::Sink {
 public:
  void Write(const Log::Record& record) override {
    lines.emplace_back(record.message);
    last = record;
    lastFile = record.file;
  }

  std::vector<std::string> lines;
  Log::Record last{};
  std::string lastFile;
};

// Collects log lines as long as it lives.
class LogTest : public testing::Test {
 protected:
  LogTest() { Log::SetSink(&sink_); }
  ~LogTest() override { Log::SetSink(nullptr); }

  CollectingSink sink_;
};

TEST_F(LogTest, ASinkReceivesTheWholeRecord) {
  Log::Print(kWarning, Log::LogZone::kCompleteness, 42, "src/Data/Unit", true, "%d of %s", 7, "x");
  EXPECT_THAT(sink_.lines, ElementsAre("7 of x"));
  EXPECT_EQ(sink_.last.level, kWarning);
  EXPECT_EQ(sink_.last.zone, Log::LogZone::kCompleteness);
  EXPECT_EQ(sink_.last.line, 42);
  EXPECT_EQ(sink_.lastFile, "src/Data/Unit");
}

TEST_F(LogTest, NothingIsCutOff) {
  for (const size_t size : {510u, 511u, 512u, 513u, 100'000u}) {
    const std::string text = std::string(size - 1, 'x') + '!';
    Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "%s", text.c_str());
    EXPECT_EQ(sink_.lines.back(), text);
  }
}

TEST_F(LogTest, AFormatThatFailsIsPrintedAsItStands) {
  Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "%ls.", L"\xFFFFFFF");
  EXPECT_THAT(sink_.lines, ElementsAre("%ls."));
}

TEST_F(LogTest, AFalseFlagPrintsNothing) {
  Log::Print(kError, kProcessing, 1, "src/Data/Unit", false, "hidden");
  EXPECT_TRUE(sink_.lines.empty());
}

TEST_F(LogTest, ErrnoSurvives) {
  errno = EBUSY;
  Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "%s", std::string(5000, 'x').c_str());
  EXPECT_EQ(errno, EBUSY);
}

TEST_F(LogTest, SinksAreSwitchedAndHandedBack) {
  CollectingSink other;
  EXPECT_EQ(Log::SetSink(&other), &sink_);
  Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "one");
  EXPECT_EQ(Log::SetSink(nullptr), &other);
  EXPECT_EQ(Log::SetSink(&sink_), nullptr);
  Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "two");
  EXPECT_THAT(other.lines, ElementsAre("one"));
  EXPECT_THAT(sink_.lines, ElementsAre("two"));
}

TEST_F(LogTest, ASinkOfTheCallerReceivesRepeatsToo) {
  for (int i = 0; i < 100; ++i) {
    Log::Print(kError, kProcessing, 1, "src/Data/Unit", true, "again");
  }
  EXPECT_EQ(sink_.lines.size(), 100u);
}

TEST_F(LogTest, TheDefaultSinkWritesOneLineThatTextsCannotForge) {
  Log::SetSink(nullptr);
  testing::internal::CaptureStderr();
  Log::Print(kWarning, kProcessing, 12, "src/Data/Unit", true, "a\n\x1B[2Jb \xC3\xA4");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "dcapkit: warning: a??[2Jb \xC3\xA4 [src/Data/Unit:12]\n");
}

TEST_F(LogTest, TheDefaultSinkCutsRepeatsAndCountsThemWhenTheProcessEnds) {
  const auto logAndExit = [] {
    Log::SetSink(nullptr);
    for (int i = 1; i <= 20; ++i) {
      Log::Print(kError, kProcessing, 77, "src/Data/Unit", true, "message %d.", i);
    }
    std::exit(0);
  };
  EXPECT_EXIT(logAndExit(), testing::ExitedWithCode(0),
              testing::AllOf(HasSubstr("message 8."), Not(HasSubstr("message 9.")),
                             HasSubstr("repeated 7 times [src/Data/Unit:77]\n"
                                       "dcapkit: error: message 16."),
                             HasSubstr("repeated 4 times [src/Data/Unit:77]\n")));
}

class RepeatFilterTest : public testing::Test {
 protected:
  void Log(int line, const std::string& text, int times = 1) {
    for (int i = 0; i < times; ++i) {
      filter_.Write({kError, kProcessing, line, "src/Data/Unit", text.c_str()});
    }
  }

  CollectingSink sink_;
  Core::RepeatFilterSink filter_{&sink_};
};

TEST_F(RepeatFilterTest, FewMessagesOfManySitesPass) {
  for (int line = 0; line < 100; ++line) {
    Log(line, "text", 8);
  }
  filter_.Flush();
  EXPECT_EQ(sink_.lines.size(), 800u);
}

TEST_F(RepeatFilterTest, AFloodBecomesALineForEachPowerOfTwo) {
  Log(1, "flood", 1'000'000);
  filter_.Flush();
  EXPECT_EQ(sink_.lines.size(), 8u + 2 * 16 + 1) << "16 to 524288, each after its count; the rest";
  EXPECT_EQ(sink_.lines.back(), "repeated 475712 times");
  EXPECT_EQ(sink_.last.level, kError);
  EXPECT_EQ(sink_.last.line, 1);
}

TEST_F(RepeatFilterTest, AlternatingMessagesAreCutAsWell) {
  for (int i = 0; i < 3000; ++i) {
    Log(i % 3, "text");
  }
  EXPECT_LT(sink_.lines.size(), 70u);
}

TEST_F(RepeatFilterTest, FlushStartsAnew) {
  Log(1, "a", 9);
  filter_.Flush();
  Log(1, "b", 2);
  EXPECT_THAT(sink_.lines,
              ElementsAre("a", "a", "a", "a", "a", "a", "a", "a", "repeated 1 time", "b", "b"));
}

TEST_F(RepeatFilterTest, TheTableOfSitesDoesNotGrowWithoutEnd) {
  Log(-1, "first", 9);
  for (int line = 0; line < 5000; ++line) {
    Log(line, "x");
  }
  EXPECT_THAT(sink_.lines, testing::Contains("repeated 1 time"));
}

TEST_F(RepeatFilterTest, ThreadsLoseNoMessageFromTheCount) {
  Core::Log::SetSink(&filter_);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 1000; ++n) {
        Core::Log::Print(kError, kProcessing, 5, "src/Data/Unit", true, "%d", n);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Core::Log::SetSink(nullptr);
  filter_.Flush();
  size_t total = 0;
  for (const std::string& line : sink_.lines) {
    total += line.starts_with("repeated ") ? std::stoul(line.substr(9)) : 1;
  }
  EXPECT_EQ(total, 4000u);
}

}  // namespace
