#include "Data/Limits.h"
#include "Data/PointerData.h"

#include "support/AllocationMeter.h"
#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr char kCut[] =
    "1/3 src/Data/PointerData:271 DCAP API call block parameter decoding error: block is too small "
    "to contain all expected parameter data";

constexpr char kDefaultBuffer[] =
    "2/3 src/Data/PointerData:395 Allocating default buffer of size 512 for array parameter of "
    "unknown size.";
constexpr char kNoData[] =
    "4/3 src/Data/PointerData:106 PointerData::Decode processed a buffer that contained no pointer "
    "related data.";

// Decodes a block that stands behind three foreign bytes, so that nothing is aligned.
class PointerDataTest : public testing::Test {
 protected:
  uint32_t Decode(const Bytes& block, uint32_t elementSize = 4) {
    const Bytes payload = Bytes().Fill(3, 0xFF).Append(block);
    return pointer_.Decode(payload.Data(), payload.Size(), 3, elementSize);
  }

  // How many bytes of a block are read, what they make, and what is logged.
  void Expect(const Bytes& block, uint32_t read, const std::string& shown,
              const std::vector<std::string>& logged = {}, uint32_t elementSize = 4) {
    EXPECT_EQ(Decode(block, elementSize), read) << shown;
    EXPECT_TRUE(pointer_.decoded) << shown;
    EXPECT_EQ(Shown(), shown);
    EXPECT_EQ(log_.Take(), logged) << shown;
  }

  // "null" or "at ADDRESS", else elements (not all zeros) or strings; before that how many and how
  // large they are.
  std::string Shown() const {
    std::ostringstream out;
    out << std::hex << pointer_.count << "x" << pointer_.elementSize;
    if (pointer_.pointerValue != 0) out << " at " << pointer_.pointerValue;
    if (pointer_.data == nullptr) {
      out << " null";
    } else if (pointer_.data == pointer_.arrayData) {
      for (uint32_t i = 0; i < pointer_.count; ++i) {
        uint64_t element = 0;
        std::memcpy(&element, pointer_.arrayData + size_t{i} * pointer_.elementSize,
                    pointer_.elementSize);
        if (i < 8 || element != 0) out << " " << element;
      }
    } else if (pointer_.data == pointer_.stringData) {
      out << " " << std::string(pointer_.stringData, pointer_.count);
      EXPECT_EQ(pointer_.stringData[pointer_.count], '\0');
    } else if (pointer_.data == pointer_.strings) {
      for (uint32_t i = 0; i < pointer_.count; ++i) {
        out << " " << pointer_.stringFlags[i] << ":" << pointer_.stringPointerValues[i] << ":"
            << pointer_.stringLengths[i] << ":"
            << (pointer_.strings[i] == nullptr ? "null" : pointer_.strings[i]);
      }
    } else {
      EXPECT_EQ(reinterpret_cast<uint64_t>(pointer_.data), pointer_.pointerValue);
    }
    return out.str();
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

TEST_F(PointerDataTest, StartsEmptyStaysSoForAnEmptyPayloadAndIsClearedToIt) {
  ExpectEmpty();
  EXPECT_EQ(pointer_.elementSize, 0u);
  const uint8_t byte = 2;
  EXPECT_EQ(pointer_.Decode(nullptr, 8, 0, 4), 0u);
  EXPECT_EQ(pointer_.Decode(&byte, 0, 0, 4), 0u);
  ExpectEmpty();
  Expect(Bytes().Array<uint64_t>({1}, 0x20), 24, "1x8 at 20 1", {}, 8);
  pointer_.Clear();
  ExpectEmpty();
  EXPECT_EQ(pointer_.elementSize, 8u) << "kept on purpose";
}

TEST_F(PointerDataTest, ANullPointerTakesItsFlagsWordAloneAndAnAddressIsTheData) {
  Expect(Bytes().Null().U32(7), 4, "0x0 null");
  Expect(Bytes(), 0, "0x0 null");
  Expect(Bytes().U16(2), 0, "0x0 null", {kCut});
  Expect(Bytes().U32(0x10), 4, "0x0 null", {kNoData});
  Expect(Bytes().Address(0x123456789ABC), 12, "0x0 at 123456789abc");
  Expect(Bytes().U32(0x8 | 0x30 | 0x100).U64(0x40), 12, "0x0 at 40");
}

TEST_F(PointerDataTest, ASingleValueIsCopiedOrZero) {
  Expect(Bytes().Value<uint64_t>(77, 0xA0), 20, "1x8 at a0 4d", {}, 8);
  Expect(Bytes().U32(0x1).U16(9), 4, "1x4 0", {kCut});
  Expect(Bytes().U32(0x11).U32(9), 4, "1x4 0");
  Expect(Bytes().U32(0x1).U32(9), 4, "1x0 null", {}, 0);
}

TEST_F(PointerDataTest, AnArrayIsCopiedWholeOrZero) {
  Expect(Bytes().Array<float>({1.5f, -2.0f}, 0xBEEF).U32(9), 24, "2x4 at beef 3fc00000 c0000000");
  EXPECT_EQ(pointer_.flags, 0xAu);
  Expect(Bytes().Array<uint32_t>({1, 2, 3}).Cut(1), 8, "3x4 0 0 0", {kCut});
  Expect(Bytes().U32(0x2).U32(3), 8, "3x4 0 0 0");
  Expect(Bytes().Unrecorded(PointerKindArray, 6).Fill(24, 1), 8, "6x4 0 0 0 0 0 0");
  Expect(Bytes().U32(0x22).U32(7).U32(1), 8, "7x4 null");  // only the size
  Expect(Bytes().Array<uint32_t>({1}), 8, "1x0 null", {}, 0);
  // Of unknown size.
  Expect(Bytes().U32(0x2).U32(0).U32(99), 8, "200x4 0 0 0 0 0 0 0 0", {kDefaultBuffer});
  Expect(Bytes().U32(0x2).U16(1), 4, "200x4 0 0 0 0 0 0 0 0", {kCut, kDefaultBuffer});
  Expect(Bytes().U32(0x22).U32(0), 8, "200x4 null", {kDefaultBuffer});
}

TEST_F(PointerDataTest, AStringIsCopiedAndTerminatedOrEmptyAndKeepsItsLength) {
  Expect(Bytes().String("void main").U32(1), 17, "9x1 void main");
  Expect(Bytes().String(""), 8, "0x1 ");
  const std::string zeros = "5x1 " + std::string(5, '\0');
  Expect(Bytes().Unrecorded(PointerKindString, 5).Text("abcde"), 8, zeros);
  Expect(Bytes().String("abcde").Cut(2), 8, zeros, {kCut});
}

TEST_F(PointerDataTest, AStringArrayHoldsEveryKindOfEntry) {
  Bytes entries = Bytes().U32(0x6).U32(5).String("first").Null().String("at", 0xC0);
  entries.Unrecorded(PointerKindString, 3).String("");
  Expect(Bytes(entries).U32(1), entries.Size(),
         "5x0 4:0:5:first 0:0:0:null c:c0:2:at 14:0:3: 4:0:0:");
  Expect(Bytes().U32(0x6).U32(4).String("ab").U32(4).U16(7), 22,
         "4x0 4:0:2:ab 4:0:0: 0:0:0:null 0:0:0:null", {kCut, kCut, kCut});
  Expect(Bytes().Strings({}), 8, "0x0 null");
  EXPECT_EQ(pointer_.strings, nullptr);
  EXPECT_EQ(pointer_.stringFlags, nullptr);
  Expect(Bytes().Strings({"a", "b"}, 0x10), 34, "2x0 at 10 4:0:1:a 4:0:1:b");
  Expect(Bytes().String("x"), 9, "1x1 x");
  EXPECT_EQ(pointer_.strings, nullptr);
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

// Sizes that are claimed only: what is too much, and the largest that is not.
TEST_F(PointerDataTest, ClaimedSizesAreLimited) {
  constexpr auto kMax = static_cast<uint32_t>(kMaxClaimedBytes / 4);
  constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();
  const Bytes tooMuch[] = {
      Bytes().U32(0x2).U32(kMax + 1),                  // array that is cut
      Bytes().U32(0x2).U32(kLargest).U32(1),           //
      Bytes().Unrecorded(PointerKindArray, kMax + 1),  //
      Bytes().U32(0x6).U32(12),                        // more strings than the payload has bytes
      Bytes().U32(0x6).U32(kLargest),                  //
      // Together, though not each alone.
      Bytes().U32(0x6).U32(2).Unrecorded(0x4, kLargest).Unrecorded(0x4, 2),
  };
  for (const Bytes& block : tooMuch) {
    EXPECT_THROW(Decode(block), std::bad_alloc);
    EXPECT_FALSE(pointer_.decoded);
    EXPECT_EQ(pointer_.data, nullptr);
  }
  // Its size wraps to 0 in 32 bits, and length + 1 does.
  for (const Bytes& block :
       {Bytes().Unrecorded(PointerKindArray, kMax), Bytes().Unrecorded(PointerKindString, kLargest),
        Bytes().U32(0x4).U32(kLargest), Bytes().U32(0x2).U32(kMax)}) {
    EXPECT_EQ(Decode(block), 8u);
    EXPECT_TRUE(pointer_.IsClaimed());
  }
  EXPECT_EQ(Decode(Bytes().U32(0x6).U32(11)), 8u);
  EXPECT_THAT(std::vector(pointer_.strings, pointer_.strings + 11), testing::Each(nullptr));
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
  EXPECT_EQ(pointer_.data, before);
  EXPECT_EQ(Shown(), "3x4 1 2 3");
  EXPECT_EQ(pointer_.ResizeArray(500), 0u);
  EXPECT_EQ(pointer_.count, 500u);
  pointer_.arrayData[1999] = 1;
  pointer_.count = 3;
  EXPECT_EQ(Shown(), "3x4 1 2 3");
  for (const Bytes& without : {Bytes().U32(0x22).U32(3), Bytes().Unrecorded(0x2, 3)}) {
    Decode(without);
    EXPECT_EQ(pointer_.ResizeArray(4), 0u);
    std::memset(pointer_.arrayData, 1, 16);
    EXPECT_EQ(Shown(), "4x4 1010101 1010101 1010101 1010101");
  }
}

TEST_F(PointerDataTest, AnArrayThatIsNotGrantedMoreStaysAsItIs) {
  Decode(Bytes().Array<uint32_t>({1, 2, 3}));
  const AllocationMeter meter(1 << 20);
  EXPECT_THROW(pointer_.ResizeArray(0x40000001), std::bad_alloc);
  EXPECT_EQ(Shown(), "3x4 1 2 3");
}

TEST_F(PointerDataTest, AProgramMayAskForMoreThanAFileMay) {
  Decode(Bytes().Array<uint8_t>({1, 2}), 1);
  EXPECT_EQ(pointer_.ResizeArray(320 << 20), 0u);
  EXPECT_EQ(pointer_.arrayData[1], 2);
  Decode(Bytes().Unrecorded(PointerKindArray, 300 << 20), 1);
  EXPECT_TRUE(pointer_.IsClaimed());
}

TEST_F(PointerDataTest, ClaimedContentThatWasWrittenStaysWhenItGrows) {
  Decode(Bytes().U32(PointerKindArray).U32(3));
  std::memset(pointer_.arrayData, 1, 12);
  EXPECT_EQ(pointer_.ResizeArray(4096), 0u);
  EXPECT_FALSE(pointer_.IsClaimed());
  pointer_.count = 3;
  EXPECT_EQ(Shown(), "3x4 1010101 1010101 1010101");
  Decode(Bytes().U32(PointerKindString).U32(3));
  std::memcpy(pointer_.stringData, "abc", 3);
  EXPECT_EQ(pointer_.ResizeString(5), 0u);
  EXPECT_FALSE(pointer_.IsClaimed());
  EXPECT_EQ(Shown(), "5x1 abc" + std::string(2, '\0'));
}

TEST_F(PointerDataTest, AStringGrowsAndKeepsItsCharactersUnlessMarkedAsNotRecorded) {
  Decode(Bytes().String("abc"));
  EXPECT_EQ(pointer_.ResizeString(0), 6u);
  EXPECT_EQ(pointer_.ResizeArray(0), 1u);
  EXPECT_EQ(pointer_.ResizeArray(9), 1u);
  EXPECT_EQ(pointer_.ResizeString(3), 0u);
  EXPECT_EQ(pointer_.ResizeString(8), 0u);
  EXPECT_EQ(Shown(), "8x1 abc" + std::string(5, '\0'));
  const std::string zeros = "4x1 " + std::string(4, '\0');
  Decode(Bytes().Unrecorded(PointerKindString, 3));
  EXPECT_EQ(pointer_.ResizeString(4), 0u);
  EXPECT_EQ(Shown(), zeros);
  Decode(Bytes().String("abc"));
  pointer_.flags |= PointerFlagNoContent;
  EXPECT_EQ(pointer_.ResizeString(4), 0u);
  EXPECT_EQ(Shown(), zeros);
}

TEST_F(PointerDataTest, NeitherNullNorAddressCanBeResized) {
  Decode(Bytes().Address(8));
  EXPECT_EQ(pointer_.ResizeArray(1), 1u);
  EXPECT_EQ(pointer_.ResizeString(0), 1u);
  EXPECT_EQ(Shown(), "0x0 at 8");
}

}  // namespace
}  // namespace Data
