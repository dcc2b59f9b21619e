// The writer against captures laid down byte by byte, and against streams that fail.
#include "Data/Capture/DCAPFileWriter.h"

#include "support/CaptureBuilder.h"
#include "support/MemoryWriter.h"
#include "support/PayloadBuilder.h"
#include "support/Test.h"

namespace Data {
namespace {

constexpr auto kBind = static_cast<ApiCallType>(0x9003);

// Calls `write` with a writer and returns what it made.
template <typename Write>
std::vector<uint8_t> Made(const DCAPWriterOptions& options, Write write) {
  auto memory = std::make_shared<MemoryWriter>();
  DCAPFileWriter writer(memory, options);
  write(writer);
  writer.Close();
  return memory->bytes;
}

DCAPWriterOptions Compressed(CompressionType compression) {
  DCAPWriterOptions options;
  options.compression = compression;
  return options;
}

TEST(DCAPFileWriterTest, WritesEveryKindOfBlockAndSubBlock) {
  const Bytes payload = Bytes().U32(0x8892).U32(7);
  CaptureBuilder expected(kOptionThreadIds | kOptionType2BeforeFirst | 0xAB000030);
  expected.Header().versionMajor = 3;
  expected.Header().versionMinor = 2;
  expected.Header().versionLow = 1;
  for (uint8_t i = 0; i < 8; ++i) expected.Header().reserved[i] = i;
  expected.Type2Block(9).Thread(5).Call(0x9003, payload);
  expected.FrameBlock(10).MethodCall(77, 0x9003, payload).Metadata(2, 1, "text");
  expected.Thread(6).SubBlock(99, "whatever").OtherBlock(1234, "body").FrameBlock(11);

  const DCAPWriterOptions options(expected.Header());
  EXPECT_EQ(Made(options,
                 [&](DCAPFileWriter& writer) {
                   writer.BeginType2Block(9);
                   writer.WriteFunctionCall(5, kBind, payload.Data(), payload.Size());
                   writer.BeginFrame(10);
                   writer.WriteMethodCall(5, 77, kBind, payload.Data(), payload.Size());
                   writer.WriteMetadata(5, 2, 1, Bytes().Text("text").Data(), 4);
                   writer.WriteSubBlock(6, 99, Bytes().Text("whatever").Data(), 8);
                   writer.BeginRawBlock(1234);
                   writer.WriteBytes(Bytes().Text("bo").Data(), 2);
                   writer.WriteBytes(Bytes().Text("dy").Data(), 2);
                   writer.BeginFrame(11);
                 }),
            expected.Finish());
}

TEST(DCAPFileWriterTest, CompressesWhatShrinks) {
  Bytes noise;
  uint32_t state = 1;
  for (int i = 0; i < 200; ++i) noise.U32(state = state * 1664525 + 1013904223);
  const Bytes text = Bytes().Fill(64, 'x');
  for (const CompressionType type : {kCompressionLZ4, kCompressionLZ77}) {
    CaptureBuilder expected(kOptionThreadIds | static_cast<uint32_t>(type)
                                                   << kOptionCompressionShift);
    expected.Header().versionMajor = 1;
    expected.FrameBlock(1).CompressedCall(0x9003, text).CompressedMethodCall(5, 0x9003, text);
    expected.Call(0x9003, noise).Call(0x9003, Bytes().Fill(63, 'x')).Metadata(1, 1, text);
    EXPECT_EQ(Made(Compressed(type),
                   [&](DCAPFileWriter& writer) {
                     writer.BeginFrame(1);
                     writer.WriteFunctionCall(0, kBind, text.Data(), 64);
                     writer.WriteMethodCall(0, 5, kBind, text.Data(), 64);
                     writer.WriteFunctionCall(0, kBind, noise.Data(), noise.Size());
                     writer.WriteFunctionCall(0, kBind, text.Data(), 63);
                     writer.WriteMetadata(0, 1, 1, text.Data(), 64);
                   }),
              expected.Finish());
  }
}

TEST(DCAPFileWriterTest, RefusesMisuseAndStaysUsable) {
  auto memory = std::make_shared<MemoryWriter>();
  DCAPFileWriter writer(memory, {});
  const uint8_t byte = 0;
  EXPECT_EQ(Failure([&] { writer.WriteSubBlock(0, 3, &byte, 1); }), DCAPFileWriter::NoBlockMsg);
  writer.BeginRawBlock(50);
  EXPECT_EQ(Failure([&] { writer.WriteMetadata(0, 1, 1, &byte, 1); }), DCAPFileWriter::NoBlockMsg);
  writer.BeginFrame(1);
  EXPECT_EQ(Failure([&] { writer.WriteBytes(&byte, 1); }), DCAPFileWriter::NoBlockMsg);
  writer.Close();
  writer.Close();
  EXPECT_EQ(Failure([&] { writer.BeginFrame(2); }), DCAPFileWriter::ClosedMsg);
  EXPECT_EQ(Failure([&] { writer.WriteSubBlock(0, 3, &byte, 1); }), DCAPFileWriter::NoBlockMsg);
  EXPECT_EQ(memory->bytes, Made({}, [](DCAPFileWriter& other) {
              other.BeginRawBlock(50);
              other.BeginFrame(1);
            }));

  EXPECT_EQ(Failure([] { DCAPFileWriter none(nullptr, {}); }), DCAPFileWriter::InvalidWriterMsg);
  EXPECT_EQ(Failure([&] { DCAPFileWriter(memory, Compressed(static_cast<CompressionType>(3))); }),
            DCAPFileWriter::CompressionTypeFailMsg);
}

// Streams that store nothing ----------------------------------------------------------------------

// Counts the bytes, remembers the patches, and can run full.
class CountingWriter : public Core::DataWriter {
 public:
  bool IsValid() const override { return true; }
  uint64_t Write(const void* /*buffer*/, uint64_t size) override {
    if (written + size > capacity) return 0;
    written += size;
    return size;
  }
  bool Flush() override {
    ++flushes;
    return flushes <= allowedFlushes;
  }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    if (patches.size() >= allowedPatches) return 0;
    std::string bytes(static_cast<const char*>(buffer), size);
    patches.emplace_back(offset, bytes);
    return size;
  }

  uint64_t written = 0;
  uint64_t capacity = UINT64_MAX;
  int flushes = 0;
  int allowedFlushes = INT32_MAX;
  size_t allowedPatches = SIZE_MAX;
  std::vector<std::pair<uint64_t, std::string>> patches;
};

template <typename... Values>
std::string Raw(Values... values) {
  std::string bytes;
  (bytes.append(reinterpret_cast<const char*>(&values), sizeof(values)), ...);
  return bytes;
}

constexpr uint32_t kGiB = 1u << 30;
const uint8_t kUnread[1] = {};  // stands for the payloads that a CountingWriter does not look at

TEST(DCAPFileWriterTest, CountsBeyond4GiB) {
  auto counter = std::make_shared<CountingWriter>();
  DCAPFileWriter writer(counter, {});
  for (uint32_t frame = 1; frame <= 3; ++frame) {
    writer.BeginFrame(frame);
    for (int i = 0; i < 3; ++i) writer.WriteFunctionCall(1, kBind, kUnread, kGiB);
  }
  writer.Close();
  const uint64_t block = 3 * (uint64_t{kGiB} + 12) + 4 + 8;
  const auto size = static_cast<uint32_t>(block);
  EXPECT_EQ(counter->written, 32 + 3 * (block + 6));
  EXPECT_THAT(counter->patches,
              ElementsAre(Pair(34, Raw(size)), Pair(34 + block + 6, Raw(size)),
                          Pair(34 + 2 * (block + 6), Raw(size)),
                          Pair(20, Raw(uint32_t{3}, uint64_t{32 + 3 * (block + 6)}))));
}

TEST(DCAPFileWriterTest, RefusesWhatABlockCannotHoldBeforeWritingAnyOfIt) {
  auto counter = std::make_shared<CountingWriter>();
  DCAPFileWriter writer(counter, {});
  writer.BeginFrame(1);
  writer.WriteFunctionCall(1, kBind, kUnread, UINT32_MAX - 200);
  const uint64_t before = counter->written;
  // 176 bytes are left: 200 less 4 of the number, 12 of the first call, 8 of the trailer.
  const auto tooLarge = DCAPFileWriter::BlockTooLargeMsg;
  EXPECT_EQ(Failure([&] { writer.WriteMetadata(1, 1, 1, kUnread, 163); }), tooLarge);
  EXPECT_EQ(Failure([&] { writer.WriteMethodCall(1, 0, kBind, kUnread, 161); }), tooLarge);
  EXPECT_EQ(Failure([&] { writer.WriteSubBlock(1, 3, kUnread, UINT32_MAX); }), tooLarge);
  EXPECT_EQ(counter->written, before);
  writer.WriteMetadata(1, 1, 1, kUnread, 162);
  writer.EndBlock();
  EXPECT_THAT(counter->patches, ElementsAre(Pair(34, Raw(UINT32_MAX))));

  writer.BeginRawBlock(8);
  writer.WriteBytes(kUnread, UINT32_MAX);
  EXPECT_EQ(Failure([&] { writer.WriteBytes(kUnread, 1); }), tooLarge);
}

TEST(DCAPFileWriterTest, WhatIsTooLargeToBeCompressedIsStored) {
  auto counter = std::make_shared<CountingWriter>();
  DCAPFileWriter writer(counter, Compressed(kCompressionLZ4));
  writer.BeginFrame(1);
  writer.WriteFunctionCall(1, kBind, kUnread, 0x80000000);
  EXPECT_EQ(counter->written, 32 + 6 + 4 + 12 + uint64_t{0x80000000});
}

TEST(DCAPFileWriterTest, AFailedWriteIsTheEnd) {
  const auto write = [](const std::shared_ptr<CountingWriter>& counter) {
    DCAPFileWriter writer(counter, {});
    const auto record = [&] {
      writer.BeginFrame(1);
      writer.WriteFunctionCall(1, kBind, kUnread, 100000);
      writer.Close();
    };
    EXPECT_EQ(Failure(record), DCAPFileWriter::WriteFailMsg);
    EXPECT_EQ(Failure([&] { writer.BeginFrame(2); }), DCAPFileWriter::WriteFailMsg);
    EXPECT_EQ(Failure([&] { writer.Close(); }), DCAPFileWriter::WriteFailMsg);
  };
  for (const uint64_t capacity : {40u, 60u, 100000u, 100058u}) {
    auto counter = std::make_shared<CountingWriter>();
    counter->capacity = capacity;
    write(counter);
    EXPECT_TRUE(counter->patches.empty()) << capacity;
  }
  for (const size_t patches : {0u, 1u}) {
    auto counter = std::make_shared<CountingWriter>();
    counter->allowedPatches = patches;
    write(counter);
  }
  for (const int flushes : {1, 2, 3, 4}) {
    auto counter = std::make_shared<CountingWriter>();
    counter->allowedFlushes = flushes;
    write(counter);
  }
}

}  // namespace
}  // namespace Data
