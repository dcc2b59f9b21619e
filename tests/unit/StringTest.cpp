#include "Util/String.h"

#include "support/Test.h"

namespace {

using Util::String;

TEST(StringTest, IntegersAreWrittenInEveryBase) {
  EXPECT_EQ(String::FromInt(0, 10), "0");
  EXPECT_EQ(String::FromInt(INT_MAX, 10), "2147483647");
  EXPECT_EQ(String::FromInt(-255, 16), "-ff");
  EXPECT_EQ(String::FromInt(INT_MIN, 2), "-1" + std::string(31, '0'));
  EXPECT_EQ(String::FromInt(35, 36), "z");
}

TEST(StringTest, ABaseWithoutDigitsGivesNothing) {
  for (const unsigned int base : {0u, 1u, 37u, UINT_MAX}) {
    EXPECT_EQ(String::FromInt(5, base), "");
  }
}

}  // namespace
