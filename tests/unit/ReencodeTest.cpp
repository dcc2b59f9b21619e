// Captures whose calls are decoded and encoded again: what comes out is what went in.
#include "Data/Calls/CallTable.h"
#include "Data/Calls/MadePointer.h"

#include "support/AllocationMeter.h"
#include "support/CaptureBuilder.h"
#include "support/MemoryWriter.h"
#include "support/PayloadBuilder.h"
#include "support/RandomCapture.h"
#include "support/Reencoder.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace Data {
namespace {

template <typename GLEncoderType = GLEncoder>
struct Reencoded {
  explicit Reencoded(const std::vector<uint8_t>& capture,
                     std::optional<CompressionType> compression = {}) {
    reencoder.compression = compression;
    Process(capture, &reencoder);
  }

  std::shared_ptr<MemoryWriter> output = std::make_shared<MemoryWriter>();
  Reencoder<GLEncoderType> reencoder{output};
};

constexpr uint32_t kRandomCaptures = 10000;

TEST(ReencodeTest, RandomCapturesComeOutAsTheyWentIn) {
  const LogCollector silence;
  std::set<ApiCallType> calls;
  size_t saved[3] = {};  // bytes, by compression
  for (uint32_t seed = 0; seed < kRandomCaptures; ++seed) {
    const RandomCapture capture(seed);
    const std::vector<uint8_t> bytes = capture.Finish();
    calls.insert(capture.Calls().begin(), capture.Calls().end());
    // Two of three make the way through a compressed capture.
    const auto compression = static_cast<CompressionType>(seed % 3);
    const Reencoded<> there(bytes, compression);
    ASSERT_THAT(there.reencoder.raw, IsEmpty()) << "seed " << seed;
    saved[compression] += bytes.size() - there.output->bytes.size();
    const Reencoded<> back(there.output->bytes, kCompressionNone);
    ASSERT_THAT(back.reencoder.raw, IsEmpty()) << "seed " << seed;
    ASSERT_EQ(back.output->bytes, bytes) << "seed " << seed;
  }
  EXPECT_EQ(calls.size(), AllCalls(Api::kEGL).size() + AllCalls(Api::kGLES).size());
  EXPECT_EQ(saved[kCompressionNone], 0u);
  EXPECT_GT(saved[kCompressionLZ4], 50000u);
  EXPECT_GT(saved[kCompressionLZ77], 50000u);
}

TEST(ReencodeTest, WhatCallsDoNotCarryIsNoticedAndPassedOnRaw) {
  const LogCollector silence;
  for (uint32_t seed = 0; seed < 1000; ++seed) {
    const RandomCapture capture(seed, RandomCapture::kSome);
    const std::vector<uint8_t> bytes = capture.Finish();
    const Reencoded<> again(bytes);
    size_t raw = 0;
    for (const auto& [id, count] : again.reencoder.raw) raw += count;
    ASSERT_EQ(raw, capture.OddCalls()) << "seed " << seed;
    ASSERT_EQ(again.output->bytes, bytes) << "seed " << seed;
  }
}

// Those in the tree, and more where an environment variable says so.
std::vector<std::filesystem::path> RealCaptures() {
  std::vector<std::filesystem::path> folders = {std::filesystem::path(DCAPKIT_SOURCE_DIR) /
                                                "tests/captures"};
  const char* more = std::getenv("DCAPKIT_CAPTURES_DIR");
  if (more != nullptr && *more != '\0') folders.emplace_back(more);
  std::vector<std::filesystem::path> captures;
  for (const std::filesystem::path& folder : folders) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".dcap") captures.push_back(entry.path());
    }
  }
  return captures;
}

TEST(ReencodeTest, CapturesOfRealProgramsComeOutAsTheyWentIn) {
  const LogCollector silence;
  for (const std::filesystem::path& path : RealCaptures()) {
    const std::string name = path.stem();
    if (name.ends_with("-unfinished")) continue;
    const std::vector<uint8_t> bytes = ReadFile(path);
    const Reencoded<> inflated(bytes, kCompressionNone);
    const Reencoded<> again(bytes);
    for (const auto& [id, count] : again.reencoder.raw) {
      // One has the addresses of client memory, which operations do not carry.
      const bool carriesMemory =
          FindCall(static_cast<ApiCallType>(id))->callClass == CallClass::kDraw || id == 0x909C ||
          id == 0x90A9;
      EXPECT_TRUE(carriesMemory && name == "features-setup-block") << name << ": " << id;
    }
    if (inflated.output->bytes == bytes) {
      EXPECT_EQ(again.output->bytes, bytes) << name;
    } else {
      // A compressed capture: other compressors make other bytes, but of the same payloads.
      EXPECT_NE(bytes.at(9) & (kOptionCompressionMask >> 8), 0u) << name;
      const Reencoded<> inflatedAgain(again.output->bytes, kCompressionNone);
      EXPECT_EQ(inflatedAgain.output->bytes, inflated.output->bytes) << name;
      EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 24, again.output->bytes.begin()))
          << name;
    }
  }
}

// Typed calls made by a program ------------------------------------------------------------------

class Collector : public CallSink {
 public:
  void EncodedCall(ApiCallType id, const uint8_t* payload, uint32_t size) override {
    calls.emplace_back(id, std::vector<uint8_t>(payload, payload + size));
  }
  std::vector<std::pair<ApiCallType, std::vector<uint8_t>>> calls;
};

class EncoderTest : public testing::Test {
 protected:
  // The payload of the latest call.
  void ExpectPayload(const Bytes& expected) const {
    EXPECT_EQ(collector_.calls.back().second,
              std::vector(expected.Data(), expected.Data() + expected.Size()));
  }

  Collector collector_;
  EGLEncoder egl_{&collector_};
  GLEncoder gl_{&collector_};
};

TEST_F(EncoderTest, PointersOfEveryKindCanBeMade) {
  gl_.glGenTextures(2, MadePointer::Array<uint32_t>({7, 8}));
  ExpectPayload(Bytes().U32(2).Array<uint32_t>({7, 8}));
  gl_.glGenTextures(0, MadePointer::Array<uint32_t>({}, 0xABCD));
  ExpectPayload(Bytes().U32(0).Array<uint32_t>({}, 0xABCD));
  gl_.glShaderSource(3, 2, MadePointer::Strings({"one", ""}), MadePointer::Null());
  ExpectPayload(Bytes().U32(3).U32(2).Strings({"one", ""}).Null());
  gl_.glShaderSource(3, 0, MadePointer::Strings({}), MadePointer::Null());
  ExpectPayload(Bytes().U32(3).U32(0).Strings({}).Null());
  gl_.glGetUniformLocation(-1, 3, MadePointer::String("angle", 5));
  ExpectPayload(Bytes().U32(3).String("angle", 5).I32(-1));
  egl_.eglInitialize(1, 2, MadePointer::Value(1), MadePointer::Value(5));
  ExpectPayload(Bytes().U32(2).Value(1).Value(5).U32(1));
  gl_.glVertexAttribPointer(0, 4, 0x1406, 0, 16, MadePointer::Null(64));
  ExpectPayload(Bytes().U32s({0, 4, 0x1406, 0, 16}).Address(64));
  EXPECT_THAT(collector_.calls.front().first, ApiCallType::glGenTextures);
}

TEST_F(EncoderTest, ClientMemoryTravelsWithTheCallThatFollows) {
  unsigned char memory[] = "....abcd";
  gl_.VertexAttribPointerData(1, 2, 3, 4, 5, memory, 4, 4);
  gl_.VertexAttribIPointerData(6, 7, 8, 9, nullptr, 0, 10);
  gl_.glDrawArrays(4, 0, 3);
  Bytes draw = Bytes().U32s({4, 0, 3, 2, 0x908C, 1, 2, 3, 4, 5, 4, 2, 4}).Text("abcd");
  ExpectPayload(draw.U32s({0x90B5, 6, 7, 8, 9, 10, 2, 0}));
  gl_.glDrawArrays(4, 0, 3);
  ExpectPayload(Bytes().U32s({4, 0, 3, 0}));  // the records are used up

  gl_.FlushMappedBufferRangeData(1, 2, 8, memory);
  gl_.glFlushMappedBufferRange(1, 2, 8);
  ExpectPayload(Bytes().U32s({1, 2, 8, 2, 8}).Text("....abcd"));
  gl_.glUnmapBuffer(1, 2);
  ExpectPayload(Bytes().U32(2).Null().U32(1));  // the bytes are used up
}

TEST_F(EncoderTest, PointersThatDoNotFitTheirParameterAreRefused) {
  const auto refused = [&](const PointerData* pointer) {
    return Failure([&] { gl_.glGenTextures(1, pointer); }) == CallEncoder::PointerFailMsg;
  };
  EXPECT_TRUE(refused(MadePointer::Array<uint64_t>({1})));
  EXPECT_TRUE(refused(MadePointer::Value(uint8_t{1})));
  PointerData emptied;
  emptied.flags = PointerKindString;
  emptied.count = 3;
  EXPECT_TRUE(refused(&emptied));
  EXPECT_FALSE(refused(MadePointer::Array<int32_t>({1})));
}

TEST_F(EncoderTest, SizesBeyond32BitsAreRefused) {
  const auto tooLarge = CallEncoder::PayloadTooLargeMsg;
  PointerData huge;
  huge.flags = PointerKindArray;
  huge.arrayData = new uint8_t[1];
  huge.count = UINT32_MAX;
  huge.elementSize = 4;
  EXPECT_EQ(Failure([&] { gl_.glGenTextures(1, &huge); }), tooLarge);
  const std::span<const uint8_t> bytes(huge.arrayData, uint64_t{1} << 32);
  EXPECT_EQ(Failure([&] { MadePointer::Array(bytes); }), tooLarge);
}

TEST_F(EncoderTest, SteadyEncodingAllocatesNothing) {
  class Nowhere : public CallSink {
    void EncodedCall(ApiCallType /*id*/, const uint8_t* /*payload*/, uint32_t /*size*/) override {}
  } nowhere;
  GLEncoder gl(&nowhere);
  const MadePointer upload =
      MadePointer::Array(std::span<const uint8_t>(std::vector<uint8_t>(1000)));
  unsigned char memory[100] = {};
  const auto encode = [&] {
    gl.glBindBuffer(1, 2);
    gl.glBufferData(1, 1000, upload, 3);
    gl.VertexAttribPointerData(1, 2, 3, 4, 5, memory, sizeof(memory), 0);
    gl.glDrawArrays(4, 0, 3);
    gl.UnmapBufferData(1, sizeof(memory), memory);
    gl.glUnmapBuffer(1, 2);
  };
  encode();
  const AllocationMeter meter;
  encode();
  EXPECT_EQ(AllocationMeter::Largest(), 0u);
}

}  // namespace
}  // namespace Data
