// The frame loop and the thread filter of the processor.
#include "DCAPFileProcessorTest.h"
#include "support/Test.h"

namespace {

class ProcessorLoopTest : public DCAPFileProcessorTest {};

TEST_P(ProcessorLoopTest, ACountedLoopDeliversItsFrameThatOftenAndEndsTheStream) {
  processor->loopFrameNumber = 5;
  processor->loopRepeatCount = 2;
  EXPECT_THAT(
      ContentsOf(CaptureBuilder().FrameBlock(4).FrameBlock(5).Call(1, "again").FrameBlock(6)),
      ElementsAre("frame 4", "frame 5", "call 1@0 again", "frame 5", "call 1@0 again"));
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(ProcessorLoopTest, ALoopWithoutCountGoesOnUntilTheCallerEndsIt) {
  processor->loopFrameNumber = 5;
  Open(CaptureBuilder().FrameBlock(5).Call(1, "again").FrameBlock(6));
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(processor->ProcessNextFrame());
  EXPECT_EQ(processor->loopRepeatCount, 0u);
  EXPECT_EQ(std::count(recorder.events.begin(), recorder.events.end(), "call 1@0 again"), 10);
  processor->loopFrameNumber = 0;
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_EQ(Contents().back(), "frame 6");
}

TEST_P(ProcessorLoopTest, AFrameNumberedZeroIsNoLoop) {
  EXPECT_THAT(ContentsOf(CaptureBuilder().FrameBlock(0).FrameBlock(1)),
              ElementsAre("frame 0", "frame 1"));
}

TEST_P(ProcessorLoopTest, AFrameCutShortCanBeReplayed) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "whole").Call(2, "cut").ClaimSubBlockSize(100).Call(3, "never");
  processor->loopFrameNumber = 1;
  processor->loopRepeatCount = 2;
  EXPECT_THAT(ContentsOf(capture),
              ElementsAre("frame 1", "call 1@0 whole", "frame 1", "call 1@0 whole"));
}

TEST_P(ProcessorLoopTest, TheFilterPassesThreadsByTheOrderOfTheirFirstSubBlock) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(0).Call(1, "a").Thread(900).Call(1, "b").Metadata(1, 1, "m");
  capture.FrameBlock(2).Thread(0).Metadata(1, 1, "n").Thread(5).Call(1, "c").Thread(900);
  capture.MethodCall(1, 1, "d");
  processor->threadFilter = {2, 3};
  EXPECT_THAT(ContentsOf(capture), ElementsAre("frame 1", "call 1@900 b", "metadata 1.1@900 m",
                                               "frame 2", "call 1@5 c", "method 1.1@900 d"));
}

TEST_P(ProcessorLoopTest, TheFilterStartsWithItsFrame) {
  CaptureBuilder capture;
  for (uint32_t frame : {1u, 2u, 3u})
    capture.FrameBlock(frame).Thread(1).Call(1, "").Thread(2).Call(2, "");
  processor->threadFilter = {1};
  processor->threadFilterStartFrame = 3;
  EXPECT_THAT(ContentsOf(capture), ElementsAre("frame 1", "call 1@1 ", "call 2@2 ", "frame 2",
                                               "call 1@1 ", "call 2@2 ", "frame 3", "call 1@1 "));
}

TEST_P(ProcessorLoopTest, ThreadIndicesSurviveAFrameLoop) {
  processor->threadFilter = {2};
  processor->loopFrameNumber = 1;
  processor->loopRepeatCount = 2;
  EXPECT_THAT(
      ContentsOf(CaptureBuilder().FrameBlock(1).Thread(30).Call(1, "").Thread(20).Call(2, "")),
      ElementsAre("frame 1", "call 2@20 ", "frame 1", "call 2@20 "));
}

TEST_P(ProcessorLoopTest, WithoutThreadIdsTheFilterJudgesByIndexZero) {
  Open(CaptureBuilder(0).FrameBlock(1).Call(1, "").FrameBlock(2).Call(2, ""));
  processor->threadFilter = {1};
  EXPECT_TRUE(processor->ProcessNextFrame());
  processor->threadFilter = {0};
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "frame 2", "call 2@0 "));
}

INSTANTIATE_TEST_SUITE_P(HiddenAndShown, ProcessorLoopTest, testing::Bool());

}  // namespace
