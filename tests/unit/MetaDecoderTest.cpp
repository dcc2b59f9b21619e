#include "Data/Limits.h"
#include "Data/MetaDecoder.h"

#include "support/Listing.h"
#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr char kCutValue[] =
    "1/3 src/Data/MetaDecoder:213 DCAP metadata decoding error: block is too small to contain all "
    "expected data";
constexpr char kCutArray[] =
    "1/3 src/Data/MetaDecoder:241 DCAP metadata decoding error: block is too small to contain all "
    "expected data";
constexpr uint32_t kAll = 0xFFFFFFFF;

class MetaDecoderTest : public testing::Test {
 protected:
  MetaDecoderTest() {
    decoder_.AddHandler(&handler_);
    decoder_.AddHandler(&deaf_);
  }

  // The calls that one record makes.
  std::vector<std::string> Decode(uint32_t type, uint32_t subtype, const Bytes& payload) {
    handler_.Take();
    decoder_.ProcessMetadata(type, subtype, payload.Data(), payload.Size());
    return handler_.Take();
  }
  std::vector<std::string> Command(uint32_t subtype, const Bytes& payload) {
    return Decode(kMetadataCommand, subtype, payload);
  }
  std::vector<std::string> State(uint32_t subtype, const Bytes& payload) {
    return Decode(kMetadataStateDescription, subtype, payload);
  }

  Listing handler_;
  struct : MetaHandler {
  } deaf_;  // overrides nothing
  MetaDecoder decoder_;
  LogCollector log_;
};

TEST_F(MetaDecoderTest, UnknownKindsAreLoggedWithSubtypeOrType) {
  EXPECT_THAT(Decode(1, 4, Bytes().U32(0)), IsEmpty());
  EXPECT_THAT(Decode(2, 9, Bytes().U32(0)), IsEmpty());
  EXPECT_THAT(Decode(3, 0, Bytes().U32(0)), IsEmpty());
  EXPECT_THAT(Decode(5, 1, Bytes().U32(0)), IsEmpty());
  EXPECT_THAT(
      log_.Lines(),
      ElementsAre("4/3 src/Data/MetaDecoder:89 Unknown metadata text subtype 4",
                  "4/3 src/Data/MetaDecoder:128 Unknown metadata command subtype 2",
                  "4/3 src/Data/MetaDecoder:171 Unknown metadata state description subtype 3",
                  "4/3 src/Data/MetaDecoder:184 Unknown metadata type 5"));
  EXPECT_STREQ(MetadataRecordName(3, 9), "GLStorageBlocksStateDesc");
  EXPECT_STREQ(MetadataRecordName(4, 12345), "ProcessRawMetadata");
  EXPECT_EQ(MetadataRecordName(2, 9), nullptr);
}

TEST_F(MetaDecoderTest, AMessageEndsAtItsFirstNul) {
  EXPECT_THAT(Command(1, Bytes().U32(5).Text("hello")), ElementsAre("DisplayMessage hello"));
  EXPECT_THAT(Command(1, Bytes().U32(5).Text("he").U8(0).Text("lo")),
              ElementsAre("DisplayMessage he"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_THAT(Command(1, Bytes().U32(6).Text("hello")), ElementsAre("DisplayMessage "));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue));
}

TEST_F(MetaDecoderTest, AnEmptyMessageThrowsOnlyWhenSomebodyListens) {
  try {
    Command(1, Bytes().U32(0));
    FAIL() << "nothing was thrown";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "basic_string::_M_construct null not valid");
  }
  EXPECT_THROW(Command(1, Bytes()), std::logic_error);
  decoder_.RemoveHandler(&handler_);
  decoder_.RemoveHandler(&deaf_);
  EXPECT_NO_THROW(Command(1, Bytes().U32(0)));
  EXPECT_THAT(Command(2, Bytes().U16(1)), IsEmpty());
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue, kCutValue, kCutValue, kCutValue));
}

// ---- Records. The independent reader (tests/e2e) holds every kind, whole and cut, against its
// own.

// ---- Sizes.

TEST_F(MetaDecoderTest, ARecordWithMoreEntriesThanBytesIsDropped) {
  for (uint32_t subtype : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u}) {
    // The count is the third word for EGL attributes, else the second.
    for (uint32_t count : {17u, 0x40000001u, kAll}) {
      EXPECT_THAT(State(subtype, Bytes().U32s({1, subtype < 3 ? 2 : count, count, 0})), IsEmpty());
      EXPECT_THAT(log_.Take(), ElementsAre(kCutValue)) << subtype;
    }
  }
  EXPECT_THAT(State(6, Bytes().U32s({kAll, 1, 2})), IsEmpty());
  EXPECT_THAT(Command(3, Bytes().U32s({1, 2, 3, 4, 5, 25})), IsEmpty());
  EXPECT_THAT(log_.Take(), ElementsAre(kCutValue, kCutValue));
  EXPECT_THAT(State(1, Bytes().U32s({1, 2, 13}).U8(0)).size(), 1u);
}

TEST_F(MetaDecoderTest, ClaimedNamesAreLimitedTogetherAndSoAreEntries) {
  constexpr auto kHalf = static_cast<int32_t>(kMaxUnbackedBytes / 2);
  const Bytes two = Bytes().U32s({7, 2, 1, 2, 3, 4}).I32(kHalf).U32s({1, 2, 3, 4}).I32(kHalf + 1);
  EXPECT_THROW(State(3, two), std::bad_alloc);
  EXPECT_THROW(State(8, Bytes().U32s({7, 1}).Fill(52).I32(INT32_MAX)), std::bad_alloc);
  EXPECT_THROW(Command(1, Bytes().U32(kAll).Text("x")), std::bad_alloc);
  const uint32_t count = static_cast<uint32_t>(kMaxUnbackedBytes / sizeof(GLUniformBlockDesc)) + 1;
  EXPECT_THROW(State(4, Bytes().U32s({7, count}).Fill(count)), std::bad_alloc);
}

TEST_F(MetaDecoderTest, ExtractArrayPointsIntoThePayload) {
  const Bytes payload = Bytes().U32s({1, 2, 3});
  const void* out = &payload;
  EXPECT_EQ(MetaDecoder::ExtractArray(payload.Data(), 12, 4, 4, 2, &out), 8u);
  EXPECT_EQ(out, payload.Data() + 4);
  EXPECT_EQ(MetaDecoder::ExtractArray(payload.Data(), 12, 12, 4, 1, &out), 0u);
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_EQ(MetaDecoder::ExtractArray(payload.Data(), 12, 8, 4, 2, &out), 0u);
  EXPECT_EQ(MetaDecoder::ExtractArray(payload.Data(), 12, 8, 4, 0x40000001, &out), 0u);
  EXPECT_EQ(out, payload.Data() + 4);
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutArray, kCutArray));
}

TEST_F(MetaDecoderTest, HandlersAreCalledInOrderAsOftenAsTheyWereAdded) {
  Listing other;
  decoder_.AddHandler(&other);
  decoder_.AddHandler(&handler_);
  decoder_.RemoveHandler(&handler_);
  decoder_.RemoveHandler(nullptr);
  for (uint32_t thread : {0u, 5u, 5u, 0u}) decoder_.SetCurrentThreadId(thread);
  EXPECT_THAT(other.Take(), ElementsAre("thread 5", "thread 0"));
  EXPECT_THAT(handler_.Take(), ElementsAre("thread 5", "thread 0"));
}

}  // namespace
}  // namespace Data
