#include <cstring>
#include <limits>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Limits.h"
#include "Data/PointerData.h"

#include "support/AllocationMeter.h"
#include "support/LogCollector.h"
#include "support/PayloadBuilder.h"

namespace Data {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kCut[] =
    "1/3 src/Data/PointerData:271 DCAP API call block parameter decoding error: block is too small "
    "to contain all expected parameter data";

// Decodes a block that stands behind three foreign bytes, so that nothing is aligned.
class PointerDataTest : public testing::Test {
 protected:
  uint32_t Decode(const Bytes& block, uint32_t elementSize = 4) {
    const Bytes payload = Bytes().Fill(3, 0xFF).Append(block);
    return pointer_.Decode(payload.Data(), payload.Size(), 3, elementSize);
  }

  // What a decoded array holds.
  template <typename T>
  std::vector<T> Elements() const {
    std::vector<T> elements(pointer_.count);
    std::memcpy(elements.data(), pointer_.data, elements.size() * sizeof(T));
    return elements;
  }

  void ExpectEmpty() const {
    EXPECT_FALSE(pointer_.decoded);
    EXPECT_EQ(pointer_.flags, 0u);
    EXPECT_EQ(pointer_.pointerValue, 0u);
    EXPECT_EQ(pointer_.count, 0u);
    for (const void* p :
         {pointer_.data, static_cast<void*>(pointer_.arrayData),
          static_cast<void*>(pointer_.stringData), static_cast<void*>(pointer_.strings),
          static_cast<void*>(pointer_.stringFlags),
          static_cast<void*>(pointer_.stringPointerValues),
          static_cast<void*>(pointer_.stringLengths)}) {
      EXPECT_EQ(p, nullptr);
    }
  }

  PointerData pointer_;
  LogCollector log_;
};

TEST_F(PointerDataTest, StartsEmptyAndStaysEmptyForAnEmptyPayload) {
  ExpectEmpty();
  EXPECT_EQ(pointer_.elementSize, 0u);
  const uint8_t byte = 2;
  EXPECT_EQ(pointer_.Decode(nullptr, 8, 0, 4), 0u);
  EXPECT_EQ(pointer_.Decode(&byte, 0, 0, 4), 0u);
  ExpectEmpty();
}

TEST_F(PointerDataTest, ANullPointerTakesItsFlagsWordAlone) {
  EXPECT_EQ(Decode(Bytes().Null().U32(7)), 4u);
  EXPECT_TRUE(pointer_.decoded);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_EQ(pointer_.count, 0u);
}

TEST_F(PointerDataTest, ABlockBeyondTheEndIsDecodedAsNull) {
  EXPECT_EQ(Decode(Bytes()), 0u);
  EXPECT_TRUE(pointer_.decoded);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_EQ(Decode(Bytes().U16(2)), 0u);
  EXPECT_THAT(log_.Lines(), ElementsAre(kCut));
}

TEST_F(PointerDataTest, AnAddressAloneIsTheData) {
  EXPECT_EQ(Decode(Bytes().Address(0x123456789ABC)), 12u);
  EXPECT_EQ(pointer_.data, reinterpret_cast<void*>(0x123456789ABC));
  EXPECT_EQ(Decode(Bytes().U32(0x8 | 0x30 | 0x100).U64(0x40)), 12u);
  EXPECT_EQ(pointer_.data, reinterpret_cast<void*>(0x40));
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(PointerDataTest, FlagsThatNameNoContentAreLogged) {
  EXPECT_EQ(Decode(Bytes().U32(0x10)), 4u);
  EXPECT_TRUE(pointer_.decoded);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_THAT(
      log_.Lines(),
      ElementsAre("4/3 src/Data/PointerData:106 PointerData::Decode processed a buffer that "
                  "contained no pointer related data."));
}

TEST_F(PointerDataTest, ASingleValueIsCopied) {
  EXPECT_EQ(Decode(Bytes().Value<uint64_t>(77, 0xA0), 8), 20u);
  EXPECT_EQ(pointer_.count, 1u);
  EXPECT_EQ(pointer_.elementSize, 8u);
  EXPECT_EQ(pointer_.pointerValue, 0xA0u);
  EXPECT_THAT(Elements<uint64_t>(), ElementsAre(77));
  EXPECT_EQ(pointer_.data, pointer_.arrayData);
}

TEST_F(PointerDataTest, ASingleValueThatIsNotThereIsZero) {
  EXPECT_EQ(Decode(Bytes().U32(0x1).U16(9)), 4u);
  EXPECT_THAT(Elements<uint32_t>(), ElementsAre(0));
  EXPECT_THAT(log_.Take(), ElementsAre(kCut));
  EXPECT_EQ(Decode(Bytes().U32(0x11).U32(9)), 4u);
  EXPECT_THAT(Elements<uint32_t>(), ElementsAre(0));
  EXPECT_EQ(Decode(Bytes().U32(0x1).U32(9), 0), 4u);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_EQ(pointer_.count, 1u);
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(PointerDataTest, AnArrayIsCopiedElementByElement) {
  EXPECT_EQ(Decode(Bytes().Array<float>({1.5f, -2.0f}, 0xBEEF).U32(9)), 24u);
  EXPECT_EQ(pointer_.flags, 0xAu);
  EXPECT_EQ(pointer_.pointerValue, 0xBEEFu);
  EXPECT_EQ(pointer_.count, 2u);
  EXPECT_EQ(pointer_.elementSize, 4u);
  EXPECT_THAT(Elements<float>(), ElementsAre(1.5f, -2.0f));
}

TEST_F(PointerDataTest, AnArrayThatThePayloadCutsIsZero) {
  EXPECT_EQ(Decode(Bytes().Array<uint32_t>({1, 2, 3}).Cut(1)), 8u);
  EXPECT_EQ(pointer_.count, 3u);
  EXPECT_THAT(Elements<uint32_t>(), Each(0));
  EXPECT_THAT(log_.Take(), ElementsAre(kCut));
  EXPECT_EQ(Decode(Bytes().U32(0x2).U32(3)), 8u);
  EXPECT_THAT(Elements<uint32_t>(), Each(0));
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(PointerDataTest, AnArrayOfUnknownSizeGetsADefaultBuffer) {
  EXPECT_EQ(Decode(Bytes().U32(0x2).U32(0).U32(99)), 8u);
  EXPECT_EQ(pointer_.count, 512u);
  EXPECT_THAT(Elements<uint32_t>(), Each(0));
  const std::string line =
      "2/3 src/Data/PointerData:395 Allocating default buffer of size 512 for array parameter of "
      "unknown size.";
  EXPECT_THAT(log_.Take(), ElementsAre(line));
  EXPECT_EQ(Decode(Bytes().U32(0x2).U16(1)), 4u);
  EXPECT_EQ(pointer_.count, 512u);
  EXPECT_THAT(log_.Take(), ElementsAre(kCut, line));
  EXPECT_EQ(Decode(Bytes().U32(0x22).U32(0)), 8u);
  EXPECT_EQ(pointer_.count, 512u);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_THAT(log_.Lines(), ElementsAre(line));
}

TEST_F(PointerDataTest, AnArrayOfWhichOnlyTheSizeIsRecordedHasNoBuffer) {
  EXPECT_EQ(Decode(Bytes().U32(0x22).U32(7).U32(1)), 8u);
  EXPECT_EQ(pointer_.count, 7u);
  EXPECT_EQ(pointer_.data, nullptr);
  EXPECT_EQ(Decode(Bytes().Array<uint32_t>({1}), 0), 8u);
  EXPECT_EQ(pointer_.count, 1u);
  EXPECT_EQ(pointer_.data, nullptr);
}

TEST_F(PointerDataTest, UnrecordedElementsAreZero) {
  EXPECT_EQ(Decode(Bytes().Unrecorded(PointerKindArray, 6).Fill(24, 1), 4), 8u);
  EXPECT_THAT(Elements<uint32_t>(), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(PointerDataTest, TellsContentThatIsThereFromWhatIsMerelyClaimed) {
  const auto isClaimed = [&](const Bytes& block) {
    Decode(block);
    return pointer_.IsClaimed();
  };
  EXPECT_FALSE(isClaimed(Bytes().Array<uint32_t>({1, 2})));
  EXPECT_TRUE(isClaimed(Bytes().Array<uint32_t>({1, 2}).Cut(1)));
  EXPECT_TRUE(isClaimed(Bytes().Unrecorded(PointerKindArray, 6)));
  EXPECT_FALSE(isClaimed(Bytes().String("abc")));
  EXPECT_TRUE(isClaimed(Bytes().String("abc").Cut(1)));
  EXPECT_TRUE(isClaimed(Bytes().U32(0x1).U16(9)));
  EXPECT_FALSE(isClaimed(Bytes().Null()));
  Decode(Bytes().U32(0x6).U32(3).String("a").Unrecorded(PointerKindString, 9).U32(4).U32(7));
  EXPECT_FALSE(pointer_.IsClaimed(0));
  EXPECT_TRUE(pointer_.IsClaimed(1));
  EXPECT_TRUE(pointer_.IsClaimed(2));
}

TEST_F(PointerDataTest, AStringIsCopiedAndTerminated) {
  EXPECT_EQ(Decode(Bytes().String("void main").U32(1)), 17u);
  EXPECT_STREQ(pointer_.stringData, "void main");
  EXPECT_EQ(pointer_.data, pointer_.stringData);
  EXPECT_EQ(pointer_.count, 9u);
  EXPECT_EQ(pointer_.elementSize, 1u);
  EXPECT_EQ(Decode(Bytes().String("")), 8u);
  EXPECT_STREQ(pointer_.stringData, "");
}

TEST_F(PointerDataTest, AStringThatIsNotThereIsEmptyAndKeepsItsLength) {
  EXPECT_EQ(Decode(Bytes().Unrecorded(PointerKindString, 5).Text("abcde")), 8u);
  EXPECT_EQ(std::string(pointer_.stringData, 6), std::string(6, '\0'));
  EXPECT_EQ(pointer_.count, 5u);
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_EQ(Decode(Bytes().String("abcde").Cut(2)), 8u);
  EXPECT_EQ(std::string(pointer_.stringData, 6), std::string(6, '\0'));
  EXPECT_EQ(pointer_.count, 5u);
  EXPECT_THAT(log_.Lines(), ElementsAre(kCut));
}

TEST_F(PointerDataTest, AStringArrayHoldsEveryKindOfEntry) {
  const Bytes entries = Bytes()
                            .U32(0x6)
                            .U32(5)
                            .String("first")
                            .Null()
                            .String("at", 0xC0)
                            .Unrecorded(PointerKindString, 3);
  EXPECT_EQ(Decode(Bytes().Append(entries).String("").U32(1)), entries.Size() + 8);
  EXPECT_EQ(pointer_.count, 5u);
  EXPECT_EQ(pointer_.elementSize, 0u);
  EXPECT_EQ(pointer_.data, pointer_.strings);
  char* const* strings = pointer_.strings;
  EXPECT_STREQ(strings[0], "first");
  EXPECT_EQ(strings[1], nullptr);
  EXPECT_STREQ(strings[2], "at");
  EXPECT_STREQ(strings[3], "");
  EXPECT_STREQ(strings[4], "");
  EXPECT_THAT(std::vector(pointer_.stringLengths, pointer_.stringLengths + 5),
              ElementsAre(5, 0, 2, 3, 0));
  EXPECT_THAT(std::vector(pointer_.stringFlags, pointer_.stringFlags + 5),
              ElementsAre(4, 0, 12, 0x14, 4));
  EXPECT_THAT(std::vector(pointer_.stringPointerValues, pointer_.stringPointerValues + 5),
              ElementsAre(0, 0, 0xC0, 0, 0));
}

TEST_F(PointerDataTest, EntriesBeyondTheEndAreNullAndAnEmptyStringArrayHasNoBuffers) {
  EXPECT_EQ(Decode(Bytes().U32(0x6).U32(4).String("ab").U32(4).U16(7)), 22u);
  EXPECT_STREQ(pointer_.strings[0], "ab");
  EXPECT_STREQ(pointer_.strings[1], "");
  EXPECT_EQ(pointer_.strings[2], nullptr);
  EXPECT_EQ(pointer_.strings[3], nullptr);
  EXPECT_THAT(log_.Lines(), ElementsAre(kCut, kCut, kCut));
  EXPECT_EQ(Decode(Bytes().Strings({})), 8u);
  EXPECT_EQ(pointer_.strings, nullptr);
  EXPECT_EQ(pointer_.stringFlags, nullptr);
}

TEST_F(PointerDataTest, DecodingAgainFreesWhatWasHeldAndClearKeepsTheElementSize) {
  Decode(Bytes().Array<uint64_t>({1}, 0x20), 8);
  Decode(Bytes().Strings({"a", "b"}, 0x10));
  EXPECT_EQ(pointer_.elementSize, 0u);
  Decode(Bytes().String("x"));
  EXPECT_EQ(pointer_.strings, nullptr);
  EXPECT_EQ(pointer_.pointerValue, 0u);
  Decode(Bytes().Array<uint64_t>({1}, 0x20), 8);
  pointer_.Clear();
  ExpectEmpty();
  EXPECT_EQ(pointer_.elementSize, 8u);
}

// Sizes that are claimed only: what is too much, and the largest that is not.
TEST_F(PointerDataTest, ClaimedSizesAreLimited) {
  constexpr auto kMax = static_cast<uint32_t>(kMaxClaimedBytes / 4);
  constexpr uint32_t kAll = std::numeric_limits<uint32_t>::max();
  const Bytes tooMuch[] = {
      Bytes().U32(0x2).U32(kMax + 1),                  // array that is cut
      Bytes().U32(0x2).U32(kAll).U32(1),               //
      Bytes().Unrecorded(PointerKindArray, kMax + 1),  //
      Bytes().U32(0x6).U32(12),                        // more strings than the payload has bytes
      Bytes().U32(0x6).U32(kAll),                      //
      // Together, though not each alone.
      Bytes().U32(0x6).U32(2).Unrecorded(0x4, kAll).Unrecorded(0x4, 2),
  };
  for (const Bytes& block : tooMuch) {
    EXPECT_THROW(Decode(block), std::bad_alloc);
    EXPECT_FALSE(pointer_.decoded);
    EXPECT_EQ(pointer_.data, nullptr);
  }
  // Its size wraps to 0 in 32 bits, and length + 1 does.
  for (const Bytes& block :
       {Bytes().Unrecorded(PointerKindArray, kMax), Bytes().Unrecorded(PointerKindString, kAll),
        Bytes().U32(0x4).U32(kAll), Bytes().U32(0x2).U32(kMax)}) {
    EXPECT_EQ(Decode(block), 8u);
    EXPECT_TRUE(pointer_.IsClaimed());
  }
  EXPECT_EQ(Decode(Bytes().U32(0x6).U32(11)), 8u);
  EXPECT_THAT(std::vector(pointer_.strings, pointer_.strings + 11), Each(nullptr));
}

TEST_F(PointerDataTest, AnObjectWhoseDecodeThrewServesAgain) {
  EXPECT_THROW(
      Decode(Bytes().U32(0xE).U64(5).U32(3).String("a").Unrecorded(0x4, 0xFFFFFFFF).U32(4).U32(9)),
      std::bad_alloc);
  EXPECT_EQ(Decode(Bytes().Null()), 4u);
  EXPECT_TRUE(pointer_.decoded);
  EXPECT_EQ(pointer_.strings, nullptr);
  EXPECT_EQ(pointer_.pointerValue, 0u);
  EXPECT_EQ(pointer_.count, 0u);
}

TEST_F(PointerDataTest, AnArrayGrowsAndKeepsItsElements) {
  Decode(Bytes().Array<uint32_t>({1, 2, 3}));
  EXPECT_EQ(pointer_.ResizeArray(0), 6u);
  EXPECT_EQ(pointer_.ResizeString(4), 1u);
  const void* before = pointer_.data;
  EXPECT_EQ(pointer_.ResizeArray(2), 0u);
  EXPECT_EQ(pointer_.ResizeArray(3), 0u);
  EXPECT_EQ(pointer_.count, 3u);
  EXPECT_EQ(pointer_.data, before);
  EXPECT_EQ(pointer_.ResizeArray(500), 0u);
  EXPECT_EQ(pointer_.count, 500u);
  EXPECT_EQ(pointer_.data, pointer_.arrayData);
  pointer_.arrayData[1999] = 1;
  pointer_.count = 3;
  EXPECT_THAT(Elements<uint32_t>(), ElementsAre(1, 2, 3));
  const AllocationMeter meter(1 << 20);
  EXPECT_THROW(pointer_.ResizeArray(0x40000001), std::bad_alloc);
  EXPECT_THAT(Elements<uint32_t>(), ElementsAre(1, 2, 3));
}

TEST_F(PointerDataTest, AProgramMayAskForMoreThanAFileMay) {
  Decode(Bytes().Array<uint8_t>({1, 2}), 1);
  EXPECT_EQ(pointer_.ResizeArray(320 << 20), 0u);
  EXPECT_EQ(pointer_.arrayData[1], 2);
  Decode(Bytes().Unrecorded(PointerKindArray, 300 << 20), 1);
  EXPECT_TRUE(pointer_.IsClaimed());
}

TEST_F(PointerDataTest, WhatIsWrittenIntoClaimedContentStaysWhenThatGrows) {
  Decode(Bytes().U32(PointerKindArray).U32(3));
  std::memset(pointer_.arrayData, 1, 12);
  EXPECT_EQ(pointer_.ResizeArray(4096), 0u);
  EXPECT_FALSE(pointer_.IsClaimed());
  pointer_.count = 3;
  EXPECT_THAT(Elements<uint32_t>(), Each(0x01010101));
  Decode(Bytes().U32(PointerKindString).U32(3));
  std::memcpy(pointer_.stringData, "abc", 3);
  EXPECT_EQ(pointer_.ResizeString(5), 0u);
  EXPECT_FALSE(pointer_.IsClaimed());
  EXPECT_EQ(std::string(pointer_.stringData, 6), std::string("abc\0\0\0", 6));
}

TEST_F(PointerDataTest, AnArrayWithoutContentGrowsToo) {
  Decode(Bytes().U32(0x22).U32(3));
  EXPECT_EQ(pointer_.ResizeArray(4), 0u);
  std::memset(pointer_.arrayData, 1, 16);
  Decode(Bytes().Unrecorded(PointerKindArray, 3));
  EXPECT_EQ(pointer_.ResizeArray(4), 0u);
  std::memset(pointer_.arrayData, 1, 16);
  EXPECT_THAT(Elements<uint32_t>(), Each(0x01010101));
}

TEST_F(PointerDataTest, AStringGrowsAndKeepsItsCharacters) {
  Decode(Bytes().String("abc"));
  EXPECT_EQ(pointer_.ResizeString(0), 6u);
  EXPECT_EQ(pointer_.ResizeArray(0), 1u);
  EXPECT_EQ(pointer_.ResizeArray(9), 1u);
  EXPECT_EQ(pointer_.ResizeString(3), 0u);
  EXPECT_EQ(pointer_.ResizeString(8), 0u);
  EXPECT_EQ(pointer_.count, 8u);
  EXPECT_EQ(std::string(pointer_.stringData, 9), std::string("abc\0\0\0\0\0\0", 9));
  EXPECT_EQ(pointer_.data, pointer_.stringData);
  Decode(Bytes().Unrecorded(PointerKindString, 3));
  EXPECT_EQ(pointer_.ResizeString(4), 0u);
  EXPECT_EQ(std::string(pointer_.stringData, 5), std::string(5, '\0'));
}

TEST_F(PointerDataTest, WhatIsMarkedAsNotRecordedIsNotKept) {
  Decode(Bytes().String("abc"));
  pointer_.flags |= PointerFlagNoContent;
  EXPECT_EQ(pointer_.ResizeString(4), 0u);
  EXPECT_EQ(std::string(pointer_.stringData, 5), std::string(5, '\0'));
}

TEST_F(PointerDataTest, NeitherNullNorAddressCanBeResized) {
  Decode(Bytes().Address(8));
  EXPECT_EQ(pointer_.ResizeArray(1), 1u);
  EXPECT_EQ(pointer_.ResizeString(0), 1u);
  EXPECT_EQ(pointer_.data, reinterpret_cast<void*>(8));
}

}  // namespace
}  // namespace Data
