// The writer of files, on files, pipes and full disks.
#include <sys/resource.h>

#include "Core/StdioReader.h"
#include "Core/StdioWriter.h"

#include "StreamsTest.h"
#include "support/Test.h"

namespace {

using Bytes = std::vector<uint8_t>;

using Core::StdioReader;
using Core::StdioWriter;

class StdioWriterTest : public StreamsTest {};

TEST_F(StdioWriterTest, PositionsBeyondFourGiBAreWrittenAndRead) {
  constexpr int64_t kFar = 5'000'000'000;
  StdioWriter writer(folder_ / "far", false, true);
  EXPECT_EQ(writer.WriteAt("DCAP", 4, kFar), 4u);
  StdioReader reader(folder_ / "far");
  EXPECT_EQ(reader.Size(), kFar + 4u);
  EXPECT_EQ(reader.Seek(2, -4), 0);
  EXPECT_EQ(reader.Tell(), static_cast<uint64_t>(kFar));
  EXPECT_EQ(ReadUpTo(reader, 10), (Bytes{'D', 'C', 'A', 'P'}));
}

TEST_F(StdioWriterTest, PatchingInPlaceChangesNothingElse) {
  for (const bool durable : {true, false}) {
    Bytes expected = RandomBytes(1000);
    const std::string path = FileWith(expected);
    StdioWriter writer(path, durable, false);
    ASSERT_TRUE(writer.IsValid());
    EXPECT_EQ(writer.WriteAt("abcd", 4, 20), 4u);
    EXPECT_EQ(writer.WriteAt("EEEEEEEE", 8, 1000), 8u);
    EXPECT_EQ(ReadFile(path).size(), 1008u) << "patches do not wait for Flush";
    EXPECT_TRUE(writer.Flush());
    std::copy_n("abcd", 4, expected.begin() + 20);
    expected.insert(expected.end(), 8, 'E');
    EXPECT_EQ(ReadFile(path), expected);
  }
}

TEST_F(StdioWriterTest, AMissingFileIsNotCreatedForPatching) {
  for (const bool durable : {true, false}) {
    StdioWriter writer(folder_ / "missing", durable, false);
    EXPECT_FALSE(writer.IsValid());
    EXPECT_EQ(writer.WriteAt("a", 1, 0), 0u);
    EXPECT_EQ(writer.Write("a", 1), 0u);
    EXPECT_FALSE(writer.Flush());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "missing"));
  }
}

TEST_F(StdioWriterTest, AppendsAndPatchesInAnyOrderGiveTheSameFileAsAnArray) {
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
          ASSERT_TRUE(ReadFile(path) == model);
        }
      }
    }
    EXPECT_TRUE(ReadFile(path) == model);
  }
}

TEST_F(StdioWriterTest, AFullDiskShowsInEveryCount) {
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

TEST_F(StdioWriterTest, APartialWriteIsCountedExactly) {
  StdioWriter writer(folder_ / "limited", false, true);
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

TEST_F(StdioWriterTest, APipeIsAppendedToAndNotPatched) {
  Pipe pipe;
  {
    StdioWriter writer(pipe.Path(1), true, true);
    pipe.CloseEnd(1);
    EXPECT_EQ(writer.Write("abcd", 4), 4u);
    EXPECT_EQ(writer.WriteAt("x", 1, 0), 0u);
    EXPECT_EQ(writer.Write("e", 1), 1u);
    EXPECT_TRUE(writer.Flush()) << "there is no device to wait for";
  }
  StdioReader reader(pipe.Path(0));
  EXPECT_EQ(ReadUpTo(reader, 10), (Bytes{'a', 'b', 'c', 'd', 'e'}));
}

TEST_F(StdioWriterTest, PatchPositionsThatOverflowAreRefused) {
  StdioWriter writer(folder_ / "new", false, true);
  EXPECT_EQ(writer.WriteAt("abcd", 4, UINT64_MAX - 1), 0u);
  EXPECT_EQ(writer.WriteAt("abcd", 4, INT64_MAX - 1), 0u);
  EXPECT_EQ(ReadFile(folder_ / "new").size(), 0u);
}

}  // namespace
