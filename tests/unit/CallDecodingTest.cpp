// Every call of the tables through its decoder and the generic adapter, against payloads laid down
// from the descriptions.
#include <bit>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Data/Calls/CallTable.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Data/PointerData.h"

#include "support/LogCollector.h"
#include "support/PayloadBuilder.h"

namespace Data {
namespace {

// What a value is, independent of how it is stored, so that it can be compared.
std::string Describe(const CallValue& value) {
  switch (value.type) {
    case ValueType::kInt32:
      return "i" + std::to_string(value.i32);
    case ValueType::kFloat:
      return "f" + std::to_string(std::bit_cast<uint32_t>(value.f32));
    case ValueType::kUint64:
      return "q" + std::to_string(value.u64);
    case ValueType::kPointer:
      return "p" + std::to_string(value.pointer->elementSize) + "x" +
             std::to_string(value.pointer->count);
    case ValueType::kBytes:
      return "b" + std::to_string(value.byteCount);
    default:
      return "u" + std::to_string(value.u32);
  }
}

class Recorder : public GenericAdapter {
 public:
  void ProcessThreadChange(Api api, uint32_t threadId) override {
    events.push_back((api == Api::kEGL ? "EGL thread " : "GL thread ") + std::to_string(threadId));
  }
  void ProcessCall(const CallDesc& call, std::span<const CallValue> values) override {
    ASSERT_EQ(values.size(), call.Values().size()) << call.name;
    for (size_t i = 0; i < values.size(); ++i) {
      EXPECT_EQ(values[i].type, call.values[i].type->type) << call.name << " " << i;
    }
    Add(call, values);
  }
  void ProcessClientData(const CallDesc& operation, std::span<const CallValue> values) override {
    Add(operation, values);
  }

  std::vector<std::string> events;

 private:
  void Add(const CallDesc& call, std::span<const CallValue> values) {
    std::string event = call.name;
    for (const CallValue& value : values) {
      event += " " + Describe(value);
    }
    events.push_back(event);
  }
};

class CallDecodingTest : public testing::Test {
 protected:
  CallDecodingTest() {
    egl_.AddAdapter(recorder_.AsEGLAdapter());
    gl_.AddAdapter(recorder_.AsGLAdapter());
  }

  std::vector<std::string> Decode(ApiCallType id, const Bytes& payload) {
    Decoder& decoder = gl_.SupportsId(id) ? static_cast<Decoder&>(gl_) : egl_;
    decoder.ProcessFunctionCall(id, payload.Data(), payload.Size());
    return std::exchange(recorder_.events, {});
  }

  EGLDecoder egl_;
  GLDecoder gl_;
  Recorder recorder_;
  LogCollector log_;
};

std::vector<CallDesc> EveryCall() {
  std::vector<CallDesc> calls(AllCalls(Api::kEGL).begin(), AllCalls(Api::kEGL).end());
  calls.insert(calls.end(), AllCalls(Api::kGLES).begin(), AllCalls(Api::kGLES).end());
  return calls;
}

TEST_F(CallDecodingTest, EveryCallHandsOnItsValuesInPayloadOrder) {
  for (const CallDesc& call : EveryCall()) {
    Bytes payload;
    std::string expected = call.name;
    uint32_t n = 0x01020300;
    for (size_t i = 0; i < call.Values().size(); ++i) {
      const TypeDesc& type = *call.values[i].type;
      if (call.id == ApiCallType::glUnmapBuffer && i == 1) {
        payload.Null();  // the mapped bytes stand before the result
      }
      ++n;
      switch (type.type) {
        case ValueType::kUint64:
          payload.U64(uint64_t{n} << 32 | n);
          expected += " q" + std::to_string(uint64_t{n} << 32 | n);
          break;
        case ValueType::kPointer:
          payload.U32(PointerKindArray).U32(n & 0xFF).Fill((n & 0xFF) * size_t{type.elementSize});
          expected +=
              " p" + std::to_string(unsigned{type.elementSize}) + "x" + std::to_string(n & 0xFF);
          break;
        default:
          payload.U32(n);
          expected += (type.type == ValueType::kInt32   ? " i"
                       : type.type == ValueType::kFloat ? " f"
                                                        : " u") +
                      std::to_string(n);
      }
    }
    payload.U32(0);  // draw calls: no vertex records; flush: no bytes; ignored by all others
    const std::vector<std::string> events = Decode(call.id, payload);
    ASSERT_FALSE(events.empty()) << call.name;
    EXPECT_EQ(events.back(), expected);
    EXPECT_EQ(events.size(), call.id == ApiCallType::glUnmapBuffer ||
                                     call.id == ApiCallType::glFlushMappedBufferRange
                                 ? 2u
                                 : 1u);
  }
  EXPECT_EQ(log_.Messages(), std::vector<std::string>());
}

TEST_F(CallDecodingTest, EveryPrefixOfAPayloadIsSurvived) {
  EGLAdapter deafEGL;  // these override nothing
  egl_.AddAdapter(&deafEGL);
  GLAdapter deafGL;
  gl_.AddAdapter(&deafGL);
  GenericAdapter deaf;
  gl_.AddAdapter(deaf.AsGLAdapter());
  for (const CallDesc& call : EveryCall()) {
    Bytes payload;
    for (const ParameterDesc& value : call.Values()) {
      value.type->elementSize == 0 ? payload.U32(7) : payload.Array<uint32_t>({1, 2});
    }
    payload.Fill(16, 1);
    for (; payload.Size() != 0; payload.Cut(1)) {
      try {
        EXPECT_FALSE(Decode(call.id, payload).empty()) << call.name;
      } catch (const std::bad_alloc&) {
        // A field read as a size, from where another was missing: refused, not obeyed.
      }
    }
  }
}

TEST_F(CallDecodingTest, WhatAnEmptyPayloadLacksHasItsDefault) {
  const auto expect = [this](ApiCallType id, const char* event) {
    EXPECT_EQ(Decode(id, Bytes()).back(), event);
  };
  using enum ApiCallType;
  expect(glBindBuffer, "glBindBuffer u0 u4294967295");
  expect(glAttachShader, "glAttachShader u4294967295 u4294967295");
  expect(glUniform1i, "glUniform1i i-1 i0");
  expect(glCreateShader, "glCreateShader u0 u4294967295");
  expect(glGetAttribLocation, "glGetAttribLocation u4294967295 p0x0 i-1");
  expect(glGetUniformBlockIndex, "glGetUniformBlockIndex u4294967295 p0x0 u4294967295");
  expect(glGetProgramResourceIndex, "glGetProgramResourceIndex u4294967295 u0 p0x0 u0");
  expect(glBindBufferRange, "glBindBufferRange u0 u0 u4294967295 u0 u0");
  expect(glVertexAttribBinding, "glVertexAttribBinding u4294967295 u0");
  expect(glVertexAttribPointer, "glVertexAttribPointer u4294967295 i0 u0 u0 i0 p0x0");
  expect(glClientWaitSync, "glClientWaitSync u4294967295 u0 q0 u0");
  expect(glObjectLabel, "glObjectLabel u0 u4294967295 i0 p0x0");
  expect(glBeginPerfMonitorAMD, "glBeginPerfMonitorAMD u0");
  expect(glEGLImageTargetTexture2DOES, "glEGLImageTargetTexture2DOES u0 u0");
  expect(glExtrapolateTex2DKVRA, "glExtrapolateTex2DKVRA u4294967295 u4294967295 u4294967295 f0");
  expect(eglDestroySurface, "eglDestroySurface u4294967295 u4294967295 u0");
  expect(eglCreateContext, "eglCreateContext u4294967295 u4294967295 u4294967295 p0x0 u4294967295");
  EXPECT_TRUE(log_.Messages().empty()) << "a value wholly beyond the end is no news";
}

TEST_F(CallDecodingTest, AShortReadLeavesTheOffsetWhereItWas) {
  // Widths 4, 4, 8, 4: the flags are cut, and so is the timeout, read from the same place.
  EXPECT_THAT(Decode(ApiCallType::glClientWaitSync, Bytes().U32(5).U16(1)),
              testing::ElementsAre("glClientWaitSync u5 u0 q0 u0"));
  EXPECT_EQ(log_.Messages().size(), 3u);
}

TEST_F(CallDecodingTest, TheResultIsTheFirstArgumentOfATypedAdapter) {
  struct Adapter : GLAdapter {
    void glGetString(const PointerData* result, uint32_t name) override {
      text = result->stringData;
      text += " " + std::to_string(name);
    }
    std::string text;
  } adapter;
  gl_.AddAdapter(&adapter);
  Decode(ApiCallType::glGetString, Bytes().U32(7).String("abc"));
  EXPECT_EQ(adapter.text, "abc 7");
}

TEST_F(CallDecodingTest, ReservedAndForeignIdentifiersAreOnlyLogged) {
  EXPECT_FALSE(gl_.SupportsId(ApiCallType{0x8FFF}));
  EXPECT_FALSE(gl_.SupportsId(ApiCallType{0x9213}));
  EXPECT_TRUE(gl_.SupportsId(ApiCallType{0x9212}));
  EXPECT_FALSE(egl_.SupportsId(ApiCallType{0x7FFF}));
  EXPECT_FALSE(egl_.SupportsId(ApiCallType{0x8043}));
  EXPECT_TRUE(egl_.SupportsId(ApiCallType{0x8042}));
  for (const int id : {0x913C, 0x920C, 0x9213, 0x8000, 0}) {
    gl_.ProcessFunctionCall(static_cast<ApiCallType>(id), nullptr, 0);
    EXPECT_EQ(log_.Take().back(),
              "4/3 src/Data/GLDecoder:82 Unrecognized API call ID: " + std::to_string(id) + ".");
  }
  egl_.ProcessFunctionCall(ApiCallType{0x8036}, nullptr, 0);
  EXPECT_EQ(log_.Take().back(), "4/3 src/Data/EGLDecoder:82 Unrecognized API call ID: 32822.");
  EXPECT_TRUE(recorder_.events.empty());
}

TEST_F(CallDecodingTest, AdaptersHearEveryCallInTheOrderTheyWereAdded) {
  Recorder second;
  gl_.AddAdapter(second.AsGLAdapter());
  gl_.AddAdapter(second.AsGLAdapter());
  Decode(ApiCallType::glFinish, Bytes());
  EXPECT_EQ(second.events.size(), 2u);
  gl_.RemoveAdapter(second.AsGLAdapter());
  gl_.SetCurrentThreadId(5);
  gl_.SetCurrentThreadId(5);
  EXPECT_THAT(second.events, testing::ElementsAre("glFinish", "glFinish", "GL thread 5"));
  egl_.RemoveAdapter(recorder_.AsEGLAdapter());
  recorder_.events.clear();
  EXPECT_TRUE(Decode(ApiCallType::eglGetError, Bytes()).empty());
}

TEST(CallTable, FindsCallsByIdentifierAndByName) {
  EXPECT_STREQ(FindCall(ApiCallType{0x9003})->name, "glBindBuffer");
  EXPECT_EQ(FindCall("glExtrapolateTex2DKVRA")->id, ApiCallType{0x9212});
  EXPECT_EQ(FindCall("eglCreateImageKHRv1")->id, ApiCallType{0x8022});
  EXPECT_EQ(FindCall(ApiCallType{0x913C}), nullptr);
  EXPECT_EQ(FindCall(ApiCallType{0x7FFF}), nullptr);
  EXPECT_EQ(FindCall(ApiCallType{0xFFFF}), nullptr);
  EXPECT_EQ(FindCall("glNoSuchCall"), nullptr);
  EXPECT_EQ(AllCalls(Api::kEGL).size() + AllCalls(Api::kGLES).size(), 554u);
  for (const CallDesc& call : EveryCall()) {
    EXPECT_EQ(FindCall(call.id)->name, call.name);
  }
}

TEST(CallTable, NamesOfATypeComeBeforeThoseOfItsApi) {
  const CallDesc& blend = *FindCall("glBlendFunc");
  EXPECT_STREQ(EnumerantName(Api::kGLES, *blend.values[0].type, 1), "GL_ONE");
  EXPECT_STREQ(EnumerantName(Api::kGLES, *blend.values[0].type, 0x302), "GL_SRC_ALPHA");
  const CallDesc& draw = *FindCall("glDrawArrays");
  EXPECT_STREQ(EnumerantName(Api::kGLES, *draw.values[0].type, 4), "GL_TRIANGLES");
  EXPECT_EQ(EnumerantName(Api::kGLES, *draw.values[0].type, 0xFFFFFFFF), nullptr);
  EXPECT_STREQ(EnumerantName(Api::kEGL, *FindCall("eglBindAPI")->values[0].type, 0x30A0),
               "EGL_OPENGL_ES_API");
}

}  // namespace
}  // namespace Data
