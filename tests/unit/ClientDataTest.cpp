// Client memory: vertex arrays of draw calls and mapped buffer ranges.
#include <chrono>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/GLDecoder.h"
#include "Data/Limits.h"
#include "Data/PointerData.h"

#include "support/AllocationMeter.h"
#include "support/LogCollector.h"
#include "support/PayloadBuilder.h"

namespace Data {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kPointer = 0x908C;
constexpr uint32_t kIPointer = 0x90B5;

std::string Text(const unsigned char* bytes, size_t size) {
  return bytes == nullptr ? "null" : std::string(reinterpret_cast<const char*>(bytes), size);
}

// Writes down what it hears; the buffers of a draw call are looked at when the draw comes.
class Recorder : public GLAdapter {
 public:
  void VertexAttribPointerData(uint32_t index, int32_t size, uint32_t type, uint32_t normalized,
                               int32_t stride, unsigned char* buffer, uint32_t dataLength,
                               uint32_t dataOffset) override {
    Attribute(index, buffer, dataLength, dataOffset,
              "P" + std::to_string(size) + "," + std::to_string(type) + "," +
                  std::to_string(normalized) + "," + std::to_string(stride));
  }
  void VertexAttribIPointerData(uint32_t index, int32_t size, uint32_t type, int32_t stride,
                                unsigned char* buffer, uint32_t dataLength,
                                uint32_t dataOffset) override {
    Attribute(
        index, buffer, dataLength, dataOffset,
        "I" + std::to_string(size) + "," + std::to_string(type) + "," + std::to_string(stride));
  }
  void FlushMappedBufferRangeData(uint32_t target, uint32_t offset, uint32_t length,
                                  unsigned char* data) override {
    events.push_back("flush data " + std::to_string(target) + " " + std::to_string(offset) + " " +
                     Text(data, length));
  }
  void UnmapBufferData(uint32_t target, uint32_t length, unsigned char* data) override {
    events.push_back("unmap data " + std::to_string(target) + " " + std::to_string(length) + " " +
                     Text(data, length));
  }
  void glFlushMappedBufferRange(uint32_t target, uint32_t offset, uint32_t length) override {
    events.push_back("flush " + std::to_string(target) + " " + std::to_string(offset) + " " +
                     std::to_string(length));
  }
  void glUnmapBuffer(uint32_t result, uint32_t target) override {
    events.push_back("unmap " + std::to_string(result) + " " + std::to_string(target));
  }
  void glDrawArrays(uint32_t mode, int32_t first, int32_t count) override {
    if (throwOnDraw) {
      throw std::runtime_error("adapter");
    }
    for (const Held& held : held_) {
      events.push_back(held.text + " " + Text(held.bytes, held.size));
    }
    held_.clear();
    events.push_back("draw " + std::to_string(mode) + " " + std::to_string(first) + " " +
                     std::to_string(count));
  }
  void glDrawElementsInstancedBaseVertex(uint32_t mode, int32_t count, uint32_t type,
                                         const PointerData* indices, int32_t instancecount,
                                         int32_t basevertex) override {
    events.push_back("draw " + std::to_string(mode) + " " + std::to_string(count) + " " +
                     std::to_string(type) + " " + std::to_string(indices->count) + " " +
                     std::to_string(instancecount) + " " + std::to_string(basevertex));
  }

  void Forget() {
    events.clear();
    held_.clear();
  }

  std::vector<std::string> events;
  size_t attributes = 0;
  bool throwOnDraw = false;

 private:
  struct Held {
    std::string text;
    const unsigned char* bytes;
    size_t size;
  };

  void Attribute(uint32_t index, const unsigned char* buffer, uint32_t length, uint32_t offset,
                 const std::string& text) {
    ++attributes;
    held_.push_back({std::to_string(index) + " " + text,
                     buffer != nullptr ? buffer + offset : nullptr, length});
  }

  std::vector<Held> held_;
};

class ClientDataTest : public testing::Test {
 protected:
  ClientDataTest() { decoder_.AddAdapter(&recorder_); }

  static Bytes Draw(uint32_t records) { return Bytes().U32(4).U32(0).U32(3).U32(records); }

  // A vertex attribute record up to its pointer flags.
  static Bytes Record(uint32_t function, uint32_t index, uint32_t dataOffset, uint32_t flags) {
    Bytes record = Bytes().U32(function).U32(index).U32(2).U32(5126);
    if (function == kPointer) {
      record.U32(1);
    }
    return record.U32(8).U32(dataOffset).U32(flags);
  }

  const std::vector<std::string>& Decode(const Bytes& payload,
                                         ApiCallType id = ApiCallType::glDrawArrays) {
    recorder_.Forget();
    decoder_.ProcessFunctionCall(id, payload.Data(), payload.Size());
    return recorder_.events;
  }

  GLDecoder decoder_;
  Recorder recorder_;
  LogCollector log_;
};

TEST_F(ClientDataTest, VertexArraysComeBeforeTheirDrawAndStayValidUntilItEnds) {
  const Bytes payload = Draw(3)
                            .Append(Record(kPointer, 0, 0, 2).U32(4).Text("abcd"))
                            .Append(Record(kIPointer, 1, 16, 2 | 8).U64(0xDEAD).U32(3).Text("xyz"))
                            .Append(Record(kPointer, 2, 0, 2).U32(0));
  EXPECT_THAT(Decode(payload), ElementsAre("0 P2,5126,1,8 abcd", "1 I2,5126,8 xyz",
                                           "2 P2,5126,1,8 null", "draw 4 0 3"));
}

TEST_F(ClientDataTest, ARecordWithoutDataEndsAfterItsFlags) {
  const Bytes records = Record(kIPointer, 1, 0, 0).Append(Record(kPointer, 1, 0, 0));
  EXPECT_EQ(records.Size(), 28u + 32u);
  EXPECT_EQ(decoder_.ProcessVertexAttribArrayData(2, records.Data(), records.Size(), 0), 60u);
  EXPECT_EQ(recorder_.attributes, 0u);
  EXPECT_EQ(decoder_.ProcessDrawArraysData(Bytes().U32(0).Data(), 4, 0), 4u);
  EXPECT_EQ(decoder_.ProcessDrawElementsData(Bytes().U16(0).Data(), 2, 0), 0u);
}

TEST_F(ClientDataTest, ElementDrawsPutTheirVertexArraysLast) {
  const Bytes payload =
      Bytes().U32(4).U32(6).U32(5123).Array<uint16_t>({}).Cut(4).U32(2).U8(7).U8(8);
  Bytes whole = Bytes(payload).U32(9).U32(10).U32(1);
  whole.Append(Record(kPointer, 0, 0, 2).U32(1).Text("a"));
  EXPECT_THAT(Decode(whole, ApiCallType::glDrawElementsInstancedBaseVertex),
              ElementsAre("draw 4 6 5123 2 9 10"));
  EXPECT_EQ(recorder_.attributes, 1u);
}

TEST_F(ClientDataTest, AnUnknownFunctionIsLoggedOncePerAdapterAndItsBytesAreSkipped) {
  Recorder second;
  decoder_.AddAdapter(&second);
  const Bytes payload = Draw(2)
                            .Append(Record(0x9000, 0, 0, 2).U32(2).Text("?!"))
                            .Append(Record(kPointer, 1, 0, 2).U32(1).Text("a"));
  EXPECT_THAT(Decode(payload), ElementsAre("1 P2,5126,1,8 a", "draw 4 0 3"));
  EXPECT_THAT(log_.Lines(), testing::Each(HasSubstr("4/3 src/Data/GLDecoder:1648 GL decoder "
                                                    "encountered an unrecognized function ID")));
  EXPECT_EQ(log_.Lines().size(), 2u);
}

TEST_F(ClientDataTest, DataCutShortIsHandedOnAsZeros) {
  const Bytes payload = Draw(1).Append(Record(kPointer, 0, 0, 2).U32(4).Text("ab"));
  EXPECT_THAT(Decode(payload), ElementsAre("0 P2,5126,1,8 " + std::string(4, '\0'), "draw 4 0 3"));
  EXPECT_EQ(log_.Lines().size(), 1u);
}

TEST_F(ClientDataTest, ARecordPastTheEndRepeatsTheOneBefore) {
  const Bytes payload = Draw(2).Append(Record(kPointer, 5, 0, 2).U32(1).Text("a"));
  EXPECT_THAT(Decode(payload), ElementsAre("5 P2,5126,1,8 a",
                                           "5 P2,5126,1,8 " + std::string(1, '\0'), "draw 4 0 3"));
}

TEST_F(ClientDataTest, ACountBeyondAllBytesStopsAtTheEnd) {
  const Bytes payload = Draw(0xFFFFFFFF).Append(Record(kPointer, 5, 0, 2).U32(1).Text("a"));
  EXPECT_THAT(Decode(payload), ElementsAre("5 P2,5126,1,8 a", "draw 4 0 3"));
}

TEST_F(ClientDataTest, SizesThatOnlyTheFileVouchesForAreCappedTogether) {
  const uint32_t half = static_cast<uint32_t>(kMaxUnbackedBytes / 2) + 1;
  const Bytes one = Record(kPointer, 0, half, 2).U32(1).Text("a");
  Decode(Draw(1).Append(one));
  EXPECT_THROW(Decode(Draw(2).Append(one).Append(one)), std::bad_alloc);
  // Offset and length add up to 2^32 and a little.
  EXPECT_THROW(Decode(Draw(1).Append(Record(kPointer, 0, 0x08000004, 2).U32(0xFFFFFF08))),
               std::bad_alloc);
  EXPECT_THAT(Decode(Draw(0)), ElementsAre("draw 4 0 3"));
}

TEST_F(ClientDataTest, BuffersLeftByAThrowingAdapterGoWithTheNextDraw) {
  recorder_.throwOnDraw = true;
  EXPECT_THROW(Decode(Draw(1).Append(Record(kPointer, 0, 0, 2).U32(1).Text("a"))),
               std::runtime_error);
  Recorder calm;
  decoder_.RemoveAdapter(&recorder_);
  decoder_.AddAdapter(&calm);
  Decode(Draw(0));  // a leak would be the sanitizer's to report
  EXPECT_THAT(calm.events, ElementsAre("draw 4 0 3"));
}

TEST_F(ClientDataTest, BuffersMadeBeforeAFailedAllocationGoWithTheNextDraw) {
  const Bytes payload = Draw(2)
                            .Append(Record(kPointer, 0, 0, 2).U32(1).Text("a"))
                            .Append(Record(kPointer, 1, 0, 2).U32(2 << 20).Fill(2 << 20));
  {
    const AllocationMeter meter(1 << 20);
    EXPECT_THROW(Decode(payload), std::bad_alloc);
  }
  EXPECT_EQ(recorder_.attributes, 1u);
  EXPECT_THAT(Decode(Draw(0)), ElementsAre("draw 4 0 3"));
}

TEST_F(ClientDataTest, ManyRecordsTakeTimeInProportion) {
  constexpr uint32_t kCount = 400'000;  // a quadratic list would need minutes
  Bytes payload = Draw(kCount);
  for (uint32_t i = 0; i < kCount; ++i) {
    payload.Append(Record(kPointer, i, 0, 2).U32(1).Text("a"));
  }
  decoder_.RemoveAdapter(&recorder_);
  const auto start = std::chrono::steady_clock::now();
  Decode(payload);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(ClientDataTest, FlushedBytesComeBeforeTheFlush) {
  const Bytes payload = Bytes().U32(1).U32(2).U32(4).U32(PointerKindArray).U32(4).Text("abcd");
  EXPECT_THAT(Decode(payload, ApiCallType::glFlushMappedBufferRange),
              ElementsAre("flush data 1 2 abcd", "flush 1 2 4"));
  EXPECT_THAT(
      Decode(Bytes().U32(1).U32(2).U32(4).String("abcd"), ApiCallType::glFlushMappedBufferRange),
      ElementsAre("flush data 1 2 null", "flush 1 2 4"));
}

TEST_F(ClientDataTest, AFlushLongerThanItsBytesIsFilledWithZeros) {
  const Bytes payload = Bytes().U32(1).U32(2).U32(6).U32(PointerKindArray).U32(2).Text("ab");
  EXPECT_THAT(Decode(payload, ApiCallType::glFlushMappedBufferRange),
              ElementsAre("flush data 1 2 ab" + std::string(4, '\0'), "flush 1 2 6"));
  EXPECT_THAT(Decode(Bytes(payload).Cut(1), ApiCallType::glFlushMappedBufferRange),
              ElementsAre("flush data 1 2 " + std::string(6, '\0'), "flush 1 2 6"));
  EXPECT_THROW(Decode(Bytes().U32(1).U32(2).U32(0xFFFFFFFF).U32(PointerKindArray).U32(1).U8(1),
                      ApiCallType::glFlushMappedBufferRange),
               std::bad_alloc);
}

TEST_F(ClientDataTest, UnmappedBytesComeBeforeTheUnmap) {
  EXPECT_THAT(Decode(Bytes().U32(7).U32(PointerKindArray).U32(2).Text("ab").U32(1),
                     ApiCallType::glUnmapBuffer),
              ElementsAre("unmap data 7 2 ab", "unmap 1 7"));
  EXPECT_THAT(Decode(Bytes().U32(7).Null().U32(1), ApiCallType::glUnmapBuffer),
              ElementsAre("unmap data 7 0 null", "unmap 1 7"));
  EXPECT_THAT(Decode(Bytes(), ApiCallType::glUnmapBuffer),
              ElementsAre("unmap data 0 0 null", "unmap 0 0"));
}

}  // namespace
}  // namespace Data
