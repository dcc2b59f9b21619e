// The reader that shows everything: on captures of every make, and on damaged ones.
#include "Core/MemoryReader.h"
#include "Data/Capture/DCAPBlockReader.h"
#include "Data/DCAPFileProcessor.h"

#include "support/AllocationMeter.h"
#include "support/CaptureBuilder.h"
#include "support/CopyCapture.h"
#include "support/RandomCapture.h"
#include "support/Test.h"

namespace Data {
namespace {

std::shared_ptr<Core::DataReader> ReaderOf(const std::vector<uint8_t>& bytes) {
  return std::make_shared<Core::MemoryReader>(std::vector(bytes));
}

// What ends the reading of all calls of a capture; empty for a sound one.
std::string FailureOf(const std::shared_ptr<Core::DataReader>& capture) {
  return Failure([&] {
    DCAPBlockReader reader(capture);
    StoredSubBlock subBlock{};
    while (reader.NextBlock()) {
      while (reader.NextSubBlock(&subBlock)) {
        if (subBlock.IsCall()) reader.ReadCall(subBlock);
      }
    }
  });
}
std::string FailureOf(const CaptureBuilder& capture) {
  return FailureOf(ReaderOf(capture.Finish()));
}

TEST(DCAPBlockReaderTest, ShowsEverythingThereIs) {
  for (uint32_t seed = 0; seed < 500; ++seed) {
    const std::vector<uint8_t> bytes = RandomCapture(seed).Finish();
    ASSERT_EQ(CopyCapture(bytes), bytes) << seed;
  }
}

TEST(DCAPBlockReaderTest, ShowsWhatProcessorsSkipAndSubBlocksLargerThanItsWindow) {
  CaptureBuilder capture;
  capture.OtherBlock(7, "").FrameBlock(1).SubBlock(9, "unknown").Thread(3).SubBlock(0, "");
  capture.Type2Block(5).SubBlock(6, "more").OtherBlock(1000, std::string(600000, 'x'));
  capture.FrameBlock(2).CompressedCall(1, "stored").StoredCall(2, 0, "").SubBlock(3, "x");
  capture.FrameBlock(1).Call(1, std::string(5000000, 'a')).Call(2, "small");
  capture.Call(3, std::string(700000, 'b')).FrameBlock(2).Call(4, std::string(100, 'c'));
  EXPECT_EQ(CopyCapture(capture.Finish()), capture.Finish());
}

TEST(DCAPBlockReaderTest, SkipsWhatNobodyAsksForAndContinuesAtAnyBlock) {
  CaptureBuilder capture;
  capture.FrameBlock(11).Call(1, "one").Call(2, "two").OtherBlock(9, "body").FrameBlock(12);
  DCAPBlockReader reader(ReaderOf(capture.Call(3, "three").Finish()));
  StoredSubBlock subBlock{};
  std::vector<uint64_t> begins;
  while (reader.NextBlock()) begins.push_back(reader.BlockBegin());
  ASSERT_EQ(begins.size(), 3u);
  reader.ContinueAt(begins[0]);
  EXPECT_TRUE(reader.NextBlock());
  EXPECT_EQ(reader.BlockEnd(), begins[1]);
  EXPECT_TRUE(reader.NextSubBlock(&subBlock));
  EXPECT_EQ(DCAPBlockReader::CallId(subBlock), static_cast<ApiCallType>(1));
  EXPECT_THAT(reader.NextPiece(), IsEmpty());
  EXPECT_TRUE(reader.NextBlock());
  for (const bool jump : {false, true}) {
    if (jump) reader.ContinueAt(begins[2]);
    EXPECT_FALSE(reader.NextSubBlock(&subBlock));
    EXPECT_TRUE(reader.NextBlock());
    EXPECT_EQ(reader.FrameNumber(), 12u);
    EXPECT_TRUE(reader.NextSubBlock(&subBlock));
    EXPECT_EQ(DCAPBlockReader::CallId(subBlock), static_cast<ApiCallType>(3));
    EXPECT_FALSE(reader.NextSubBlock(&subBlock));
    EXPECT_FALSE(reader.NextSubBlock(&subBlock));
    EXPECT_FALSE(reader.NextBlock());
    EXPECT_FALSE(reader.NextBlock());
  }
  EXPECT_THROW(reader.ContinueAt(UINT64_MAX), Core::BasicException);
}

TEST(DCAPBlockReaderTest, DescriptionsAreThoseOfWholeSubBlocks) {
  for (uint32_t seed = 0; seed < 100; ++seed) {
    const std::vector<uint8_t> bytes = RandomCapture(seed).Finish();
    DCAPBlockReader whole(ReaderOf(bytes));
    DCAPBlockReader desc(ReaderOf(bytes));
    StoredSubBlock a{};
    StoredSubBlock b{};
    while (whole.NextBlock() && desc.NextBlock()) {
      while (whole.NextSubBlock(&a)) {
        ASSERT_TRUE(desc.NextSubBlockDesc(&b)) << seed;
        ASSERT_EQ(std::tie(a.type, a.size, a.threadId), std::tie(b.type, b.size, b.threadId));
        ASSERT_EQ(DCAPBlockReader::CallId(a), DCAPBlockReader::CallId(b));
        ASSERT_EQ(desc.InflatedSize(b),
                  a.IsCall() ? whole.ReadCall(a)->size : whole.InflatedSize(a));
      }
      ASSERT_FALSE(desc.NextSubBlockDesc(&b));
    }
    ASSERT_FALSE(desc.NextBlock());
  }
}

TEST(DCAPBlockReaderTest, DescriptionsTellDecompressedSizes) {
  CaptureBuilder capture(kCompressionLZ77 << kOptionCompressionShift);
  capture.FrameBlock(1).CompressedCall(5, std::string(1000, 'x')).StoredCall(6, 12345, "");
  capture.StoredCall(7, 0, "bad").Call(8, "four").SubBlock(6, "unknown").SubBlock(5, "short");
  DCAPBlockReader reader(ReaderOf(capture.Finish()));
  StoredSubBlock subBlock{};
  reader.NextBlock();
  for (const uint32_t size : {1000u, 0u, 0u, 4u, 7u}) {
    ASSERT_TRUE(reader.NextSubBlockDesc(&subBlock));
    EXPECT_EQ(reader.InflatedSize(subBlock), size);
  }
  ASSERT_TRUE(reader.NextSubBlockDesc(&subBlock));
  EXPECT_THROW(static_cast<void>(reader.InflatedSize(subBlock)), Core::BasicException);
}

TEST(DCAPBlockReaderTest, DecompressesCallsAsProcessorsDo) {
  CaptureBuilder capture(kCompressionLZ4 << kOptionCompressionShift);
  const std::string text(1000, 'x');
  capture.FrameBlock(1).CompressedCall(5, text).CompressedMethodCall(77, 6, text).Call(7, text);
  capture.StoredCall(8, 0, "dropped").StoredCall(9, 1000, "").MethodCall(78, 10, "plain");
  DCAPBlockReader reader(ReaderOf(capture.Finish()));
  StoredSubBlock subBlock{};
  std::vector<std::string> calls;
  reader.NextBlock();
  while (reader.NextSubBlock(&subBlock)) {
    const auto call = reader.ReadCall(subBlock);
    calls.push_back(!call
                        ? "none"
                        : (call->isMethod ? std::to_string(call->desc.objectValue) + "." : "") +
                              std::to_string(call->desc.callId) + " " + std::to_string(call->size));
    EXPECT_TRUE(!call ||
                call->desc.callId == static_cast<uint16_t>(*DCAPBlockReader::CallId(subBlock)));
  }
  EXPECT_THAT(calls, ElementsAre("5 1000", "77.6 1000", "7 1000", "none", "9 0", "78.10 5"));
}

TEST(DCAPBlockReaderTest, FailsWithTheTextsOfTheProcessor) {
  using Texts = DCAPFileProcessor;
  const auto frame = [] { return CaptureBuilder().FrameBlock(1).Call(1, "payload"); };
  EXPECT_EQ(FailureOf(std::shared_ptr<Core::DataReader>()), Texts::InvalidReaderMsg);
  EXPECT_EQ(FailureOf(ReaderOf({})), Texts::FileHeaderFailMsg);
  EXPECT_EQ(FailureOf(frame().SetByte(0, 'X')), Texts::FourCCFailMsg);
  EXPECT_EQ(FailureOf(CaptureBuilder(3 << kOptionCompressionShift)), Texts::CompressionTypeFailMsg);
  EXPECT_EQ(FailureOf(frame().Shrink(8)), Texts::BlockTrailerFailMsg);
  EXPECT_EQ(FailureOf(frame().SetByte(61, 0)), Texts::BlockTrailerMissingMsg);
  EXPECT_EQ(FailureOf(frame().ClaimBlockSize(7)), Texts::BlockTrailerMissingMsg);
  EXPECT_EQ(FailureOf(frame().ClaimBlockSize(11)), Texts::FrameNumberFailMsg);
  EXPECT_EQ(FailureOf(frame().ClaimBlockSize(21)), Texts::SubBlockHeaderFailMsg);
  EXPECT_EQ(FailureOf(frame().ClaimSubBlockSize(10)), Texts::SubBlockDataFailMsg);
  EXPECT_EQ(FailureOf(frame().ClaimSubBlockSize(1).ClaimBlockSize(23)), Texts::SubBlockDataFailMsg);
  EXPECT_EQ(FailureOf(CaptureBuilder(1 << kOptionCompressionShift)
                          .FrameBlock(1)
                          .StoredCall(1, 100, "no LZ4 unit")),
            Texts::DecompressFailMsg);
  // Three bytes of a further block header.
  EXPECT_EQ(FailureOf(frame().OtherBlock(9, "").Shrink(3).ClaimFileSize(0)), "");
}

TEST(DCAPBlockReaderTest, AReadErrorIsNotTheEnd) {
  struct BadDisk : Core::MemoryReader {
    using MemoryReader::MemoryReader;
    unsigned long Read(void* buffer, unsigned long size) override {
      return Tell() < 69 ? MemoryReader::Read(buffer, size) : 0;
    }
  };
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "payload").EndBlock();
  ASSERT_EQ(capture.Size(), 69u);
  EXPECT_EQ(FailureOf(std::make_shared<BadDisk>(capture.FrameBlock(2).ClaimFileSize(0).Finish())),
            DCAPFileProcessor::BlockHeaderFailMsg);
}

TEST(DCAPBlockReaderTest, AllocatesNothingOnTheWordOfAFile) {
  const AllocationMeter meter(8 << 20);
  CaptureBuilder large;
  large.FrameBlock(1).Call(1, "payload").ClaimSubBlockSize(0xFFFFFF00).ClaimBlockSize(0xFFFFFFF0);
  EXPECT_EQ(FailureOf(large), DCAPFileProcessor::SubBlockDataFailMsg);
  CaptureBuilder bomb(kCompressionLZ4 << kOptionCompressionShift);
  bomb.FrameBlock(1).StoredCall(1, 0xFFFFFFFF, "small");
  EXPECT_EQ(FailureOf(bomb), DCAPFileProcessor::DecompressFailMsg);
}

}  // namespace
}  // namespace Data
