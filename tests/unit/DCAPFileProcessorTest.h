// What the tests of the processor share.
#ifndef DCAPKIT_TESTS_DCAPFILEPROCESSORTEST_H
#define DCAPKIT_TESTS_DCAPFILEPROCESSORTEST_H

#include "Core/MemoryReader.h"
#include "Data/DCAPFileProcessor.h"

#include "support/CaptureBuilder.h"
#include "support/RecordingConsumer.h"
#include "support/Test.h"

inline constexpr uint32_t kThreads = Data::kOptionThreadIds;
inline constexpr uint32_t kLZ4 = Data::kCompressionLZ4 << Data::kOptionCompressionShift;
inline constexpr uint32_t kLZ77 = Data::kCompressionLZ77 << Data::kOptionCompressionShift;
inline constexpr size_t kMiB = 1024ul * 1024;

// Shows none of its bytes, since it is no longer the library's own reader.
class HidingReader : public Core::MemoryReader {
  using MemoryReader::MemoryReader;
};

// Every test walks in the memory of a reader and, by a reader that shows nothing, in the
// processor's own.
class DCAPFileProcessorTest : public testing::TestWithParam<bool> {
 protected:
  static std::shared_ptr<Core::DataReader> ReaderOf(std::vector<uint8_t> bytes) {
    if (GetParam()) return std::make_shared<Core::MemoryReader>(std::move(bytes));
    return std::make_shared<HidingReader>(std::move(bytes));
  }

  void Open(const std::shared_ptr<Core::DataReader>& reader) {
    used_ = true;
    processor->Initialize(&recorder, reader, actualSize);
  }
  void Open(const CaptureBuilder& capture) { Open(ReaderOf(capture.Finish())); }

  // Processes the capture to its end, with all new but for what was set since the latest. Returns
  // the text of the exception that ended it, or nothing.
  std::string Run(const std::shared_ptr<Core::DataReader>& reader) {
    if (used_) Renew();
    return Failure([&] {
      Open(reader);
      while (processor->ProcessNextBlock()) {
      }
    });
  }
  std::string Run(const CaptureBuilder& capture) { return Run(ReaderOf(capture.Finish())); }

  // Runs through a sound capture.
  const std::vector<std::string>& EventsOf(const CaptureBuilder& capture) {
    EXPECT_EQ(Run(capture), "");
    return recorder.events;
  }
  std::vector<std::string> ContentsOf(const CaptureBuilder& capture) {
    EventsOf(capture);
    return Contents();
  }

  std::vector<std::string> Contents() const { return recorder.Contents(); }
  const std::string& LastEvent() const { return recorder.events.back(); }

  void Renew() {
    processor = std::make_unique<Data::DCAPFileProcessor>();
    recorder.events.clear();
    log.Take();
    used_ = false;
  }

  uint64_t actualSize = 0;
  LogCollector log;
  RecordingConsumer recorder;
  std::unique_ptr<Data::DCAPFileProcessor> processor = std::make_unique<Data::DCAPFileProcessor>();

 private:
  bool used_ = false;
};

#endif  // DCAPKIT_TESTS_DCAPFILEPROCESSORTEST_H
