#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "Core/Exceptions.h"
#include "Core/MappedReader.h"
#include "Core/MemoryReader.h"
#include "Core/StdioReader.h"
#include "Core/StdioWriter.h"

namespace {

using Core::DataReader;
using Core::MappedReader;
using Core::MemoryReader;
using Core::StdioReader;
using Core::StdioWriter;
using Core::ViewReader;
using Bytes = std::vector<uint8_t>;

// A directory of its own for the files of one test.
class StreamsTest : public testing::Test {
 protected:
  StreamsTest() {
    std::string name = (std::filesystem::temp_directory_path() / "streams-XXXXXX").string();
    directory_ = mkdtemp(name.data());
  }
  ~StreamsTest() override { std::filesystem::remove_all(directory_); }

  std::string Path(const std::string& name) const { return directory_ / name; }

  std::string FileWith(const Bytes& bytes) const {
    std::ofstream(Path("input"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return Path("input");
  }

  static Bytes Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }

  static Bytes RandomBytes(size_t size) {
    std::mt19937 random(static_cast<unsigned>(size));
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    return bytes;
  }

  // A path that reads from a pipe which holds `bytes` and has no writer left.
  std::string PipeWith(const Bytes& bytes) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    pipe_ = std::unique_ptr<int, CloseFd>(new int(ends[0]));
    return "/proc/self/fd/" + std::to_string(ends[0]);
  }

  static Bytes ReadUpTo(DataReader& reader, size_t size) {
    Bytes bytes(size);
    bytes.resize(reader.Read(bytes.data(), size));
    return bytes;
  }

  static Bytes Slice(const Bytes& bytes, size_t start, size_t size) {
    start = std::min(start, bytes.size());
    size = std::min(size, bytes.size() - start);
    return Bytes(bytes.begin() + static_cast<ptrdiff_t>(start),
                 bytes.begin() + static_cast<ptrdiff_t>(start + size));
  }

 private:
  struct CloseFd {
    void operator()(const int* fd) const {
      close(*fd);
      delete fd;
    }
  };

  std::filesystem::path directory_;
  std::unique_ptr<int, CloseFd> pipe_;
};

// What this process has read so far, by the system's count.
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

TEST_F(StreamsTest, AFileReadsLikeAnArray) {
  const Bytes bytes = RandomBytes(1'000'003);
  StdioReader reader(FileWith(bytes));
  EXPECT_EQ(reader.Size(), bytes.size());
  WanderThrough(reader, bytes);
  StdioReader expecting(FileWith(bytes));
  WanderThrough(expecting, bytes, [&](uint64_t size) {
    if (size > 10) expecting.ExpectReadsUpTo(expecting.Tell() + size);
  });
  MappedReader mapped(FileWith(bytes));
  EXPECT_EQ(mapped.Size(), bytes.size());
  WanderThrough(mapped, bytes);
}

TEST_F(StreamsTest, MemoryReadsLikeAnArrayWhetherBorrowedOrOwned) {
  const Bytes bytes = RandomBytes(300'007);
  MemoryReader borrowing{std::span<const uint8_t>(bytes)};
  EXPECT_EQ(borrowing.Size(), bytes.size());
  WanderThrough(borrowing, bytes);
  MemoryReader owning{Bytes(bytes)};
  WanderThrough(owning, bytes);
}

TEST_F(StreamsTest, AMissingFileAndADirectoryAreInvalidAndHarmless) {
  const auto expectInvalid = [](DataReader&& reader) {
    EXPECT_FALSE(reader.IsValid());
    EXPECT_EQ(ReadUpTo(reader, 10).size(), 0u);
    EXPECT_TRUE(reader.AtEof());
    EXPECT_NE(reader.Seek(0, 0), 0);
    EXPECT_EQ(reader.Size(), 0u);
  };
  for (const std::string& path : {Path("missing"), Path(""), std::string()}) {
    SCOPED_TRACE(path);
    expectInvalid(StdioReader(path));
    expectInvalid(MappedReader(path));
  }
  expectInvalid(MappedReader(PipeWith({1, 2, 3})));
  const char* unmappable = "/sys/devices/system/cpu/online";
  if (std::filesystem::exists(unmappable)) expectInvalid(MappedReader(unmappable));
}

TEST_F(StreamsTest, AnEmptyFileIsValidAndAtItsEnd) {
  const auto expectEmpty = [](ViewReader&& reader) {
    EXPECT_TRUE(reader.IsValid());
    EXPECT_TRUE(reader.AtEof());
    EXPECT_EQ(ReadUpTo(reader, 1).size(), 0u);
    EXPECT_TRUE(reader.View(1, 1).empty());
  };
  expectEmpty(StdioReader(FileWith({})));
  expectEmpty(MappedReader(FileWith({})));
}

TEST_F(StreamsTest, ClosingLeavesNothingToRead) {
  const Bytes bytes = RandomBytes(10'000);
  StdioReader file(FileWith(bytes));
  MappedReader mapped(FileWith(bytes));
  MemoryReader memory{Bytes(bytes)};
  for (ViewReader* reader : std::initializer_list<ViewReader*>{&file, &mapped, &memory}) {
    EXPECT_EQ(ReadUpTo(*reader, 10), Slice(bytes, 0, 10));
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

TEST_F(StreamsTest, SeeksThatOverflowOrNameNoOriginFailAndStayPut) {
  const Bytes bytes = RandomBytes(100);
  StdioReader file(FileWith(bytes));
  MappedReader mapped(FileWith(bytes));
  MemoryReader memory(bytes);
  for (DataReader* reader : std::initializer_list<DataReader*>{&file, &mapped, &memory}) {
    EXPECT_EQ(reader->Seek(0, 7), 0);
    EXPECT_NE(reader->Seek(1, INT64_MAX), 0);
    EXPECT_NE(reader->Seek(2, INT64_MIN), 0);
    EXPECT_NE(reader->Seek(3, 0), 0);
    EXPECT_EQ(reader->Tell(), 7u);
    EXPECT_EQ(ReadUpTo(*reader, 2), Slice(bytes, 7, 2));
    EXPECT_EQ(reader->Seek(0, INT64_MAX), 0);
    EXPECT_TRUE(reader->AtEof());
  }
}

TEST_F(StreamsTest, TheEndStaysUntilASeekLooksAgain) {
  const std::string path = FileWith({1, 2, 3});
  StdioReader reader(path);
  EXPECT_EQ(ReadUpTo(reader, 10).size(), 3u);
  StdioWriter(path, false, false).Write("\4", 1);
  EXPECT_TRUE(reader.AtEof());
  EXPECT_EQ(reader.Seek(1, 0), 0);
  EXPECT_FALSE(reader.AtEof());
  EXPECT_EQ(ReadUpTo(reader, 10), Bytes{4});
}

TEST_F(StreamsTest, AReadErrorIsNotTheEnd) {
  StdioReader reader("/proc/self/mem");  // the lowest page can be mapped by nobody
  ASSERT_TRUE(reader.IsValid());
  EXPECT_EQ(ReadUpTo(reader, 6).size(), 0u);
  EXPECT_EQ(ReadUpTo(reader, 1'000'000).size(), 0u);
  EXPECT_FALSE(reader.AtEof());
}

TEST_F(StreamsTest, APipeIsReadAndSkippedForward) {
  const Bytes bytes = RandomBytes(60'000);
  StdioReader reader(PipeWith(bytes));
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
}

TEST_F(StreamsTest, SkippingPastTheEndOfAPipeIsLikeAFile) {
  StdioReader reader(PipeWith(RandomBytes(5'000)));
  EXPECT_EQ(reader.Seek(0, 6'000), 0);
  EXPECT_EQ(reader.Tell(), 6'000u);
  EXPECT_TRUE(reader.AtEof());
  EXPECT_EQ(ReadUpTo(reader, 1).size(), 0u);
}

TEST_F(StreamsTest, SignalsCutNeitherReadsNorWrites) {
  const Bytes bytes = RandomBytes(300'000);
  const std::string path = Path("fifo");
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

TEST_F(StreamsTest, HoppingOverPayloadsDoesNotReadThem) {
  constexpr int kBlocks = 500;
  constexpr uint64_t kStride = 100'000;
  StdioWriter(Path("blocks"), false, true).WriteAt("x", 1, kBlocks * kStride - 1);
  StdioReader reader(Path("blocks"));
  uint8_t header[6];
  const ReadCount before = ReadCount::Now();
  if (before.calls == 0) GTEST_SKIP() << "this system does not count reads";
  for (int block = 0; block < kBlocks; ++block) {
    ASSERT_EQ(reader.Read(header, 6), 6u);
    ASSERT_EQ(reader.Seek(1, kStride - 6), 0);
  }
  const ReadCount after = ReadCount::Now();
  EXPECT_LE(after.bytes - before.bytes, kBlocks * 4096u + 10'000);
  EXPECT_LE(after.calls - before.calls, kBlocks + 20u);
}

TEST_F(StreamsTest, SmallSequentialReadsAndSeeksBackCostFewSystemCalls) {
  const std::string path = FileWith(RandomBytes(4 << 20));
  StdioReader reader(path);
  uint8_t piece[12];
  const ReadCount before = ReadCount::Now();
  if (before.calls == 0) GTEST_SKIP() << "this system does not count reads";
  while (reader.Read(piece, 12) == 12) {
    ASSERT_EQ(reader.Seek(1, -2), 0);
  }
  const ReadCount after = ReadCount::Now();
  EXPECT_TRUE(reader.AtEof());
  EXPECT_LE(after.calls - before.calls, 40u);
}

TEST_F(StreamsTest, ExpectedReadsAreFetchedAtOnceAndNoMore) {
  StdioReader reader(FileWith(RandomBytes(2 << 20)));
  uint8_t piece[1000];
  const ReadCount before = ReadCount::Now();
  if (before.calls == 0) GTEST_SKIP() << "this system does not count reads";
  for (const int64_t begin : {0, 1'200'000}) {
    ASSERT_EQ(reader.Seek(0, begin), 0);
    reader.ExpectReadsUpTo(static_cast<uint64_t>(begin) + 500'000);
    for (int i = 0; i < 500; ++i) ASSERT_EQ(reader.Read(piece, 1000), 1000u);
  }
  const ReadCount after = ReadCount::Now();
  EXPECT_LE(after.calls - before.calls, 6u);  // to look at the counts costs some, too
  EXPECT_LE(after.bytes - before.bytes, 1'010'000u);
}

TEST_F(StreamsTest, PositionsBeyondFourGiBAreWrittenAndRead) {
  constexpr int64_t kFar = 5'000'000'000;
  StdioWriter writer(Path("far"), false, true);
  EXPECT_EQ(writer.WriteAt("DCAP", 4, kFar), 4u);
  StdioReader reader(Path("far"));
  EXPECT_EQ(reader.Size(), kFar + 4u);
  EXPECT_EQ(reader.Seek(2, -4), 0);
  EXPECT_EQ(reader.Tell(), static_cast<uint64_t>(kFar));
  EXPECT_EQ(ReadUpTo(reader, 10), (Bytes{'D', 'C', 'A', 'P'}));
}

TEST_F(StreamsTest, PatchingInPlaceChangesNothingElse) {
  for (const bool durable : {true, false}) {
    Bytes expected = RandomBytes(1000);
    const std::string path = FileWith(expected);
    StdioWriter writer(path, durable, false);
    ASSERT_TRUE(writer.IsValid());
    EXPECT_EQ(writer.WriteAt("abcd", 4, 20), 4u);
    EXPECT_EQ(writer.WriteAt("EEEEEEEE", 8, 1000), 8u);
    EXPECT_EQ(Contents(path).size(), 1008u) << "patches do not wait for Flush";
    EXPECT_TRUE(writer.Flush());
    std::copy_n("abcd", 4, expected.begin() + 20);
    expected.insert(expected.end(), 8, 'E');
    EXPECT_EQ(Contents(path), expected);
  }
}

TEST_F(StreamsTest, AMissingFileIsNotCreatedForPatching) {
  for (const bool durable : {true, false}) {
    StdioWriter writer(Path("missing"), durable, false);
    EXPECT_FALSE(writer.IsValid());
    EXPECT_EQ(writer.WriteAt("a", 1, 0), 0u);
    EXPECT_EQ(writer.Write("a", 1), 0u);
    EXPECT_FALSE(writer.Flush());
    EXPECT_FALSE(std::filesystem::exists(Path("missing")));
  }
}

TEST_F(StreamsTest, AppendsAndPatchesInAnyOrderGiveTheSameFileAsAnArray) {
  const Bytes source = RandomBytes(600'000);
  for (const bool durable : {true, false}) {
    std::mt19937 random(3);
    Bytes model;
    const std::string path = FileWith(RandomBytes(10));
    {
      StdioWriter writer(path, durable, true);
      for (int step = 0; step < 300; ++step) {
        const size_t size = random() % (step % 20 == 0 ? source.size() : 3000);
        if (step % 3 != 0) {
          ASSERT_EQ(writer.Write(source.data(), size), size);
          model.insert(model.end(), source.begin(), source.begin() + static_cast<ptrdiff_t>(size));
        } else {
          const size_t recent = std::min<size_t>(model.size(), random() % 2 == 0 ? 5000 : 900'000);
          const size_t offset = model.size() - recent + random() % (recent + 10);
          ASSERT_EQ(writer.WriteAt(source.data() + 9, size / 2, offset), size / 2);
          if (size / 2 != 0) model.resize(std::max(model.size(), offset + size / 2));
          std::copy_n(source.begin() + 9, size / 2, model.begin() + static_cast<ptrdiff_t>(offset));
        }
        if (step == 150) {
          ASSERT_TRUE(writer.Flush());
          ASSERT_TRUE(Contents(path) == model);
        }
      }
    }
    EXPECT_TRUE(Contents(path) == model);
  }
}

TEST_F(StreamsTest, AnOpenedFileIsAppendedToAtItsEnd) {
  const std::string path = FileWith({1, 2, 3});
  StdioWriter(path, false, false).Write("\4\5", 2);
  EXPECT_EQ(Contents(path), (Bytes{1, 2, 3, 4, 5}));
}

TEST_F(StreamsTest, AFullDiskShowsInEveryCount) {
  const Bytes bytes = RandomBytes(300'000);
  for (const bool durable : {true, false}) {
    StdioWriter patcher("/dev/full", durable, false);
    ASSERT_TRUE(patcher.IsValid());
    EXPECT_EQ(patcher.WriteAt("abcd", 4, 20), 0u);
    StdioWriter appender("/dev/full", durable, true);
    EXPECT_EQ(appender.Write("abcd", 4), 4u) << "still in the buffer";
    EXPECT_FALSE(appender.Flush());
    EXPECT_EQ(appender.Write("abcd", 4), 0u) << "bytes before it are lost";
    EXPECT_EQ(appender.WriteAt("abcd", 4, 0), 0u);
    StdioWriter direct("/dev/full", durable, true);
    EXPECT_EQ(direct.Write(bytes.data(), bytes.size()), 0u);
    EXPECT_FALSE(direct.Flush());
    StdioWriter late("/dev/full", durable, true);
    EXPECT_EQ(late.Write(bytes.data(), 200'000), 200'000u);
    EXPECT_EQ(late.Write(bytes.data(), 200'000), 0u) << "the buffer cannot be emptied";
    StdioWriter mixed("/dev/full", durable, true);
    EXPECT_EQ(mixed.Write("abcd", 4), 4u);
    EXPECT_EQ(mixed.WriteAt("abcd", 4, 2), 0u) << "appended bytes would go first";
  }
}

TEST_F(StreamsTest, APartialWriteIsCountedExactly) {
  StdioWriter writer(Path("limited"), false, true);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{1000, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  const uint64_t written = writer.WriteAt(Bytes(300).data(), 300, 900);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(written, 100u);
}

TEST_F(StreamsTest, APipeIsAppendedToAndNotPatched) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  StdioReader reader("/proc/self/fd/" + std::to_string(ends[0]));
  {
    StdioWriter writer("/proc/self/fd/" + std::to_string(ends[1]), true, true);
    close(ends[1]);
    EXPECT_EQ(writer.Write("abcd", 4), 4u);
    EXPECT_EQ(writer.WriteAt("x", 1, 0), 0u);
    EXPECT_EQ(writer.Write("e", 1), 1u);
    EXPECT_TRUE(writer.Flush()) << "there is no device to wait for";
  }
  close(ends[0]);
  EXPECT_EQ(ReadUpTo(reader, 10), (Bytes{'a', 'b', 'c', 'd', 'e'}));
}

TEST_F(StreamsTest, PatchPositionsThatOverflowAreRefused) {
  StdioWriter writer(Path("new"), false, true);
  EXPECT_EQ(writer.WriteAt("abcd", 4, UINT64_MAX - 1), 0u);
  EXPECT_EQ(writer.WriteAt("abcd", 4, INT64_MAX - 1), 0u);
  EXPECT_EQ(Contents(Path("new")).size(), 0u);
}

TEST(ExceptionsTest, AreCaughtOnThisSideOfTheLibraryByTheirBases) {
  try {
    throw Core::ErrnoException(ENOENT, "Cannot stat file");
  } catch (const Core::BasicException& error) {
    EXPECT_STREQ(error.what(), "Cannot stat file");
    EXPECT_EQ(dynamic_cast<const Core::ErrnoException&>(error).GetErrno(), 2u);
  }
}

}  // namespace
