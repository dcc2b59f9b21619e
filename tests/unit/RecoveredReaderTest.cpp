// An unfinished capture, read as if it were finished.
#include "Core/MemoryReader.h"
#include "Data/Capture/RecoveredReader.h"

#include "support/CaptureBuilder.h"
#include "support/Test.h"

namespace {

using Data::RecoveredReader;
using Bytes = std::vector<uint8_t>;

class RecoveredReaderTest : public testing::Test {
 protected:
  RecoveredReaderTest() {
    CaptureBuilder capture;
    capture.FrameBlock(7).Call(1, std::string(200, 'x')).FrameBlock(8).Call(2, "end");
    whole_ = capture.Finish();
    unfinished_ = capture.Unfinished().Finish();
  }

  std::shared_ptr<Core::MemoryReader> Source() const {
    return std::make_shared<Core::MemoryReader>(std::span(unfinished_));
  }

  Bytes whole_;
  Bytes unfinished_;
};

TEST_F(RecoveredReaderTest, ReadsAndSeeksLikeTheFinishedFile) {
  RecoveredReader reader(Source(), unfinished_.size());
  EXPECT_EQ(reader.Size(), whole_.size());
  for (const size_t step : {1u, 3u, 7u, 50u}) {
    ASSERT_EQ(reader.Seek(0, 0), 0);
    Bytes read(whole_.size());
    for (size_t p = 0; p < whole_.size(); p += step) {
      EXPECT_EQ(reader.Tell(), p);
      EXPECT_FALSE(reader.AtEof());
      reader.Read(read.data() + p, std::min(step, whole_.size() - p));
    }
    EXPECT_EQ(read, whole_);
    EXPECT_TRUE(reader.AtEof());
  }
  for (const int64_t back : {1, 8, 9, 20, 200}) {
    uint8_t byte = 0;
    EXPECT_EQ(reader.Seek(2, -back), 0);
    EXPECT_EQ(reader.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, whole_.at(whole_.size() - static_cast<size_t>(back)));
    EXPECT_EQ(reader.Seek(1, -1), 0);
    EXPECT_EQ(reader.Tell(), whole_.size() - static_cast<size_t>(back));
  }
  EXPECT_NE(reader.Seek(0, -1), 0);
  EXPECT_NE(reader.Seek(2, INT64_MAX), 0);
  EXPECT_NE(reader.Seek(3, 0), 0);
  EXPECT_EQ(reader.Seek(2, 5), 0);
  EXPECT_EQ(reader.Read(nullptr, 1), 0u);
}

TEST_F(RecoveredReaderTest, EndsWhereItsSourceEnds) {
  const auto recovery = Data::CaptureRecovery::Examine(Source().get(), unfinished_.size());
  unfinished_.resize(100);
  RecoveredReader reader(Source(), recovery);
  Bytes read(whole_.size());
  EXPECT_EQ(reader.Read(read.data(), read.size()), 100u);
  EXPECT_TRUE(reader.AtEof());
  EXPECT_EQ(reader.Seek(0, 0), 0);
  reader.Close();
  EXPECT_FALSE(reader.IsValid());
  EXPECT_EQ(reader.Read(read.data(), read.size()), 0u);
  EXPECT_NE(reader.Seek(0, 0), 0);
}

}  // namespace
