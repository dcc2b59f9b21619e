// A writer that dies leaves a capture with every frame that it had ended.
#include "Core/StdioReader.h"
#include "Data/Capture/DCAPFileWriter.h"
#include "Data/CaptureFileUtil.h"

#include "support/MemoryWriter.h"
#include "support/RecordingConsumer.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr auto kCall = static_cast<ApiCallType>(0x900D);

class WriterCrashTest : public testing::Test {
 protected:
  // Finalises the file and returns how many calls are read of each frame. The last may be cut.
  std::vector<uint32_t> FinaliseAndList() const {
    CaptureFileUtil::EnsureFinalization(path_);
    EXPECT_TRUE(CaptureFileUtil::IsFileFinalized(path_, 0));
    RecordingConsumer recorder;
    Failure([&] { Walk(std::make_shared<Core::StdioReader>(path_), &recorder); });
    std::vector<uint32_t> calls;
    for (const std::string& event : recorder.Contents()) {
      event.starts_with("frame") ? calls.push_back(0) : void(++calls.back());
    }
    return calls;
  }

  const LogCollector log_;
  const TemporaryFolder folder_;
  const std::string path_ = folder_ / "capture.dcap";
};

// What has reached a file at any time, if appended bytes wait in a buffer until they must go.
class Journal : public MemoryWriter {
 public:
  uint64_t Write(const void* buffer, uint64_t size) override {
    const auto* appended = static_cast<const uint8_t*>(buffer);
    waiting_.insert(waiting_.end(), appended, appended + size);
    return size;
  }
  bool Flush() override {
    const auto sent = std::exchange(waiting_, {});
    PutEachByte(sent.data(), sent.size(), bytes.size());
    return true;
  }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    Flush();
    PutEachByte(static_cast<const uint8_t*>(buffer), size, offset);
    return size;
  }

  uint32_t endedFrames = 0;
  std::vector<std::pair<std::vector<uint8_t>, uint32_t>> states;

 private:
  // A process may die in the middle.
  void PutEachByte(const uint8_t* from, uint64_t size, uint64_t offset) {
    for (uint64_t i = 0; i < size; ++i) {
      MemoryWriter::WriteAt(from + i, 1, offset + i);
      states.emplace_back(bytes, endedFrames);
    }
  }

  std::vector<uint8_t> waiting_;
};

TEST_F(WriterCrashTest, EveryByteWrittenLeavesEveryEndedFrame) {
  for (const uint32_t mask : {0u, 0u | kOptionThreadIds, 0u | kOptionNoTrailers}) {
    auto journal = std::make_shared<Journal>();
    DCAPWriterOptions options;
    options.optionMask = mask;
    DCAPFileWriter writer(journal, options);
    const std::vector<uint8_t> payload(9, 0xEE);
    for (uint32_t frame = 1; frame <= 3; ++frame) {
      // Before a frame: behind one, finalising takes them for a part of it.
      if (frame == 1) writer.BeginType2Block(1);
      if (frame == 1) writer.BeginRawBlock(7);
      if (frame == 1) writer.WriteBytes(payload.data(), 9);
      writer.BeginFrame(frame);
      for (uint32_t i = 0; i < frame; ++i) writer.WriteFunctionCall(1, kCall, payload.data(), 9);
      writer.EndBlock();
      journal->endedFrames = frame;
    }
    writer.Close();

    for (const auto& [bytes, endedFrames] : journal->states) {
      if (endedFrames == 0) continue;
      WriteFile(path_, bytes);
      const std::vector<uint32_t> calls = FinaliseAndList();
      ASSERT_GE(calls.size(), endedFrames) << bytes.size();
      for (uint32_t i = 0; i < endedFrames; ++i) ASSERT_EQ(calls[i], i + 1) << bytes.size();
    }
  }
}

}  // namespace
}  // namespace Data
