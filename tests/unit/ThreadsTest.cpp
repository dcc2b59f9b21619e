// Captures read at the same time: nothing is shared but where log lines go.
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/MemoryReader.h"
#include "Core/RepeatFilter.h"
#include "Data/Calls/CallTable.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "support/LogCollector.h"
#include "support/RandomCapture.h"

namespace Data {
namespace {

class NameEveryCall : public GenericAdapter {
 public:
  std::vector<std::string> names;

 private:
  void ProcessCall(const CallDesc& call, std::span<const CallValue> /*values*/) override {
    names.emplace_back(call.name);
  }
};

std::vector<std::string> NamesOfCalls(const std::vector<uint8_t>& capture) {
  NameEveryCall adapter;
  EGLDecoder eglDecoder;
  GLDecoder glDecoder;
  eglDecoder.AddAdapter(adapter.AsEGLAdapter());
  glDecoder.AddAdapter(adapter.AsGLAdapter());
  DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&eglDecoder);
  consumer.AddDecoder(&glDecoder);
  DCAPFileProcessor processor;
  processor.Initialize(&consumer, std::make_shared<Core::MemoryReader>(capture), capture.size());
  while (processor.ProcessNextBlock()) {
  }
  return adapter.names;
}

// The names of the calls in all captures of some seeds.
std::vector<std::string> NamesOfSeeds(uint32_t first, uint32_t end) {
  std::vector<std::string> names;
  for (uint32_t seed = first; seed < end; ++seed) {
    const auto more = NamesOfCalls(RandomCapture(seed, RandomCapture::kSome).Finish());
    names.insert(names.end(), more.begin(), more.end());
  }
  return names;
}

TEST(ThreadsTest, CapturesAreReadAtTheSameTimeAsOneAfterTheOther) {
  LogCollector lines;
  Core::RepeatFilterSink filter(&lines);
  Core::Log::Sink* const previous = Core::Log::SetSink(&filter);
  const auto first = NamesOfSeeds(0, 100);
  const auto second = NamesOfSeeds(100, 200);

  std::vector<std::string> results[2];
  std::thread other([&] { results[1] = NamesOfSeeds(100, 200); });
  results[0] = NamesOfSeeds(0, 100);
  other.join();
  Core::Log::SetSink(previous);
  EXPECT_EQ(results[0], first);
  EXPECT_EQ(results[1], second);
  EXPECT_THAT(lines.Messages(), testing::Not(testing::IsEmpty()));
}

}  // namespace
}  // namespace Data
