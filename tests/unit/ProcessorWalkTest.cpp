// The way of the processor through a sound capture.
#include "DCAPFileProcessorTest.h"
#include "support/Test.h"

namespace {

class ProcessorWalkTest : public DCAPFileProcessorTest {};

TEST_P(ProcessorWalkTest, EveryKindOfSubBlockReachesTheConsumerInFileOrder) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(7).Call(3, "abcd").MethodCall(42, 5, "e").Metadata(2, 1, "text");
  EXPECT_THAT(EventsOf(capture.FrameBlock(2).Thread(8).Call(4, "")),
              ElementsAre("file", "block 1", "frame 1", "call 3@7 abcd", "method 42.5@7 e",
                          "metadata 2.1@7 text", "block end", "block 1", "frame 2", "call 4@8 ",
                          "block end", "file end"));
  EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_P(ProcessorWalkTest, ACaptureOfNothingButAHeaderEndsAtOnceWithoutFileEnd) {
  EXPECT_THAT(EventsOf(CaptureBuilder()), ElementsAre("file"));
  EXPECT_THAT(log.Lines(), ElementsAre(AllOf(StartsWith("4/3 src/Data/DCAPFileProcessor:"),
                                             HasSubstr("Reading past end of DCAP file."))));
}

TEST_P(ProcessorWalkTest, WithoutThreadIdsSubBlockHeadersAreShortAndTheThreadIsZero) {
  EXPECT_THAT(
      ContentsOf(CaptureBuilder(0).FrameBlock(1).Thread(7).Call(3, "abcd").Metadata(1, 2, "t")),
      ElementsAre("frame 1", "call 3@0 abcd", "metadata 1.2@0 t"));
}

TEST_P(ProcessorWalkTest, WithoutTrailersBlocksEndWithTrailerZero) {
  EXPECT_THAT(
      EventsOf(CaptureBuilder(Data::kOptionNoTrailers).FrameBlock(1).Call(3, "abcd")),
      ElementsAre("file", "block 1", "frame 1", "call 3@0 abcd", "block end 0", "file end"));
}

TEST_P(ProcessorWalkTest, TheHeaderIsHandedOnAsReadAndGivesTheVersion) {
  CaptureBuilder capture(0xA5000000 | 0xB0 | kThreads);
  capture.Header().versionMajor = 3;
  capture.Header().versionMinor = 9;
  capture.Header().reserved[7] = 0x77;
  EXPECT_EQ(Run(capture), "");
  EXPECT_EQ(processor->GetFileVersionMajor(), 3);
  EXPECT_EQ(processor->GetFileVersionMinor(), 9);
  EXPECT_EQ(+recorder.fileHeader.optionMask, 0xA50000F0u);
  EXPECT_EQ(recorder.fileHeader.reserved[7], 0x77);
}

TEST_P(ProcessorWalkTest, ASecondInitializeReturnsTrueAndChangesNothing) {
  const auto reader = ReaderOf(CaptureBuilder().FrameBlock(1).Finish());
  EXPECT_FALSE(processor->Initialize(&recorder, reader, 0));
  processor->processNextType2Block = true;
  EXPECT_TRUE(processor->Initialize(nullptr, nullptr, 0));
  EXPECT_TRUE(processor->processNextType2Block);
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(ProcessorWalkTest, InitializeKeepsTheSettingsButClearsTheOneShotRequest) {
  processor->loopFrameNumber = 4;
  processor->threadFilter = {2};
  processor->processNextType2Block = true;
  Open(CaptureBuilder());
  EXPECT_EQ(processor->loopFrameNumber, 4u);
  EXPECT_THAT(processor->threadFilter, ElementsAre(2u));
  EXPECT_FALSE(processor->processNextType2Block);
}

TEST_P(ProcessorWalkTest, ProcessNextFrameStopsAfterEachFrameAndPassesOtherBlocks) {
  CaptureBuilder capture;
  Open(capture.FrameBlock(1).OtherBlock(9, "xyz").Type2Block(0).FrameBlock(2).OtherBlock(9, ""));
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1"));
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "frame 2"));
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_TRUE(processor->AtEof());
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(ProcessorWalkTest, AProcessorWithoutAReaderIsAtItsEnd) {
  EXPECT_TRUE(processor->AtEof());
  EXPECT_FALSE(processor->ProcessNextBlock());
  EXPECT_THROW(processor->ContinueAt(32, 0), Core::BasicException);
}

TEST_P(ProcessorWalkTest, AtEofInsideACallIsTrueOnlyOnceAllIsProcessed) {
  struct Asker : RecordingConsumer {
    void ProcessFunctionCall(const Data::SubBlockHeader&, const Data::FunctionCallDesc&,
                             const unsigned char*, unsigned int) override {
      events.emplace_back(asked.AtEof() ? "at end" : "more");
    }
    Data::DCAPFileProcessor asked;
  };
  for (bool finished : {true, false}) {
    CaptureBuilder capture(Data::kOptionNoTrailers);
    capture.FrameBlock(1).Call(1, "ab").Call(2, "cd");
    if (!finished) capture.ClaimFileSize(0);
    Asker asker;
    asker.asked.Initialize(&asker, ReaderOf(capture.Finish()), 0);
    EXPECT_FALSE(asker.asked.ProcessNextBlock());
    EXPECT_THAT(asker.Contents(), ElementsAre("frame 1", "more", "at end"));
  }
}

TEST_P(ProcessorWalkTest, ContinuesAtAnyBlockAsIfItHadComeThere) {
  CaptureBuilder capture(kThreads | Data::kOptionType2BeforeFirst);
  std::vector<size_t> begins;
  const auto block = [&](CaptureBuilder& begun) { begins.push_back(begun.EndBlock().Size()); };
  block(capture);
  block(capture.Type2Block(1).Call(1, "set-up"));
  block(capture.FrameBlock(0).Call(2, std::string(40000, 'x')));
  block(capture.Type2Block(2).Call(3, "set-up still"));
  block(capture.FrameBlock(7).Call(4, "four"));
  block(capture.Type2Block(3).Call(5, "skipped"));
  capture.OtherBlock(9, "other").FrameBlock(8).Call(6, "six");
  const std::vector<uint32_t> numbersBefore = {0, 0, 0, 0, 7, 7};
  const std::vector<ptrdiff_t> eventsBefore = {0, 2, 4, 6, 8, 8};
  const std::vector<std::string> whole = ContentsOf(capture);
  for (size_t i = 0; i < begins.size(); ++i) {
    Renew();
    Open(capture);
    processor->ProcessNextBlock();
    processor->ContinueAt(begins[i], numbersBefore[i]);
    EXPECT_EQ(processor->Position(), begins[i]);
    recorder.events.clear();
    while (processor->ProcessNextBlock()) {
    }
    EXPECT_EQ(Contents(), std::vector<std::string>(whole.begin() + eventsBefore[i], whole.end()));
    EXPECT_EQ(LastEvent(), "file end");
    EXPECT_THROW(processor->ContinueAt(UINT64_MAX, 0), Core::BasicException);
  }
}

// ---- Type-2 and unknown blocks, unknown sub-blocks.

TEST_P(ProcessorWalkTest, Type2BlocksPassWhenAskedForAndUntilTheFirstFrameWhenBit12SaysSo) {
  CaptureBuilder capture;
  EXPECT_THAT(EventsOf(capture.Type2Block(5).Call(1, "skip").FrameBlock(1).Call(2, "keep")),
              ElementsAre("file", "block 2", "block 1", "frame 1", "call 2@0 keep", "block end",
                          "file end"));
  Renew();
  Open(capture.Type2Block(6).Call(1, "one").Type2Block(7).Call(1, "two"));
  for (const bool asked : {false, false, true, false}) {
    processor->processNextType2Block = asked;
    processor->ProcessNextBlock();
    EXPECT_FALSE(processor->processNextType2Block);
  }
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 2@0 keep", "frame 6", "call 1@0 one"));
  EXPECT_EQ(LastEvent(), "file end");
  EXPECT_THAT(ContentsOf(CaptureBuilder(kThreads | Data::kOptionType2BeforeFirst)
                             .Type2Block(5)
                             .Type2Block(6)
                             .FrameBlock(1)
                             .Type2Block(7)),
              ElementsAre("frame 5", "frame 6", "frame 1"));
}

TEST_P(ProcessorWalkTest, BlocksAndSubBlocksOfUnknownTypeAreSkippedWithALogLine) {
  EXPECT_THAT(
      EventsOf(CaptureBuilder().OtherBlock(0, "").OtherBlock(40000, "noise").FrameBlock(1)),
      ElementsAre("file", "block 0", "block 40000", "block 1", "frame 1", "block end", "file end"));
  EXPECT_THAT(log.Messages(), ElementsAre("Skipping unrecognized block type 0.",
                                          "Skipping unrecognized block type 40000."));
  EXPECT_THAT(log.Lines(), testing::Each(StartsWith("2/3 ")));
  CaptureBuilder capture;
  capture.FrameBlock(1).SubBlock(6, "noise").Call(1, "a").SubBlock(0, "").Call(2, "b");
  capture.SubBlock(65535, std::string(300'000, 'x')).Call(3, "c").FrameBlock(2);
  EXPECT_THAT(ContentsOf(capture),
              ElementsAre("frame 1", "call 1@0 a", "call 2@0 b", "call 3@0 c", "frame 2"));
  EXPECT_THAT(log.Messages(), ElementsAre("Skipping unrecognized subblock type 6.",
                                          "Skipping unrecognized subblock type 0.",
                                          "Skipping unrecognized subblock type 65535."));
  EXPECT_THAT(log.Lines(), testing::Each(StartsWith("2/3 ")));
}

TEST_P(ProcessorWalkTest, ASkipThatLeavesTheFileOrAnyInAnUnfinishedOneGoesToItsEnd) {
  EXPECT_THAT(EventsOf(CaptureBuilder().OtherBlock(9, "four").FrameBlock(1).ClaimFileSize(41)),
              ElementsAre("file", "block 9", "file end"));
  EXPECT_THAT(EventsOf(CaptureBuilder().OtherBlock(9, "").FrameBlock(1).Unfinished()),
              ElementsAre("file", "block 9", "file end"));
  CaptureBuilder capture(Data::kOptionNoTrailers);
  capture.FrameBlock(1).SubBlock(9, "?").ClaimFileSize(0);
  EXPECT_EQ(EventsOf(capture).back(), "file end");
  EXPECT_EQ(Run(capture.Call(1, "a")), Data::DCAPFileProcessor::SubBlockHeaderFailMsg);
  EXPECT_EQ(LastEvent(), "frame 1");
}

INSTANTIATE_TEST_SUITE_P(HiddenAndShown, ProcessorWalkTest, testing::Bool());

}  // namespace
