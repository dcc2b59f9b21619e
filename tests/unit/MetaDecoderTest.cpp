#include <new>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Limits.h"
#include "Data/MetaDecoder.h"

#include "support/LogCollector.h"
#include "support/PayloadBuilder.h"

namespace Data {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kCutValue[] =
    "1/3 src/Data/MetaDecoder:213 DCAP metadata decoding error: block is too small to contain all "
    "expected data";
constexpr char kCutArray[] =
    "1/3 src/Data/MetaDecoder:241 DCAP metadata decoding error: block is too small to contain all "
    "expected data";
constexpr uint32_t kAll = 0xFFFFFFFF;

// Writes down every call as a line of text: arguments in order, entries in braces, arrays in
// brackets, "-" for null.
class MetaRecorder : public MetaHandler {
 public:
  std::vector<std::string> calls;

  void ProcessThreadChange(uint32_t threadId) override { Add("thread", threadId); }
  void ProcessTextMetadata1(const uint8_t* data, uint32_t size) override {
    Add("text1", Block(data, size));
  }
  void ProcessTextMetadata2(const uint8_t* data, uint32_t size) override {
    Add("text2", Block(data, size));
  }
  void ProcessTextMetadata3(const uint8_t* data, uint32_t size) override {
    Add("text3", Block(data, size));
  }
  void DisplayMessage(const std::string& message) override { Add("message", message); }
  void SetWindowSize(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3) override {
    Add("window", a0, a1, a2, a3);
  }
  void CreateEglImageBuffer(uint32_t a0, uint32_t a1, const EglImageBufferDesc* desc) override {
    Add("create", a0, a1, Image(*desc));
  }
  void SetEglImageContent(uint32_t image, const EglImageBufferDesc* desc) override {
    Add("content", image, Image(*desc));
  }
  void EGLConfigStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values,
                          uint32_t count) override {
    Add("config", a0, a1, count, Words(values, static_cast<int32_t>(count)));
  }
  void EGLSurfaceStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values,
                           uint32_t count) override {
    Add("surface", a0, a1, count, Words(values, static_cast<int32_t>(count)));
  }
  void GLUniformsStateDesc(uint32_t program, uint32_t count, const GLResourceDesc* e) override {
    AddTable("uniforms", program, count, e);
  }
  void GLUniformBlocksStateDesc(uint32_t program, uint32_t count,
                                const GLUniformBlockDesc* e) override {
    AddTable("uniform-blocks", program, count, e);
  }
  void GLAttributesStateDesc(uint32_t program, uint32_t count, const GLResourceDesc* e) override {
    AddTable("attributes", program, count, e);
  }
  void GLAtomicCounterBufferStateDesc(uint32_t program, uint32_t count,
                                      const GLAtomicCounterBufferDesc* e) override {
    AddTable("counters", program, count, e);
  }
  void GLBufferVariablesStateDesc(uint32_t program, uint32_t count,
                                  const GLBufferVariableDesc* e) override {
    AddTable("variables", program, count, e);
  }
  void GLStorageBlocksStateDesc(uint32_t program, uint32_t count,
                                const GLStorageBlockDesc* e) override {
    AddTable("storage-blocks", program, count, e);
  }
  void ProcessRawMetadata(uint32_t subtype, const uint8_t* data, uint32_t size) override {
    Add("raw", subtype, Block(data, size));
  }
  void GLLimitsDesc(uint32_t count, const GLLimitPair* pairs) override {
    std::string all;
    for (uint32_t i = 0; i < count; ++i) all += Join("{", pairs[i].first, pairs[i].second, "}");
    Add("limits", count, all);
  }
  void DefaultColorBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t size, const uint8_t* pixels) override {
    Add("color", a0, a1, a2, a3, a4, a5, size, Block(pixels, size - 28));
  }
  void DefaultDepthBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t size, const uint8_t* pixels) override {
    Add("depth", a0, a1, a2, a3, a4, a5, size, Block(pixels, size - 28));
  }
  void DefaultStencilBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                            uint32_t a5, uint32_t size, const uint8_t* pixels) override {
    Add("stencil", a0, a1, a2, a3, a4, a5, size, Block(pixels, size - 28));
  }
  void MultiSampleTexture(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t a6, uint32_t a7, int32_t a8, int32_t length,
                          const uint8_t* data) override {
    Add("texture", a0, a1, a2, a3, a4, a5, a6, a7, a8, length,
        Block(data, static_cast<uint64_t>(length)));
  }

 private:
  template <typename... Parts>
  static std::string Join(const Parts&... parts) {
    std::ostringstream out;
    const char* separator = "";
    ((out << separator << parts, separator = " "), ...);
    return out.str();
  }
  template <typename... Parts>
  void Add(const Parts&... parts) {
    calls.push_back(Join(parts...));
  }
  template <typename Entry>
  void AddTable(const char* name, uint32_t program, uint32_t count, const Entry* entries) {
    std::string all = entries == nullptr ? "-" : "";
    for (uint32_t i = 0; i < count; ++i) all += "{" + Show(entries[i]) + "}";
    Add(name, program, count, all);
  }

  static std::string Block(const uint8_t* data, uint64_t size) {
    return data == nullptr ? "-" : std::string(data, data + size);
  }
  static std::string Words(const uint32_t* words, int32_t count) {
    if (words == nullptr) return "-";
    std::string all = "[";
    for (int32_t i = 0; i < count; ++i) all += std::to_string(LoadWord(words, i)) + " ";
    return all + "]";
  }
  static std::string Name(int32_t length, const char* name) {
    return Join(length, name == nullptr ? "-" : name);
  }
  static std::string Image(const EglImageBufferDesc& d) {
    std::string planes = d.planes == nullptr ? "-" : "";
    for (uint32_t i = 0; i < d.planeCount; ++i) {
      const EglImagePlane& p = d.planes[i];
      planes += "{" + Join(p.p0, p.size, p.p1, Block(p.data, p.size)) + "}";
    }
    return Join(d.f0, d.f1, d.f2, d.f3, d.planeCount, planes);
  }
  static std::string Show(const GLResourceDesc& e) {
    return Join(e.e0, e.e1, e.e2, e.e3, Name(e.nameLength, e.name));
  }
  static std::string Show(const GLUniformBlockDesc& e) {
    std::string arrays;
    for (const uint32_t* array : e.arrays) arrays += Words(array, e.arrayLength);
    return Join(e.e0, e.e1, Name(e.nameLength, e.name), e.e3, e.e4, e.e5, e.e6, e.arrayLength,
                arrays);
  }
  static std::string Show(const GLAtomicCounterBufferDesc& e) {
    return Join(e.e0, e.e1, e.e2, e.e3, e.e4, e.e5, e.arrayLength, Words(e.array, e.arrayLength));
  }
  static std::string Show(const GLBufferVariableDesc& e) {
    return Join(e.e0, e.e1, e.e2, e.e3, e.e4, e.e5, e.e6, e.e7, e.e8, e.e9, e.e10, e.e11, e.e12,
                Name(e.nameLength, e.name));
  }
  static std::string Show(const GLStorageBlockDesc& e) {
    return Join(e.e0, Name(e.nameLength, e.name), e.e2, e.e3, e.e4, e.e5, e.e6, e.arrayLength,
                Words(e.array, e.arrayLength));
  }
};

class MetaDecoderTest : public testing::Test {
 protected:
  MetaDecoderTest() {
    decoder_.AddHandler(&handler_);
    decoder_.AddHandler(&deaf_);
  }

  // The calls that one record makes.
  std::vector<std::string> Decode(uint32_t type, uint32_t subtype, const Bytes& payload) {
    handler_.calls.clear();
    decoder_.ProcessMetadata(type, subtype, payload.Data(), payload.Size());
    return handler_.calls;
  }
  std::vector<std::string> Command(uint32_t subtype, const Bytes& payload) {
    return Decode(kMetadataCommand, subtype, payload);
  }
  std::vector<std::string> State(uint32_t subtype, const Bytes& payload) {
    return Decode(kMetadataStateDescription, subtype, payload);
  }

  MetaRecorder handler_;
  struct : MetaHandler {
  } deaf_;  // overrides nothing
  MetaDecoder decoder_;
  LogCollector log_;
};

TEST_F(MetaDecoderTest, TextAndRawPayloadsArePassedOnWhole) {
  EXPECT_THAT(Decode(1, 1, Bytes().Text("one")), ElementsAre("text1 one"));
  EXPECT_THAT(Decode(1, 2, Bytes().Text("two")), ElementsAre("text2 two"));
  EXPECT_THAT(Decode(1, 3, Bytes().Text("three")), ElementsAre("text3 three"));
  EXPECT_THAT(Decode(4, 77, Bytes().Text("raw")), ElementsAre("raw 77 raw"));
}

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
}

TEST_F(MetaDecoderTest, RecordsHaveTheNamesOfTheirOperations) {
  EXPECT_STREQ(MetadataRecordName(2, 7), "CreateEglImageBuffer");
  EXPECT_STREQ(MetadataRecordName(3, 9), "GLStorageBlocksStateDesc");
  EXPECT_STREQ(MetadataRecordName(4, 12345), "ProcessRawMetadata");
  EXPECT_EQ(MetadataRecordName(2, 9), nullptr);
}

TEST_F(MetaDecoderTest, AMessageEndsAtItsFirstNul) {
  EXPECT_THAT(Command(1, Bytes().U32(5).Text("hello")), ElementsAre("message hello"));
  EXPECT_THAT(Command(1, Bytes().U32(5).Text("he").U8(0).Text("lo")), ElementsAre("message he"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_THAT(Command(1, Bytes().U32(6).Text("hello")), ElementsAre("message "));
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
}

TEST_F(MetaDecoderTest, AWindowSizeKeepsDefaultsForWhatIsMissing) {
  EXPECT_THAT(Command(2, Bytes().U32s({1, 2, 640, 480})), ElementsAre("window 1 2 640 480"));
  EXPECT_THAT(Command(2, Bytes().U32s({1, 2})), ElementsAre("window 1 2 0 0"));
  EXPECT_THAT(Command(2, Bytes()), ElementsAre("window 4294967295 4294967295 0 0"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
  EXPECT_THAT(Command(2, Bytes().U32s({1, 2}).U16(3)), ElementsAre("window 1 2 0 0"));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue, kCutValue));
}

TEST_F(MetaDecoderTest, AnImageBufferIsCreatedWithoutPlanes) {
  EXPECT_THAT(Command(7, Bytes().U32s({1, 2, 3, 4, 5, 6, 7})),
              ElementsAre("create 1 2 3 4 5 6 0 -"));
  EXPECT_THAT(Command(7, Bytes().U32s({1, 2, 3})), ElementsAre("create 1 2 3 0 0 0 0 -"));
}

TEST_F(MetaDecoderTest, ImagePlanesPointToTheirBytes) {
  const Bytes head = Bytes().U32s({9, 1, 2, 3, 4});
  EXPECT_THAT(Command(3, Bytes().Append(head).U32(0)), ElementsAre("content 9 1 2 3 4 0 -"));
  EXPECT_THAT(
      Command(3, Bytes().Append(head).U32(2).U32(5).U64(3).U64(6).Text("abc").U32(7).U64(0).U64(8)),
      ElementsAre("content 9 1 2 3 4 2 {5 3 6 abc}{7 0 8 }"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(MetaDecoderTest, APlaneLargerThanThePayloadIsNullAndTheNextFollowsAtOnce) {
  for (uint64_t size : {uint64_t{25}, uint64_t{1} << 32, ~uint64_t{0}}) {
    const Bytes payload =
        Bytes().U32s({9, 1, 2, 3, 4, 2}).U32(5).U64(size).U64(6).U32(7).U64(4).U64(8).Text("next");
    EXPECT_THAT(Command(3, payload), ElementsAre("content 9 1 2 3 4 2 {5 " + std::to_string(size) +
                                                 " 6 -}{7 4 8 next}"));
  }
}

TEST_F(MetaDecoderTest, DefaultBuffersReceiveTheSizeOfTheRecord) {
  const Bytes payload = Bytes().U32s({1, 2, 3, 4, 5, 6, 16}).Text("0123456789abcdef");
  EXPECT_THAT(Command(4, payload), ElementsAre("color 1 2 3 4 5 6 44 0123456789abcdef"));
  EXPECT_THAT(Command(5, payload), ElementsAre("depth 1 2 3 4 5 6 44 0123456789abcdef"));
  EXPECT_THAT(Command(6, payload), ElementsAre("stencil 1 2 3 4 5 6 44 0123456789abcdef"));
  EXPECT_THAT(Command(4, Bytes().Append(payload).Cut(1)), ElementsAre("color 1 2 3 4 5 6 43 -"));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutArray));
  EXPECT_THAT(Command(4, Bytes().U32s({1, 2, 3, 4, 5, 6, 0})), IsEmpty());
  EXPECT_THAT(Command(4, Bytes()), IsEmpty());
}

TEST_F(MetaDecoderTest, AMultisampleTextureReceivesItsLength) {
  const Bytes payload = Bytes().U32s({1, 2, 3, 4, 5, 6, 7, 8}).I32(-9).U32(3).Text("abcd");
  EXPECT_THAT(Command(8, payload), ElementsAre("texture 1 2 3 4 5 6 7 8 -9 3 abc"));
  EXPECT_THAT(Command(8, Bytes().Append(payload).Cut(2)),
              ElementsAre("texture 1 2 3 4 5 6 7 8 -9 3 -"));
  EXPECT_THAT(Command(8, Bytes().Append(payload).Cut(8)), IsEmpty());
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutArray));
}

TEST_F(MetaDecoderTest, AttributeValuesAreReadAllOrNone) {
  const Bytes payload = Bytes().U32s({1, 2, 3, 10, 20, 30});
  EXPECT_THAT(State(1, payload), ElementsAre("config 1 2 3 [10 20 30 ]"));
  EXPECT_THAT(State(2, payload), ElementsAre("surface 1 2 3 [10 20 30 ]"));
  EXPECT_THAT(State(2, Bytes().U32s({1, 2, 0})), ElementsAre("surface 1 2 0 -"));
  EXPECT_THAT(State(1, Bytes()), ElementsAre("config 4294967295 4294967295 0 -"));
  EXPECT_THAT(State(1, Bytes().Append(payload).Cut(4)), ElementsAre("config 1 2 3 [0 0 0 ]"));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue));
}

TEST_F(MetaDecoderTest, UniformsAndAttributesAreReadEntryByEntry) {
  const Bytes payload = Bytes().U32s({7, 2, 1, 2, 3, 4, 0}).U32s({5, 6, 7, 8, 4}).Text("name");
  EXPECT_THAT(State(3, payload), ElementsAre("uniforms 7 2 {1 2 3 4 0 -}{5 6 7 8 4 name}"));
  EXPECT_THAT(State(5, payload), ElementsAre("attributes 7 2 {1 2 3 4 0 -}{5 6 7 8 4 name}"));
  EXPECT_THAT(State(3, Bytes()), ElementsAre("uniforms 4294967295 0 -"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(MetaDecoderTest, WhatAnEntryLacksIsZero) {
  const Bytes payload = Bytes().U32s({7, 3, 1, 2, 3, 4, 5}).Text("name");
  EXPECT_THAT(State(3, payload),
              ElementsAre("uniforms 7 3 {1 2 3 4 5 }{" + std::to_string(0x656D616E) +
                          " 0 0 0 0 -}{0 0 0 0 0 -}"));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue));
  EXPECT_THAT(State(3, Bytes().U32s({7, 1, 1, 2, 3, 4}).I32(-1).Text("name")),
              ElementsAre("uniforms 7 1 {1 2 3 4 -1 -}"));
}

TEST_F(MetaDecoderTest, UniformBlocksHaveEightArrays) {
  Bytes payload;
  payload.U32s({7, 1, 1, 2, 3}).Text("abc").U32s({3, 4, 5, 6, 2});
  for (uint32_t i = 0; i < 8; ++i) payload.U32s({i, 10 + i});
  EXPECT_THAT(State(4, payload),
              ElementsAre("uniform-blocks 7 1 {1 2 3 abc 3 4 5 6 2 "
                          "[0 10 ][1 11 ][2 12 ][3 13 ][4 14 ][5 15 ][6 16 ][7 17 ]}"));
  EXPECT_THAT(State(4, payload.Cut(9)),
              ElementsAre("uniform-blocks 7 1 {1 2 3 abc 3 4 5 6 2 "
                          "[0 10 ][1 11 ][2 12 ][3 13 ][4 14 ][5 15 ]--}"));
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutArray, kCutArray));
}

TEST_F(MetaDecoderTest, CounterBuffersAndStorageBlocksHaveOneArray) {
  EXPECT_THAT(
      State(7, Bytes().U32s({7, 2, 1, 2, 3, 4, 5, 6, 2, 8, 9}).U32s({1, 2, 3, 4, 5, 6, kAll})),
      ElementsAre("counters 7 2 {1 2 3 4 5 6 2 [8 9 ]}{1 2 3 4 5 6 -1 -}"));
  EXPECT_THAT(State(9, Bytes().U32s({7, 1, 1, 2}).Text("xy").U32s({2, 3, 4, 5, 6, 1, 99})),
              ElementsAre("storage-blocks 7 1 {1 2 xy 2 3 4 5 6 1 [99 ]}"));
}

TEST_F(MetaDecoderTest, BufferVariablesHaveThirteenFieldsAndAName) {
  EXPECT_THAT(State(8, Bytes().U32s({7, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 1}).Text("v")),
              ElementsAre("variables 7 1 {0 1 2 3 4 5 6 7 8 9 10 11 12 1 v}"));
}

TEST_F(MetaDecoderTest, LimitsAreDeliveredUnlessThereAreNone) {
  EXPECT_THAT(State(6, Bytes().U32s({2, 1, 2, 3, 4})), ElementsAre("limits 2 { 1 2 }{ 3 4 }"));
  EXPECT_THAT(State(6, Bytes().U32s({2, 1, 2, 3})), ElementsAre("limits 2 { 1 2 }{ 3 0 }"));
  EXPECT_THAT(State(6, Bytes().U32(0)), IsEmpty());
  EXPECT_THAT(State(6, Bytes()), IsEmpty());
}

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

TEST_F(MetaDecoderTest, ClaimedNamesAreLimitedTogether) {
  const Bytes alone = Bytes().U32s({7, 1, 1, 2, 3, 4}).I32(INT32_MAX).U8(0);
  EXPECT_THAT(State(3, alone).size(), 1u);
  Bytes three = Bytes().U32s({7, 3});
  for (int i = 0; i < 3; ++i) three.U32s({1, 2, 3, 4}).I32(INT32_MAX);
  EXPECT_THROW(State(3, three), std::bad_alloc);
}

TEST_F(MetaDecoderTest, ClaimedEntriesAreLimited) {
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
  MetaRecorder other;
  decoder_.AddHandler(&other);
  decoder_.AddHandler(&handler_);
  decoder_.RemoveHandler(&handler_);
  decoder_.RemoveHandler(nullptr);
  for (uint32_t thread : {0u, 5u, 5u, 0u}) decoder_.SetCurrentThreadId(thread);
  EXPECT_THAT(other.calls, ElementsAre("thread 5", "thread 0"));
  EXPECT_THAT(handler_.calls, ElementsAre("thread 5", "thread 0"));
}

TEST_F(MetaDecoderTest, WithoutHandlersRecordsAreStillRead) {
  decoder_.RemoveHandler(&handler_);
  decoder_.RemoveHandler(&deaf_);
  EXPECT_THAT(Command(2, Bytes().U16(1)), IsEmpty());
  EXPECT_THAT(log_.Lines(), ElementsAre(kCutValue, kCutValue, kCutValue, kCutValue));
}

}  // namespace
}  // namespace Data
