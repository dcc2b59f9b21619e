#include "Core/Exceptions.h"

#include "inspect/walk/Capture.h"
#include "support/CaptureBuilder.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace {

using Inspect::Capture;

std::string Read(const std::shared_ptr<Core::DataReader>& reader) {
  std::string bytes(reader->Size(), '\0');
  bytes.resize(reader->Read(bytes.data(), bytes.size()));
  return bytes;
}

class CaptureTest : public testing::Test {
 protected:
  TemporaryFolder folder_;
  std::string path_ = folder_ / "capture.dcap";
};

TEST_F(CaptureTest, AllReadersReadTheFileThatWasOpenedWhateverTakesItsName) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(0x9001, "the first file").FrameBlock(2).WriteTo(path_);
  const auto bytes = capture.Finish();
  const std::string expected(bytes.begin(), bytes.end());
  const Capture opened(path_);
  std::filesystem::remove(path_);
  CaptureBuilder().FrameBlock(7).Call(0x9001, "another, which is longer than it").WriteTo(path_);
  EXPECT_EQ(Read(opened.Reader()), expected);
  EXPECT_EQ(Read(opened.OpenAgain()), expected);
  opened.Headers()->Seek(SEEK_SET, 0);
  EXPECT_EQ(Read(opened.Headers()), expected);
}

TEST_F(CaptureTest, AFileThatBecameShorterIsNotOpenedAgain) {
  CaptureBuilder().FrameBlock(1).Call(0x9001, "call").WriteTo(path_);
  const Capture opened(path_);
  std::filesystem::resize_file(path_, std::filesystem::file_size(path_) - 1);
  EXPECT_EQ(opened.OpenAgain(), nullptr);
}

}  // namespace
