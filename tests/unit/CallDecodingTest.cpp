// Calls on their way through decoders and adapters, and the table that describes them.
#include "Data/Calls/CallTable.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Data/PointerData.h"

#include "support/Listing.h"
#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

class CallDecodingTest : public testing::Test {
 protected:
  CallDecodingTest() {
    egl_.AddAdapter(listing_.AsEGLAdapter());
    gl_.AddAdapter(listing_.AsGLAdapter());
  }

  std::vector<std::string> Decode(ApiCallType id, const Bytes& payload) {
    listing_.Take();
    Decoder& decoder = gl_.SupportsId(id) ? static_cast<Decoder&>(gl_) : egl_;
    decoder.ProcessFunctionCall(id, payload.Data(), payload.Size());
    return listing_.Take();
  }

  EGLDecoder egl_;
  GLDecoder gl_;
  Listing listing_;
  LogCollector log_;
};

std::vector<CallDesc> EveryCall() {
  std::vector<CallDesc> calls(AllCalls(Api::kEGL).begin(), AllCalls(Api::kEGL).end());
  calls.insert(calls.end(), AllCalls(Api::kGLES).begin(), AllCalls(Api::kGLES).end());
  return calls;
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
  using enum ApiCallType;
  const std::pair<ApiCallType, const char*> cases[] = {
      {glBindBuffer, "glBindBuffer 0 4294967295"},
      {glAttachShader, "glAttachShader 4294967295 4294967295"},
      {glUniform1i, "glUniform1i -1 0"},
      {glCreateShader, "glCreateShader 0 4294967295"},
      {glGetAttribLocation, "glGetAttribLocation 4294967295 0x0 -1"},
      {glGetUniformBlockIndex, "glGetUniformBlockIndex 4294967295 0x0 4294967295"},
      {glGetProgramResourceIndex, "glGetProgramResourceIndex 4294967295 0 0x0 0"},
      {glBindBufferRange, "glBindBufferRange 0 0 4294967295 0 0"},
      {glVertexAttribBinding, "glVertexAttribBinding 4294967295 0"},
      {glVertexAttribPointer, "glVertexAttribPointer 4294967295 0 0 0 0 0x0"},
      {glClientWaitSync, "glClientWaitSync 4294967295 0 0 0"},
      {glObjectLabel, "glObjectLabel 0 4294967295 0 0x0"},
      {glBeginPerfMonitorAMD, "glBeginPerfMonitorAMD 0"},
      {glEGLImageTargetTexture2DOES, "glEGLImageTargetTexture2DOES 0 0"},
      {glExtrapolateTex2DKVRA, "glExtrapolateTex2DKVRA 4294967295 4294967295 4294967295 0"},
      {eglDestroySurface, "eglDestroySurface 4294967295 4294967295 0"},
      {eglCreateContext, "eglCreateContext 4294967295 4294967295 4294967295 0x0 4294967295"}};
  for (const auto& [id, line] : cases) EXPECT_EQ(Decode(id, Bytes()).back(), line);
  EXPECT_TRUE(log_.Messages().empty()) << "a value wholly beyond the end is no news";
}

TEST_F(CallDecodingTest, AShortReadLeavesTheOffsetWhereItWas) {
  // Widths 4, 4, 8, 4: the flags are cut, and so is the timeout, read from the same place.
  EXPECT_THAT(Decode(ApiCallType::glClientWaitSync, Bytes().U32(5).U16(1)),
              ElementsAre("glClientWaitSync 5 0 0 0"));
  EXPECT_EQ(log_.Messages().size(), 3u);
}

TEST_F(CallDecodingTest, TheResultIsTheFirstArgumentOfATypedAdapter) {
  struct Adapter : GLAdapter {
    void glGetString(const PointerData* result, uint32_t name) override {
      text = result->stringData + std::to_string(name);
    }
    std::string text;
  } adapter;
  gl_.AddAdapter(&adapter);
  EXPECT_THAT(Decode(ApiCallType::glGetString, Bytes().U32(7).String("abc")),
              ElementsAre("glGetString 7 1x3"));
  EXPECT_EQ(adapter.text, "abc7");
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
  EXPECT_TRUE(listing_.Take().empty());
}

TEST_F(CallDecodingTest, AdaptersHearEveryCallInTheOrderTheyWereAdded) {
  Listing second;
  gl_.AddAdapter(second.AsGLAdapter());
  gl_.AddAdapter(second.AsGLAdapter());
  EXPECT_THAT(Decode(ApiCallType::glFinish, Bytes()), ElementsAre("glFinish"));
  gl_.RemoveAdapter(second.AsGLAdapter());
  gl_.SetCurrentThreadId(5);
  gl_.SetCurrentThreadId(5);
  EXPECT_THAT(second.Take(), ElementsAre("glFinish", "glFinish", "GL thread 5"));
  egl_.RemoveAdapter(listing_.AsEGLAdapter());
  EXPECT_TRUE(Decode(ApiCallType::eglGetError, Bytes()).empty());
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
