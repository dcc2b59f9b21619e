#include "Data/Decoder.h"

#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr char kCut[] =
    "1/3 src/Data/Decoder:62 DCAP API call block parameter decoding error: block is too small to "
    "contain all expected parameter data";

// Reads values one after another from a payload, as the handlers do.
class DecoderTest : public testing::Test {
 protected:
  uint32_t Read(uint32_t width, uint64_t initial) {
    value_ = initial;
    const uint32_t read =
        Decoder::ExtractValue(payload_.Data(), payload_.Size(), offset_, width, &value_);
    offset_ += read;
    return read;
  }

  Bytes payload_;
  uint32_t offset_ = 0;
  uint64_t value_ = 0;
  LogCollector log_;
};

TEST_F(DecoderTest, ValuesAreReadBackToBack) {
  payload_.U32(0x11223344).U64(0x8877665544332211).U16(0xABCD).Raw({0xEF});
  for (const auto& [width, value] : {std::pair(4u, uint64_t{0x11223344}),
                                     {8u, uint64_t{0x8877665544332211}},
                                     {3u, uint64_t{0xEFABCD}}}) {
    EXPECT_EQ(Read(width, 0), width);
    EXPECT_EQ(value_, value);
  }
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(DecoderTest, AValueBeyondTheEndAndOneOfNoWidthAreSilentlyMissing) {
  payload_.U32(1);
  for (uint32_t offset : {4u, 5u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
    offset_ = offset;
    EXPECT_EQ(Read(4, 42), 0u) << offset;
    EXPECT_EQ(value_, 42u);
  }
  EXPECT_EQ(Decoder::ExtractValue(nullptr, 0, 0, 4, &value_), 0u);
  for (uint32_t offset : {0u, 4u, 9u}) {
    EXPECT_EQ(Decoder::ExtractValue(payload_.Data(), 4, offset, 0, nullptr), 0u);
  }
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(DecoderTest, AValueThatThePayloadCutsIsLoggedAndANarrowerOneMaySucceed) {
  payload_.U32(7).U16(0x0102);
  EXPECT_EQ(Read(4, 0), 4u);
  for (const uint32_t width : {4u, 8u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Read(width, 42), 0u);
    EXPECT_EQ(value_, 42u);
    EXPECT_THAT(log_.Take(), ElementsAre(kCut));
  }
  EXPECT_EQ(Read(2, 0), 2u);
  EXPECT_EQ(value_, 0x0102u);
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(DecoderTest, PointersAreDecodedInPlaceAndSkippedWithoutADestination) {
  payload_.U32(9).Array<uint32_t>({1, 2});
  PointerData pointer;
  EXPECT_EQ(Decoder::ExtractPointerData(payload_.Data(), payload_.Size(), 4, 4, &pointer), 16u);
  EXPECT_EQ(pointer.count, 2u);
  EXPECT_EQ(Decoder::ExtractPointerData(payload_.Data(), payload_.Size(), 4, 4, nullptr), 0u);
}

}  // namespace
}  // namespace Data
