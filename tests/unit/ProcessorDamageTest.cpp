// The processor in files that lie or break off.
#include "DCAPFileProcessorTest.h"
#include "support/Test.h"

namespace {

using Data::DCAPFileProcessor;

class ProcessorDamageTest : public DCAPFileProcessorTest {};

TEST_P(ProcessorDamageTest, WhatIsNoCaptureOrUnknownIsRefusedBeforeTheFileStarts) {
  const auto closed = ReaderOf(std::vector<uint8_t>(100));
  closed->Close();
  EXPECT_EQ(Run(closed), DCAPFileProcessor::InvalidReaderMsg);
  EXPECT_EQ(Run(std::shared_ptr<Core::DataReader>()), DCAPFileProcessor::InvalidReaderMsg);
  EXPECT_EQ(Run(CaptureBuilder().SetByte(0, 'd')), DCAPFileProcessor::FourCCFailMsg);
  EXPECT_THAT(recorder.events, IsEmpty());
  for (uint32_t type : {3u, 7u}) {
    EXPECT_EQ(Run(CaptureBuilder(type << Data::kOptionCompressionShift)),
              DCAPFileProcessor::CompressionTypeFailMsg);
    EXPECT_THAT(recorder.events, IsEmpty());
  }
}

TEST_P(ProcessorDamageTest, AFileSizeThatDiffersFromTheHeaderIsLogged) {
  actualSize = 40;
  EXPECT_EQ(Run(CaptureBuilder()), "");
  EXPECT_THAT(log.Lines()[0],
              AllOf(StartsWith("2/4 "),
                    testing::EndsWith(
                        " File header size field (32) does not match actual file size (40).")));
}

// The texts by the piece in which the stream breaks off.
TEST_P(ProcessorDamageTest, EveryTruncationEndsWithTheTextOfThePieceThatIsCut) {
  CaptureBuilder capture(kThreads | kLZ4);
  std::vector<std::pair<size_t, std::string>> pieces;
  const auto piece = [&](size_t size, const std::string& text) {
    pieces.emplace_back((pieces.empty() ? 0 : pieces.back().first) + size, text);
  };
  const auto subBlock = [&](size_t descSize) {
    const size_t end = pieces.back().first;
    piece(10, DCAPFileProcessor::SubBlockHeaderFailMsg);
    piece(descSize, DCAPFileProcessor::SubBlockDescFailMsg);
    piece(capture.Size() - end - 10 - descSize, DCAPFileProcessor::SubBlockDataFailMsg);
  };
  piece(32, DCAPFileProcessor::FileHeaderFailMsg);
  for (uint32_t frame : {1u, 2u}) {
    piece(6, DCAPFileProcessor::BlockHeaderFailMsg);
    piece(4, DCAPFileProcessor::FrameNumberFailMsg);
    capture.FrameBlock(frame).Call(1, "abcd");
    subBlock(2);
    capture.MethodCall(1, 2, "efgh");
    subBlock(6);
    capture.CompressedCall(3, std::string(100, 'i'));
    subBlock(6);
    capture.CompressedMethodCall(1, 4, std::string(100, 'j'));
    subBlock(10);
    capture.Metadata(1, 5, "klmn");
    subBlock(4);
    piece(8, DCAPFileProcessor::BlockTrailerFailMsg);
  }
  const std::vector<uint8_t> whole = capture.Finish();
  ASSERT_EQ(pieces.back().first, whole.size());
  const std::vector<std::string> allEvents = EventsOf(capture);

  for (auto [end, cut] = std::pair(whole.begin(), pieces.begin()); end != whole.end(); ++end) {
    const std::vector<uint8_t> start(whole.begin(), end);
    if (start.size() == cut->first) ++cut;
    ASSERT_EQ(Run(ReaderOf(start)), cut->second) << start.size() << " bytes";
    ASSERT_LE(recorder.events.size(), allEvents.size());
    ASSERT_TRUE(std::equal(recorder.events.begin(), recorder.events.end(), allEvents.begin()));
  }
}

TEST_P(ProcessorDamageTest, ABlockTooSmallForWhatItHoldsIsRefused) {
  const auto failure = [this](uint32_t optionMask, uint32_t size) {
    return Run(CaptureBuilder(optionMask).FrameBlock(1).ClaimBlockSize(size));
  };
  EXPECT_EQ(failure(kThreads, 7), DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_EQ(failure(kThreads, 8), DCAPFileProcessor::FrameNumberFailMsg);
  EXPECT_EQ(failure(kThreads, 11), DCAPFileProcessor::FrameNumberFailMsg);
  EXPECT_EQ(failure(Data::kOptionNoTrailers, 0), DCAPFileProcessor::FrameNumberFailMsg);
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "a").ClaimBlockSize(4 + 13 + 9 + 8).Call(2, "beyond");
  EXPECT_EQ(Run(capture), DCAPFileProcessor::SubBlockHeaderFailMsg);
  EXPECT_EQ(LastEvent(), "call 1@0 a");
}

TEST_P(ProcessorDamageTest, AWrongTrailerIsRefusedBeforeTheBlockEnds) {
  CaptureBuilder capture;
  capture.FrameBlock(1).EndBlock();
  EXPECT_EQ(Run(capture.SetByte(capture.Size() - 1, 0xEF)),
            DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_EQ(LastEvent(), "frame 1");
}

TEST_P(ProcessorDamageTest, ASubBlockSmallerThanItsDescriptionIsRefused) {
  const std::pair<uint16_t, uint32_t> kinds[] = {{1, 4}, {2, 6}, {3, 2}, {4, 10}, {5, 6}};
  for (const auto& [type, descSize] : kinds) {
    for (uint32_t size : {0u, descSize - 1}) {
      SCOPED_TRACE(std::to_string(type) + " " + std::to_string(size));
      // The description runs on into what follows, which is there or, then, ends one byte early.
      const uint32_t missing = descSize - size;
      CaptureBuilder capture(kThreads | Data::kOptionNoTrailers);
      capture.FrameBlock(1).SubBlock(type, std::string(size, 'd'));
      capture.OtherBlock(9, "behind").Shrink(12 - missing);
      EXPECT_EQ(Run(capture), DCAPFileProcessor::SubBlockDataFailMsg);
      EXPECT_EQ(Run(capture.Shrink(1)), DCAPFileProcessor::SubBlockDescFailMsg);
    }
  }
}

TEST_P(ProcessorDamageTest, OnlyTheLastFrameMayBeCutShort) {
  CaptureBuilder capture;
  capture.FrameBlock(1).FrameBlock(2).Call(1, "a").Call(2, "b").ClaimSubBlockSize(1000);
  EXPECT_THAT(EventsOf(capture), ElementsAre("file", "block 1", "frame 1", "block end", "block 1",
                                             "frame 2", "call 1@0 a", "file end"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(AllOf(StartsWith("2/4 "), HasSubstr(" Last frame is incomplete."))));
  EXPECT_EQ(Run(capture.FrameBlock(3)), DCAPFileProcessor::SubBlockDataFailMsg);
}

TEST_P(ProcessorDamageTest, AnUnfinishedLastBlockIsReadAsEmpty) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "a").FrameBlock(2).Call(2, "b").Unfinished();
  EXPECT_EQ(Run(capture), DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@0 a"));
}

INSTANTIATE_TEST_SUITE_P(HiddenAndShown, ProcessorDamageTest, testing::Bool());

}  // namespace
