// Walks recordings of real programs and compares what is in them with figures made otherwise.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Core/StdioReader.h"
#include "Data/CaptureFileUtil.h"
#include "Data/DCAPFileProcessor.h"

#include "support/LogCollector.h"
#include "support/RealCaptures.h"

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// All numbers of the value that belongs to `key` in a summary: one, or those of a list or object.
std::vector<uint64_t> Numbers(const std::string& summary, const std::string& key) {
  std::smatch value;
  const std::regex pattern(R"(")" + key + R"(": (\d+|\[[^\]]*\]|\{[^}]*\}))");
  std::vector<uint64_t> numbers;
  if (!std::regex_search(summary, value, pattern)) return numbers;
  const std::string text = value[1];
  const std::regex number(R"(\d+)");
  for (std::sregex_iterator it(text.begin(), text.end(), number), end; it != end; ++it) {
    numbers.push_back(std::stoull(it->str()));
  }
  return numbers;
}

class Counter : public Data::DCAPConsumer {
 public:
  void ProcessFileStart(const Data::FileHeader& /*header*/) override {}
  void ProcessFileEnd() override { ended = true; }
  void ProcessBlockStart(const Data::BlockHeader& header) override { type = header.type; }
  void ProcessBlockEnd(unsigned long /*trailer*/) override {
    ++(type == Data::kBlockFrame ? frames : setUps);
  }
  void ProcessFrameNumber(unsigned int frameNumber) override { lastFrame = frameNumber; }
  void ProcessMethodCall(const Data::SubBlockHeader& /*header*/,
                         const Data::MethodCallDesc& /*desc*/, const unsigned char* /*data*/,
                         unsigned int /*size*/) override {
    ADD_FAILURE() << "no capture has method calls";
  }
  void ProcessFunctionCall(const Data::SubBlockHeader& header,
                           const Data::FunctionCallDesc& /*desc*/, const unsigned char* /*data*/,
                           unsigned int size) override {
    EXPECT_EQ(+header.size, size + 2);
    threads.insert(header.threadId);
    ++calls;
  }
  void ProcessMetadata(const Data::SubBlockHeader& header, const Data::MetadataDesc& /*desc*/,
                       const unsigned char* /*data*/, unsigned int /*size*/) override {
    threads.insert(header.threadId);
    ++records;
  }

  uint16_t type = 0;
  uint32_t lastFrame = 0;
  uint64_t frames = 0;
  uint64_t setUps = 0;
  uint64_t calls = 0;
  uint64_t records = 0;
  std::set<uint64_t> threads;
  bool ended = false;
};

class RealCapturesTest : public testing::Test {
 protected:
  void TearDown() override { fs::remove(scratch); }
  const fs::path scratch =
      fs::path(testing::TempDir()) / ("RealCapturesTest" + std::to_string(getpid()) + ".dcap");
};

TEST_F(RealCapturesTest, EveryCaptureHoldsWhatItsSummarySays) {
  for (const fs::path& path : RealCaptures()) {
    SCOPED_TRACE(path);
    const std::string summary = ReadFile(fs::path(path).replace_extension(".summary.json"));
    fs::copy_file(path, scratch, fs::copy_options::overwrite_existing);
    fs::permissions(scratch, fs::perms::owner_write, fs::perm_options::add);
    const LogCollector log;
    Data::CaptureFileUtil::EnsureFinalization(scratch);
    const uint64_t size = Data::CaptureFileUtil::GetFileSize(scratch);

    Counter counter;
    Data::DCAPFileProcessor processor;
    processor.Initialize(&counter, std::make_shared<Core::StdioReader>(scratch), size);
    while (processor.ProcessNextFrame()) {
    }
    std::vector<Data::FrameEntry> index;
    Data::CaptureFileUtil::GenerateFrameIndex(scratch, &index);

    EXPECT_THAT(Numbers(summary, "file_bytes"), testing::ElementsAre(size));
    EXPECT_THAT(Numbers(summary, "frame_blocks"), testing::ElementsAre(counter.frames));
    EXPECT_THAT(Numbers(summary, "set_up_blocks"), testing::ElementsAre(counter.setUps));
    EXPECT_THAT(Numbers(summary, "calls"), testing::ElementsAre(counter.calls));
    const std::vector<uint64_t> subBlocks =
        Numbers(summary, "sub_blocks");  // type, count, type ...
    EXPECT_EQ(subBlocks.at(0) == 1 ? subBlocks.at(1) : 0, counter.records);
    if (!Numbers(summary, "thread_ids").empty()) {
      EXPECT_THAT(Numbers(summary, "thread_ids"), testing::ElementsAreArray(counter.threads));
    }
    EXPECT_EQ(counter.lastFrame, counter.frames);
    EXPECT_EQ(index.size(), counter.frames);
    EXPECT_TRUE(counter.ended);
  }
}

}  // namespace
