// Payloads on their way through the processor: compressed, large, far, and at the ends of windows.
#include "Core/StdioReader.h"

#include "DCAPFileProcessorTest.h"
#include "support/AllocationMeter.h"
#include "support/SparseReader.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace {

using Data::DCAPFileProcessor;

class ProcessorPayloadTest : public DCAPFileProcessorTest {};

TEST_P(ProcessorPayloadTest, CompressedCallsLookLikePlainOnes) {
  const std::string text(5000, 'z');
  for (const auto& [option, name] : {std::pair(kLZ4, "LZ4"), std::pair(kLZ77, "LZ77")}) {
    CaptureBuilder capture(kThreads | option);
    capture.FrameBlock(1).Thread(7).Call(2, "plain").CompressedCall(1, text);
    capture.CompressedMethodCall(42, 3, text + "!");
    EXPECT_LT(capture.Size(), text.size());
    EXPECT_THAT(ContentsOf(capture), ElementsAre("frame 1", "call 2@7 plain", "call 1@7 " + text,
                                                 "method 42.3@7 " + text + "!"));
    EXPECT_EQ(recorder.lastType, Data::kSubBlockMethodCall);
    EXPECT_EQ(recorder.lastSize, text.size() + 1 + 6);
    EXPECT_THAT(log.Messages(),
                ElementsAre(std::string("DCAP file compressed with ") + name + "."));
    EXPECT_THAT(log.Lines()[0], StartsWith("3/3 "));
  }
}

TEST_P(ProcessorPayloadTest, InAnUncompressedFileCompressedCallsPassAsTheyStand) {
  EXPECT_THAT(ContentsOf(CaptureBuilder().FrameBlock(1).Thread(7).StoredCall(1, 900, "raw")),
              ElementsAre("frame 1", "call 1@7 raw"));
  EXPECT_EQ(recorder.lastType, Data::kSubBlockFunctionCall);
  EXPECT_EQ(recorder.lastSize, 902u);
  ContentsOf(CaptureBuilder().FrameBlock(1).StoredCall(1, 0xFFFFFFFE, ""));
  EXPECT_EQ(recorder.lastSize, 0xFFFFFFFF) << "it never wraps";
}

TEST_P(ProcessorPayloadTest, AnEmptyCompressedPayloadPassesEmpty) {
  EXPECT_THAT(
      ContentsOf(
          CaptureBuilder(kThreads | kLZ4).FrameBlock(1).StoredCall(1, 10, "").StoredCall(2, 0, "")),
      ElementsAre("frame 1", "call 1@0 ", "call 2@0 "));
}

TEST_P(ProcessorPayloadTest, ACompressedCallOfSizeZeroIsDroppedAndItsThreadNotCounted) {
  CaptureBuilder capture(kThreads | kLZ4);
  capture.FrameBlock(1).Thread(9).StoredCall(1, 0, "junk").Thread(7).Call(2, "kept");
  processor->threadFilter = {1};
  EXPECT_THAT(ContentsOf(capture), ElementsAre("frame 1", "call 2@7 kept"));
  EXPECT_THAT(log.Lines().back(),
              AllOf(StartsWith("1/3 "),
                    HasSubstr("File contains a compressed API call block reporting an invalid "
                              "decompressed size of 0.  File may be corrupt.")));
}

TEST_P(ProcessorPayloadTest, APayloadThatDoesNotYieldItsStatedSizeEndsProcessing) {
  for (uint32_t stated : {1u, 4999u, 5001u, 0xFFFFFFFFu}) {
    CaptureBuilder capture(kThreads | kLZ4);
    capture.FrameBlock(1).CompressedCall(1, std::string(5000, 'z'));
    const size_t sizeField = 32 + 6 + 4 + 10 + 2;
    for (size_t i = 0; i < 4; ++i) {
      capture.SetByte(sizeField + i, static_cast<uint8_t>(stated >> (8 * i)));
    }
    const AllocationMeter meter;
    EXPECT_EQ(Run(capture), DCAPFileProcessor::DecompressFailMsg) << stated;
    EXPECT_LT(AllocationMeter::Largest(), kMiB);
  }
}

TEST_P(ProcessorPayloadTest, PayloadsAreWholeWhereverReadingAheadEnds) {
  CaptureBuilder capture;
  std::vector<std::string> expected = {"frame 1"};
  capture.FrameBlock(1);
  for (size_t i = 0; i < 6000; ++i) {
    // Mostly small, so that ends fall on every part of a sub-block; a few larger than any window.
    const size_t size = i % 1500 == 1499 ? 40'000 + 150 * i : i * 37 % 211;
    const std::string payload(size, static_cast<char>('a' + i % 26));
    capture.Call(static_cast<uint16_t>(i), payload);
    expected.push_back("call " + std::to_string(i) + "@0 " + payload);
  }
  EXPECT_TRUE(ContentsOf(capture) == expected);
}

TEST_P(ProcessorPayloadTest, MetadataPayloadsAreAlignedForWords) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Metadata(1, 1, "a").Metadata(1, 1, "ab").Metadata(1, 1, "");
  capture.Metadata(1, 1, "abc").Metadata(1, 1, std::string(100'001, 'a')).Metadata(1, 1, "end");
  const std::vector<std::string> contents = ContentsOf(capture);  // the recorder checks
  EXPECT_EQ(contents.size(), 7u);
  EXPECT_EQ(contents.back(), "metadata 1.1@0 end");
}

TEST_P(ProcessorPayloadTest, PositionsGoBeyond4GiB) {
  CaptureBuilder head;
  head.OtherBlock(9, "").OtherBlock(9, "").FrameBlock(3).Call(1, "far").EndBlock();
  const size_t frameStart = 32 + 6 + 6;
  const uint64_t skipped = 0xFFFFFFF0;
  const std::vector<uint8_t> bytes = head.ClaimFileSize(head.Size() + 2 * skipped).Finish();
  const auto at = [&](size_t offset) { return bytes.begin() + static_cast<long>(offset); };
  auto reader = std::make_shared<SparseReader>(bytes.size() + 2 * skipped);
  std::vector<uint8_t> start(at(0), at(38));
  for (size_t i = 0; i < 4; ++i) start[34 + i] = static_cast<uint8_t>(skipped >> (8 * i));
  reader->Lay(0, start);
  reader->Lay(38 + skipped, {start.begin() + 32, start.end()});
  reader->Lay(frameStart + 2 * skipped, {at(frameStart), bytes.end()});
  processor->loopFrameNumber = 3;
  processor->loopRepeatCount = 2;
  EXPECT_EQ(Run(reader), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 9", "block 9", "block 1", "frame 3",
                                           "call 1@0 far", "block end", "block 1", "frame 3",
                                           "call 1@0 far", "block end", "file end"));
}

TEST_P(ProcessorPayloadTest, MemoryForALargePayloadFollowsItsBytes) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "").ClaimSubBlockSize(0xFFFFFF00).ClaimBlockSize(0xFFFFFFF0);
  auto reader = std::make_shared<SparseReader>(5 * kMiB);
  reader->Lay(0, capture.Finish());
  const AllocationMeter meter;
  EXPECT_EQ(Run(reader), DCAPFileProcessor::SubBlockDataFailMsg);
  EXPECT_LE(AllocationMeter::Largest(), 8 * kMiB);
}

TEST_P(ProcessorPayloadTest, ALargePayloadArrivesWhole) {
  std::string payload(5 * kMiB + 123, ' ');
  for (size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(i * 31 >> 8);
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "small").Call(2, payload).Metadata(3, 3, payload).Call(4, "small");
  EXPECT_TRUE(ContentsOf(capture.FrameBlock(2)) ==
              std::vector<std::string>({"frame 1", "call 1@0 small", "call 2@0 " + payload,
                                        "metadata 3.3@0 " + payload, "call 4@0 small", "frame 2"}));
}

// The file's reader shows payloads up to 1 MiB.
TEST_P(ProcessorPayloadTest, AFileReadsAsMemoryDoesWhateverTheSizesOfItsPayloads) {
  CaptureBuilder capture;
  std::mt19937 random(1);
  for (uint32_t frame = 1; frame <= 20; ++frame) {
    capture.FrameBlock(frame);
    for (int call = 0; call < 6; ++call) {
      std::string payload(random() % (1u << (4 + random() % 18)), ' ');
      for (char& c : payload) c = static_cast<char>(random());
      capture.Call(7, payload);
    }
  }
  const TemporaryFolder folder;
  capture.WriteTo(folder / "capture.dcap");
  EXPECT_EQ(Run(std::make_shared<Core::StdioReader>(folder / "capture.dcap")), "");
  const std::vector<std::string> events = recorder.events;
  EXPECT_TRUE(EventsOf(capture) == events);
}

TEST_P(ProcessorPayloadTest, MemoryThatIsNotGrantedLeavesAProcessorThatCanBeDestroyed) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, std::string(3 * kMiB, 'x'));
  Open(std::make_shared<HidingReader>(capture.Finish()));
  const AllocationMeter meter(2 * kMiB);
  EXPECT_THROW(processor->ProcessNextBlock(), std::bad_alloc);
  EXPECT_EQ(AllocationMeter::Largest(), 3 * kMiB + 2);
}

INSTANTIATE_TEST_SUITE_P(HiddenAndShown, ProcessorPayloadTest, testing::Bool());

}  // namespace
