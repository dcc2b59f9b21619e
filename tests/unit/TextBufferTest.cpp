#include "inspect/listing/TextBuffer.h"
#include "support/Test.h"

namespace {

std::string Shortest(float value) {
  char text[64];
  return {text, std::to_chars(text, std::end(text), value).ptr};
}

std::string Written(float value) {
  char text[Inspect::TextBuffer::kNumberRoom];
  return {text, Inspect::TextBuffer::FloatTo(text, value)};
}

TEST(TextBufferTest, WholeFloatsAreWrittenLikeAllOthers) {
  for (float value = 0; value < 110'000; ++value) {
    ASSERT_EQ(Written(value), Shortest(value));
    ASSERT_EQ(Written(-value), Shortest(-value));
    ASSERT_EQ(Written(value + 0.5F), Shortest(value + 0.5F));
  }
  using Limits = std::numeric_limits<float>;
  for (const float value : {Limits::infinity(), Limits::quiet_NaN(), -Limits::quiet_NaN(),
                            Limits::max(), Limits::denorm_min(), std::nextafter(1e5F, 0.0F)}) {
    EXPECT_EQ(Written(value), Shortest(value));
  }
}

}  // namespace
