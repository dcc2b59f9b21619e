// A writer that dies leaves a capture with every frame that it had ended.
#include <csignal>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Core/StdioReader.h"
#include "Core/StdioWriter.h"
#include "Data/Capture/DCAPFileWriter.h"
#include "Data/CaptureFileUtil.h"

#include "support/Failure.h"
#include "support/LogCollector.h"
#include "support/MemoryWriter.h"
#include "support/RecordingConsumer.h"
#include "support/TemporaryFolder.h"

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

// What has reached a file after each of the operations on it.
class Journal : public MemoryWriter {
 public:
  uint64_t Write(const void* buffer, uint64_t size) override {
    return WriteAt(buffer, size, bytes.size());
  }
  // Byte by byte: a process may die in the middle.
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    for (uint64_t i = 0; i < size; ++i) {
      MemoryWriter::WriteAt(static_cast<const uint8_t*>(buffer) + i, 1, offset + i);
      states.emplace_back(bytes, endedFrames);
    }
    return size;
  }

  uint32_t endedFrames = 0;
  std::vector<std::pair<std::vector<uint8_t>, uint32_t>> states;
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

// Writes frames of i calls until it is killed, and reports each that it has ended.
[[noreturn]] void WriteUntilKilled(const std::string& path, int reports, uint32_t seed) {
  try {
    std::mt19937 random(seed);
    const std::vector<uint8_t> payload(100000);
    DCAPFileWriter writer(std::make_shared<Core::StdioWriter>(path, false, true), {});
    for (uint32_t frame = 1;; ++frame) {
      writer.BeginFrame(frame);
      for (uint32_t i = 0; i < frame; ++i) {
        // Frames of all sizes: less than the stream's buffer, and many times as much.
        const auto size = static_cast<uint32_t>(random() % (frame % 3 == 0 ? 100000 : 100));
        writer.WriteFunctionCall(1, kCall, payload.data(), size);
      }
      writer.EndBlock();
      if (write(reports, &frame, sizeof(frame)) != sizeof(frame)) _exit(1);
    }
  } catch (...) {
    _exit(1);
  }
}

TEST_F(WriterCrashTest, AKilledProcessLeavesEveryEndedFrame) {
  std::mt19937 random(4);
  uint32_t mostFrames = 0;
  for (uint32_t round = 0; round < 100; ++round) {
    int reports[2];
    ASSERT_EQ(pipe(reports), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) WriteUntilKilled(path_, reports[1], round);
    close(reports[1]);

    uint32_t endedFrames = 0;
    ASSERT_EQ(read(reports[0], &endedFrames, sizeof(endedFrames)), ssize_t{sizeof(endedFrames)});
    usleep(static_cast<useconds_t>(random() % 5000));
    kill(child, SIGKILL);
    while (read(reports[0], &endedFrames, sizeof(endedFrames)) > 0) {
    }
    close(reports[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself";

    const std::vector<uint32_t> calls = FinaliseAndList();
    ASSERT_GE(calls.size(), endedFrames) << "round " << round;
    for (uint32_t i = 0; i < endedFrames; ++i) ASSERT_EQ(calls[i], i + 1) << "round " << round;
    mostFrames = std::max(mostFrames, endedFrames);
  }
  EXPECT_GT(mostFrames, 10u);
}

}  // namespace
}  // namespace Data
