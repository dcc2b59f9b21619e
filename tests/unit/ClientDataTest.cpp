// Client memory: vertex arrays of draw calls and mapped buffer ranges.
#include "Data/GLDecoder.h"
#include "Data/Limits.h"

#include "support/AllocationMeter.h"
#include "support/Listing.h"
#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr uint32_t kPointer = 0x908C;
constexpr uint32_t kIPointer = 0x90B5;
constexpr char kDraw[] = "glDrawArrays 4 0 3";

class ClientDataTest : public testing::Test {
 protected:
  ClientDataTest() { decoder_.AddAdapter(listing_.AsGLAdapter()); }

  static Bytes Draw(uint32_t records) { return Bytes().U32(4).U32(0).U32(3).U32(records); }

  // A vertex attribute record up to its pointer flags.
  static Bytes Record(uint32_t function, uint32_t index, uint32_t dataOffset, uint32_t flags) {
    Bytes record = Bytes().U32(function).U32(index).U32(2).U32(5126);
    if (function == kPointer) record.U32(1);
    return record.U32(8).U32(dataOffset).U32(flags);
  }
  // Of an attribute with an index and so many bytes "a".
  static Bytes A(uint32_t index, uint32_t size = 1) {
    return Record(kPointer, index, 0, 2).U32(size).Fill(size, 'a');
  }

  std::vector<std::string> Decode(const Bytes& payload,
                                  ApiCallType id = ApiCallType::glDrawArrays) {
    listing_.Take();
    decoder_.ProcessFunctionCall(id, payload.Data(), payload.Size());
    return listing_.Take();
  }

  GLDecoder decoder_;
  Listing listing_;
  LogCollector log_;
};

TEST_F(ClientDataTest, VertexArraysComeBeforeTheirDrawAndStayValidUntilItEnds) {
  const Bytes payload = Draw(3)
                            .Append(Record(kPointer, 0, 0, 2).U32(4).Text("abcd"))
                            .Append(Record(kIPointer, 1, 16, 2 | 8).U64(0xDEAD).U32(3).Text("xyz"))
                            .Append(Record(kPointer, 2, 0, 2).U32(0));
  EXPECT_THAT(Decode(payload), ElementsAre("VertexAttribPointerData 0 2 5126 1 8 abcd 4 0",
                                           "VertexAttribIPointerData 1 2 5126 8 xyz 3 16",
                                           "VertexAttribPointerData 2 2 5126 1 8 - 0 0", kDraw));
}

TEST_F(ClientDataTest, ARecordWithoutDataEndsAfterItsFlags) {
  const Bytes records = Record(kIPointer, 1, 0, 0).Append(Record(kPointer, 1, 0, 0));
  EXPECT_EQ(records.Size(), 28u + 32u);
  EXPECT_EQ(decoder_.ProcessVertexAttribArrayData(2, records.Data(), records.Size(), 0), 60u);
  EXPECT_THAT(Decode(Draw(2).Append(records)), ElementsAre(kDraw));
  EXPECT_EQ(decoder_.ProcessDrawArraysData(Bytes().U32(0).Data(), 4, 0), 4u);
  EXPECT_EQ(decoder_.ProcessDrawElementsData(Bytes().U16(0).Data(), 2, 0), 0u);
}

TEST_F(ClientDataTest, ElementDrawsPutTheirVertexArraysLast) {
  Bytes draw = Bytes().U32(4).U32(6).U32(5123).Array<uint16_t>({}).Cut(4).U32(2).U8(7).U8(8);
  EXPECT_THAT(Decode(draw.U32(9).U32(10).U32(1).Append(A(0)),
                     ApiCallType::glDrawElementsInstancedBaseVertex),
              ElementsAre("VertexAttribPointerData 0 2 5126 1 8 a 1 0",
                          "glDrawElementsInstancedBaseVertex 4 6 5123 1x2 9 10"));
}

TEST_F(ClientDataTest, AnUnknownFunctionIsLoggedOncePerAdapterAndItsBytesAreSkipped) {
  Listing second;
  decoder_.AddAdapter(second.AsGLAdapter());
  EXPECT_THAT(Decode(Draw(2).Append(Record(0x9000, 0, 0, 2).U32(2).Text("?!")).Append(A(1))),
              ElementsAre("VertexAttribPointerData 1 2 5126 1 8 a 1 0", kDraw));
  EXPECT_THAT(log_.Lines(), testing::Each(HasSubstr("4/3 src/Data/GLDecoder:1648 GL decoder "
                                                    "encountered an unrecognized function ID")));
  EXPECT_EQ(log_.Lines().size(), 2u);
}

TEST_F(ClientDataTest, WhatThePayloadLacksIsZeroOrRepeatsTheRecordBefore) {
  EXPECT_THAT(
      Decode(Draw(1).Append(Record(kPointer, 0, 0, 2).U32(4).Text("ab"))),
      ElementsAre("VertexAttribPointerData 0 2 5126 1 8 " + std::string(4, '\0') + " 4 0", kDraw));
  EXPECT_EQ(log_.Lines().size(), 1u);
  const std::string start = "VertexAttribPointerData 5 2 5126 1 8 ";
  EXPECT_THAT(Decode(Draw(2).Append(A(5))),
              ElementsAre(start + "a 1 0", start + '\0' + " 1 0", kDraw));
  EXPECT_THAT(Decode(Draw(0xFFFFFFFF).Append(A(5))), ElementsAre(start + "a 1 0", kDraw))
      << "more than there are bytes: it stops at their end";
}

TEST_F(ClientDataTest, SizesThatOnlyTheFileVouchesForAreCappedTogether) {
  const uint32_t half = static_cast<uint32_t>(kMaxUnbackedBytes / 2) + 1;
  const Bytes one = Record(kPointer, 0, half, 2).U32(1).Text("a");
  EXPECT_EQ(Decode(Draw(1).Append(one)).size(), 2u);
  EXPECT_THROW(Decode(Draw(2).Append(one).Append(one)), std::bad_alloc);
  // Offset and length add up to 2^32 and a little.
  EXPECT_THROW(Decode(Draw(1).Append(Record(kPointer, 0, 0x08000004, 2).U32(0xFFFFFF08))),
               std::bad_alloc);
  EXPECT_THAT(Decode(Draw(0)), ElementsAre(kDraw));
}

// What is left behind goes with the next draw; a leak would be the sanitizer's to report.
TEST_F(ClientDataTest, BuffersLeftByAThrowingAdapterOrAFailedAllocationGoWithTheNextDraw) {
  struct Throwing : GLAdapter {
    void glDrawArrays(uint32_t, int32_t, int32_t) override { throw std::runtime_error("adapter"); }
  } throwing;
  decoder_.AddAdapter(&throwing);
  EXPECT_THROW(Decode(Draw(1).Append(A(0))), std::runtime_error);
  decoder_.RemoveAdapter(&throwing);
  EXPECT_THAT(Decode(Draw(0)), ElementsAre(kDraw));

  const Bytes large = Draw(2).Append(A(0)).Append(A(1, 2 << 20));
  {
    const AllocationMeter meter(1 << 20);
    EXPECT_THROW(Decode(large), std::bad_alloc);
  }
  EXPECT_THAT(Decode(Draw(0)), ElementsAre(kDraw));
}

TEST_F(ClientDataTest, ManyRecordsTakeTimeInProportion) {
  constexpr uint32_t kCount = 400'000;  // a quadratic list would not come to its end here
  Bytes payload = Draw(kCount);
  for (uint32_t i = 0; i < kCount; ++i) payload.Append(A(i));
  decoder_.RemoveAdapter(listing_.AsGLAdapter());
  Decode(payload);
}

TEST_F(ClientDataTest, FlushedBytesComeBeforeTheFlushWithZerosForWhatIsMissing) {
  const auto flush = [this](uint32_t length, const Bytes& pointer) {
    return Decode(Bytes().U32(1).U32(2).U32(length).Append(pointer),
                  ApiCallType::glFlushMappedBufferRange);
  };
  const auto array = [](uint32_t count, const char* text) {
    return Bytes().U32(PointerKindArray).U32(count).Text(text);
  };
  EXPECT_THAT(flush(4, array(4, "abcd")), ElementsAre("FlushMappedBufferRangeData 1 2 4 abcd",
                                                      "glFlushMappedBufferRange 1 2 4"));
  EXPECT_THAT(flush(4, Bytes().String("abcd"))[0], "FlushMappedBufferRangeData 1 2 4 -");
  EXPECT_THAT(flush(6, array(2, "ab"))[0],
              "FlushMappedBufferRangeData 1 2 6 ab" + std::string(4, '\0'));
  EXPECT_THAT(flush(6, array(2, "a"))[0],
              "FlushMappedBufferRangeData 1 2 6 " + std::string(6, '\0'));
  EXPECT_THROW(flush(0xFFFFFFFF, array(1, "a")), std::bad_alloc);
}

TEST_F(ClientDataTest, UnmappedBytesComeBeforeTheUnmap) {
  EXPECT_THAT(Decode(Bytes().U32(7).U32(PointerKindArray).U32(2).Text("ab").U32(1),
                     ApiCallType::glUnmapBuffer),
              ElementsAre("UnmapBufferData 7 2 ab", "glUnmapBuffer 7 1"));
  EXPECT_THAT(Decode(Bytes().U32(7).Null().U32(1), ApiCallType::glUnmapBuffer),
              ElementsAre("UnmapBufferData 7 0 -", "glUnmapBuffer 7 1"));
  EXPECT_THAT(Decode(Bytes(), ApiCallType::glUnmapBuffer),
              ElementsAre("UnmapBufferData 0 0 -", "glUnmapBuffer 0 0"));
}

}  // namespace
}  // namespace Data
