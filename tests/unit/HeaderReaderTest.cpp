#include "Core/StdioReader.h"
#include "Data/Capture/DCAPBlockReader.h"

#include "inspect/walk/HeaderReader.h"
#include "support/CaptureBuilder.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace {

using Inspect::HeaderReader;

// Where the blocks of a capture begin, by its reader.
std::vector<uint64_t> Blocks(const std::shared_ptr<Core::DataReader>& reader) {
  std::vector<uint64_t> begins;
  reader->Seek(SEEK_SET, 0);
  Data::DCAPBlockReader blocks(reader);
  while (blocks.NextBlock()) begins.push_back(blocks.BlockBegin());
  return begins;
}

class HeaderReaderTest : public testing::Test {
 protected:
  void Write(const std::string& bytes) { std::ofstream(path_, std::ios::binary) << bytes; }

  TemporaryFolder folder_;
  std::string path_ = folder_ / "capture.dcap";
};

TEST_F(HeaderReaderTest, ReadsAnyBytesAsTheyLieInTheFile) {
  std::mt19937 random(1);
  std::string bytes(300'000, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  Write(bytes);
  HeaderReader reader(path_, 1);
  for (int i = 0; i < 3000; ++i) {
    const size_t at = random() % bytes.size();
    std::string read(random() % 4 == 0 ? random() % 100'000 : random() % 20, '\0');
    ASSERT_EQ(reader.Seek(SEEK_SET, static_cast<int64_t>(at)), 0);
    read.resize(reader.Read(read.data(), read.size()));
    ASSERT_EQ(read, bytes.substr(at, read.size()));
    ASSERT_EQ(reader.Tell(), at + read.size());
    ASSERT_EQ(reader.AtEof(), reader.Tell() == bytes.size());
  }
}

// The payloads of the first half are full of block ends, each before a block header with a size
// that leads astray.
TEST_F(HeaderReaderTest, ThreadsThatReadAheadAreNotLedAstrayByPayloads) {
  std::string liars;
  for (uint32_t size = 0; size < 40'000; size += 7) {
    const uint32_t claimed = size % 5 == 0 ? UINT32_MAX - size : size;
    liars.append(8, '\xEE').append("\1\0", 2);
    liars.append(reinterpret_cast<const char*>(&claimed), sizeof(claimed));
  }
  CaptureBuilder capture;
  for (uint32_t frame = 1; capture.Size() < 6'500'000; ++frame) {
    capture.FrameBlock(frame).Call(0x9001, liars.substr(frame % 18));
  }
  for (uint32_t frame = 1000; capture.Size() < 13'000'000; ++frame) {
    capture.FrameBlock(frame).Call(0x9001, std::string(frame, 'x'));
  }
  capture.WriteTo(path_);
  const auto expected = Blocks(std::make_shared<Core::StdioReader>(path_));
  const auto reader = std::make_shared<HeaderReader>(path_, 3);
  EXPECT_EQ(Blocks(reader), expected);
  EXPECT_EQ(Blocks(reader), expected);  // and again, from the headers that were kept
}

}  // namespace
