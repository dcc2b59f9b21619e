// Readers of files, mapped files and memory.
#include <sys/stat.h>
#include <sys/time.h>

#include "Core/MappedReader.h"
#include "Core/MemoryReader.h"
#include "Core/StdioReader.h"
#include "Core/StdioWriter.h"

#include "StreamsTest.h"
#include "support/Test.h"

namespace {

using Bytes = std::vector<uint8_t>;

using Core::DataReader;
using Core::MappedReader;
using Core::MemoryReader;
using Core::StdioReader;
using Core::StdioWriter;
using Core::ViewReader;

class ReadersTest : public StreamsTest {
 protected:
  // One of each kind, over the same bytes.
  std::vector<std::unique_ptr<ViewReader>> ReadersOf(const Bytes& bytes) const {
    std::vector<std::unique_ptr<ViewReader>> readers;
    readers.push_back(std::make_unique<StdioReader>(FileWith(bytes)));
    readers.push_back(std::make_unique<MappedReader>(FileWith(bytes)));
    readers.push_back(std::make_unique<MemoryReader>(std::span<const uint8_t>(bytes)));
    readers.push_back(std::make_unique<MemoryReader>(Bytes(bytes)));
    return readers;
  }
};

// Random reads, views and seeks, compared at each step with a position in an array. `expect` is
// called before each, with a number of bytes.
void WanderThrough(
    ViewReader& reader, const Bytes& model,
    const std::function<void(uint64_t)>& expect = [](uint64_t) {}) {
  std::mt19937 random(1);
  const auto below = [&random](uint64_t limit) { return random() % limit; };
  int64_t position = 0;
  const auto size = static_cast<int64_t>(model.size());
  Bytes buffer(600'000);
  for (int step = 0; step < 4000; ++step) {
    const uint64_t reaches[] = {10, 10, 10, 5'000, 70'000, 600'000};
    const uint64_t reach = reaches[below(6)];
    expect(reach);
    if (below(4) == 0) {
      const auto atLeast = static_cast<int64_t>(1 + below(reach));
      const auto atMost = atLeast + static_cast<int64_t>(below(reach));
      const std::span<const uint8_t> bytes =
          reader.View(static_cast<unsigned long>(atLeast), static_cast<unsigned long>(atMost));
      const auto shown = static_cast<int64_t>(bytes.size());
      ASSERT_EQ(shown == 0, size - position < atLeast);
      ASSERT_TRUE(shown == 0 || (atLeast <= shown && shown <= atMost));
      static_cast<void>(reader.AtEof());  // leaves what is on show alone
      ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), model.begin() + position));
      position += shown;
    } else if (below(3) != 0) {
      const auto wanted = static_cast<int64_t>(below(reach));
      const int64_t expected = std::clamp<int64_t>(size - position, 0, wanted);
      ASSERT_EQ(reader.Read(buffer.data(), static_cast<unsigned long>(wanted)),
                static_cast<unsigned long>(expected));
      ASSERT_TRUE(std::equal(buffer.begin(), buffer.begin() + expected, model.begin() + position));
      position += expected;
    } else {
      const int origin = static_cast<int>(below(3));
      const int64_t offset = static_cast<int64_t>(below(2 * reach)) - static_cast<int64_t>(reach);
      const int64_t target = offset + (origin == 0 ? 0 : origin == 1 ? position : size);
      ASSERT_EQ(reader.Seek(origin, offset) == 0, target >= 0) << origin << " " << offset;
      position = target >= 0 ? std::min(target, size) : position;
      if (target > size) {
        ASSERT_EQ(reader.Tell(), static_cast<uint64_t>(target));
        ASSERT_TRUE(reader.AtEof());
        ASSERT_EQ(reader.Seek(2, 0), 0);
      }
    }
    ASSERT_EQ(reader.Tell(), static_cast<uint64_t>(position));
    if (below(2) == 0) {
      ASSERT_EQ(reader.AtEof(), position == size);
    }
  }
}

TEST_F(ReadersTest, EveryReaderReadsLikeAnArray) {
  const Bytes bytes = RandomBytes(1'000'003);
  for (const auto& reader : ReadersOf(bytes)) {
    EXPECT_EQ(reader->Size(), bytes.size());
    WanderThrough(*reader, bytes);
  }
  StdioReader expecting(FileWith(bytes));
  WanderThrough(expecting, bytes, [&](uint64_t size) {
    if (size > 10) expecting.ExpectReadsUpTo(expecting.Tell() + size);
  });
}

TEST_F(ReadersTest, AMissingFileAndADirectoryAreInvalidAndHarmless) {
  const auto expectInvalid = [](DataReader&& reader) {
    EXPECT_FALSE(reader.IsValid());
    EXPECT_EQ(ReadUpTo(reader, 10).size(), 0u);
    EXPECT_TRUE(reader.AtEof());
    EXPECT_NE(reader.Seek(0, 0), 0);
    EXPECT_EQ(reader.Size(), 0u);
  };
  for (const std::string& path : {folder_ / "missing", folder_ / "", std::string()}) {
    SCOPED_TRACE(path);
    expectInvalid(StdioReader(path));
    expectInvalid(MappedReader(path));
  }
  const Pipe pipe({1, 2, 3});
  expectInvalid(MappedReader(pipe.Path(0)));
  const char* unmappable = "/sys/devices/system/cpu/online";
  if (std::filesystem::exists(unmappable)) expectInvalid(MappedReader(unmappable));
}

TEST_F(ReadersTest, AnEmptyFileIsValidAndAtItsEnd) {
  for (const auto& reader : ReadersOf({})) {
    EXPECT_TRUE(reader->IsValid());
    EXPECT_TRUE(reader->AtEof());
    EXPECT_EQ(ReadUpTo(*reader, 1).size(), 0u);
    EXPECT_TRUE(reader->View(1, 1).empty());
  }
}

TEST_F(ReadersTest, SeeksThatOverflowFailAndClosingLeavesNothingToRead) {
  const Bytes bytes = RandomBytes(10'000);
  for (const auto& reader : ReadersOf(bytes)) {
    EXPECT_EQ(reader->Seek(0, 7), 0);
    EXPECT_NE(reader->Seek(1, INT64_MAX), 0);
    EXPECT_NE(reader->Seek(2, INT64_MIN), 0);
    EXPECT_NE(reader->Seek(3, 0), 0);
    EXPECT_EQ(reader->Tell(), 7u);
    EXPECT_EQ(ReadUpTo(*reader, 2), Slice(bytes, 7, 2));
    EXPECT_EQ(reader->Seek(0, INT64_MAX), 0);
    EXPECT_TRUE(reader->AtEof());
    EXPECT_EQ(reader->Seek(0, 10), 0);
    const std::span<const uint8_t> shown = reader->View(20, 20);
    reader->Close();
    EXPECT_EQ(Bytes(shown.begin(), shown.end()), Slice(bytes, 10, 20));
    EXPECT_TRUE(reader->View(1, 1).empty());
    EXPECT_FALSE(reader->IsValid());
    EXPECT_EQ(ReadUpTo(*reader, 10).size(), 0u);
    EXPECT_TRUE(reader->AtEof());
    EXPECT_NE(reader->Seek(0, 0), 0);
  }
}

// ---- Files and pipes alone.

// Interrupts what the system does for the main thread, a thousand times a second.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &previous_);
    const itimerval often{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Interruptions() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &previous_, nullptr);
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

 private:
  struct sigaction previous_ {};
};

TEST_F(ReadersTest, TheEndStaysUntilASeekLooksAgain) {
  const std::string path = FileWith({1, 2, 3});
  StdioReader reader(path);
  EXPECT_EQ(ReadUpTo(reader, 10).size(), 3u);
  StdioWriter(path, false, false).Write("\4", 1);
  EXPECT_TRUE(reader.AtEof());
  EXPECT_EQ(reader.Seek(1, 0), 0);
  EXPECT_FALSE(reader.AtEof());
  EXPECT_EQ(ReadUpTo(reader, 10), Bytes{4});
}

TEST_F(ReadersTest, AReadErrorIsNotTheEnd) {
  StdioReader reader("/proc/self/mem");  // the lowest page can be mapped by nobody
  ASSERT_TRUE(reader.IsValid());
  EXPECT_EQ(ReadUpTo(reader, 6).size(), 0u);
  EXPECT_EQ(ReadUpTo(reader, 1'000'000).size(), 0u);
  EXPECT_FALSE(reader.AtEof());
}

TEST_F(ReadersTest, APipeIsReadAndSkippedForward) {
  const Bytes bytes = RandomBytes(60'000);
  const Pipe pipe(bytes);
  StdioReader reader(pipe.Path(0));
  EXPECT_EQ(reader.Size(), 0u);
  EXPECT_TRUE(reader.View(1, 100).empty());
  EXPECT_EQ(ReadUpTo(reader, 100), Slice(bytes, 0, 100));
  EXPECT_EQ(reader.Seek(1, -60), 0);
  EXPECT_EQ(ReadUpTo(reader, 10), Slice(bytes, 40, 10));
  EXPECT_EQ(reader.Seek(0, 50'000), 0);
  EXPECT_EQ(ReadUpTo(reader, 9'000), Slice(bytes, 50'000, 9'000));
  EXPECT_NE(reader.Seek(0, 10), 0);
  EXPECT_NE(reader.Seek(2, 0), 0);
  EXPECT_EQ(reader.Tell(), 59'000u);
  EXPECT_EQ(ReadUpTo(reader, 9'000), Slice(bytes, 59'000, 1'000));
  EXPECT_TRUE(reader.AtEof());
  const Pipe other(bytes);
  StdioReader skipping(other.Path(0));
  EXPECT_EQ(skipping.Seek(0, 70'000), 0) << "past the end as in a file";
  EXPECT_EQ(skipping.Tell(), 70'000u);
  EXPECT_TRUE(skipping.AtEof());
  EXPECT_EQ(ReadUpTo(skipping, 1).size(), 0u);
}

TEST_F(ReadersTest, SignalsCutNeitherReadsNorWrites) {
  const Bytes bytes = RandomBytes(300'000);
  const std::string path = folder_ / "fifo";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto atOnce = [] {};
  const auto slowly = [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); };
  const auto write = [&](const auto& pause) {
    pause();
    StdioWriter writer(path, false, true);
    pause();
    EXPECT_EQ(writer.Write(bytes.data(), bytes.size()), bytes.size());
  };
  const auto read = [&](const auto& pause) {
    pause();
    StdioReader reader(path);
    pause();
    EXPECT_TRUE(ReadUpTo(reader, bytes.size()) == bytes);
  };
  const Interruptions interruptions;
  std::thread slowWriter([&] { write(slowly); });
  read(atOnce);
  slowWriter.join();
  std::thread slowReader([&] { read(slowly); });
  write(atOnce);
  slowReader.join();
}

// ---- System calls.

// What this process has read so far, by the system's count; nothing where the system counts none.
struct ReadCount {
  uint64_t bytes = 0;
  uint64_t calls = 0;

  static ReadCount Now() {
    ReadCount now;
    std::ifstream file("/proc/self/io");
    for (std::string name; file >> name;) {
      uint64_t value = 0;
      file >> value;
      if (name == "rchar:") now.bytes = value;
      if (name == "syscr:") now.calls = value;
    }
    return now;
  }
};

// To look at the counts costs some calls, too.
template <typename Action>
void ExpectReads(uint64_t mostCalls, uint64_t mostBytes, Action action) {
  const ReadCount before = ReadCount::Now();
  if (before.calls == 0) GTEST_SKIP() << "this system does not count reads";
  action();
  const ReadCount after = ReadCount::Now();
  EXPECT_LE(after.calls - before.calls, mostCalls);
  EXPECT_LE(after.bytes - before.bytes, mostBytes);
}

TEST_F(ReadersTest, SmallSequentialReadsAndSeeksBackCostFewSystemCalls) {
  StdioReader reader(FileWith(RandomBytes(4 << 20)));
  uint8_t piece[12];
  ExpectReads(40, UINT64_MAX, [&] {
    while (reader.Read(piece, 12) == 12) {
      ASSERT_EQ(reader.Seek(1, -2), 0);
    }
    EXPECT_TRUE(reader.AtEof());
  });
}

TEST_F(ReadersTest, ExpectedReadsAreFetchedAtOnceAndNoMore) {
  StdioReader reader(FileWith(RandomBytes(2 << 20)));
  uint8_t piece[1000];
  ExpectReads(6, 1'010'000, [&] {
    for (const int64_t begin : {0, 1'200'000}) {
      ASSERT_EQ(reader.Seek(0, begin), 0);
      reader.ExpectReadsUpTo(static_cast<uint64_t>(begin) + 500'000);
      for (int i = 0; i < 500; ++i) ASSERT_EQ(reader.Read(piece, 1000), 1000u);
    }
  });
}

}  // namespace
