// Captures read at the same time: nothing is shared but where log lines go.
#include "Core/MemoryReader.h"
#include "Core/RepeatFilter.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "support/Listing.h"
#include "support/RandomCapture.h"
#include "support/RecordingConsumer.h"
#include "support/Test.h"

namespace Data {
namespace {

std::vector<std::string> CallsOf(const std::vector<uint8_t>& capture) {
  Listing listing;
  EGLDecoder eglDecoder;
  GLDecoder glDecoder;
  eglDecoder.AddAdapter(listing.AsEGLAdapter());
  glDecoder.AddAdapter(listing.AsGLAdapter());
  DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&eglDecoder);
  consumer.AddDecoder(&glDecoder);
  Walk(std::make_shared<Core::MemoryReader>(capture), &consumer);
  return listing.Take();
}

// The calls in all captures of some seeds.
std::vector<std::string> CallsOfSeeds(uint32_t first, uint32_t end) {
  std::vector<std::string> calls;
  for (uint32_t seed = first; seed < end; ++seed) {
    const auto more = CallsOf(RandomCapture(seed, RandomCapture::kSome).Finish());
    calls.insert(calls.end(), more.begin(), more.end());
  }
  return calls;
}

TEST(ThreadsTest, CapturesAreReadAtTheSameTimeAsOneAfterTheOther) {
  LogCollector lines;
  Core::RepeatFilterSink filter(&lines);
  Core::Log::Sink* const previous = Core::Log::SetSink(&filter);
  const auto first = CallsOfSeeds(0, 100);
  const auto second = CallsOfSeeds(100, 200);

  std::vector<std::string> results[2];
  std::thread other([&] { results[1] = CallsOfSeeds(100, 200); });
  results[0] = CallsOfSeeds(0, 100);
  other.join();
  Core::Log::SetSink(previous);
  EXPECT_EQ(results[0], first);
  EXPECT_EQ(results[1], second);
  EXPECT_THAT(lines.Messages(), testing::Not(testing::IsEmpty()));
}

}  // namespace
}  // namespace Data
