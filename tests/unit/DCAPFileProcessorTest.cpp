#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Core/StdioReader.h"
#include "Data/DCAPFileProcessor.h"

#include "support/AllocationMeter.h"
#include "support/CaptureBuilder.h"
#include "support/LogCollector.h"

namespace {

using Data::DCAPFileProcessor;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uint32_t kThreads = Data::kOptionThreadIds;
constexpr uint32_t kLZ4 = Data::kCompressionLZ4 << Data::kOptionCompressionShift;
constexpr uint32_t kLZ77 = Data::kCompressionLZ77 << Data::kOptionCompressionShift;
constexpr size_t kMiB = 1024ul * 1024;

// Turns events into lines such as "call 36867@7 abcd": identifier, thread, payload.
class EventRecorder : public Data::DCAPConsumer {
 public:
  void ProcessFileStart(const Data::FileHeader& header) override {
    fileHeader = header;
    events.emplace_back("file");
  }
  void ProcessFileEnd() override { events.emplace_back("file end"); }
  void ProcessBlockStart(const Data::BlockHeader& header) override {
    events.push_back("block " + std::to_string(header.type));
  }
  void ProcessBlockEnd(unsigned long trailer) override {
    events.push_back(trailer == Data::DCAPFrameTrailer ? "block end"
                                                       : "block end " + std::to_string(trailer));
  }
  void ProcessFrameNumber(unsigned int number) override {
    events.push_back("frame " + std::to_string(number));
  }
  void ProcessMethodCall(const Data::SubBlockHeader& header, const Data::MethodCallDesc& desc,
                         const unsigned char* data, unsigned int size) override {
    Add("method " + std::to_string(desc.objectValue) + "." + std::to_string(desc.callId), header,
        data, size);
  }
  void ProcessFunctionCall(const Data::SubBlockHeader& header, const Data::FunctionCallDesc& desc,
                           const unsigned char* data, unsigned int size) override {
    Add("call " + std::to_string(desc.callId), header, data, size);
  }
  void ProcessMetadata(const Data::SubBlockHeader& header, const Data::MetadataDesc& desc,
                       const unsigned char* data, unsigned int size) override {
    EXPECT_TRUE(size == 0 || reinterpret_cast<uintptr_t>(data) % alignof(uint32_t) == 0);
    Add("metadata " + std::to_string(desc.type) + "." + std::to_string(desc.subtype), header, data,
        size);
  }

  std::vector<std::string> events;
  Data::FileHeader fileHeader{};
  uint16_t lastType = 0;  // of the latest sub-block, as its header says
  uint32_t lastSize = 0;

 private:
  void Add(const std::string& what, const Data::SubBlockHeader& header, const unsigned char* data,
           unsigned int size) {
    lastType = header.type;
    lastSize = header.size;
    events.push_back(what + "@" + std::to_string(header.threadId) + " " +
                     std::string(data, data + size));
  }
};

// Shows none of its bytes, since it is no longer the library's own reader.
class HidingReader : public Core::MemoryReader {
  using MemoryReader::MemoryReader;
};

// Every test walks in the memory of a reader and, by a reader that shows nothing, in the
// processor's own.
class DCAPFileProcessorTest : public testing::TestWithParam<bool> {
 protected:
  static std::shared_ptr<Core::DataReader> ReaderOf(std::vector<uint8_t> bytes) {
    if (GetParam()) return std::make_shared<Core::MemoryReader>(std::move(bytes));
    return std::make_shared<HidingReader>(std::move(bytes));
  }

  // Processes the capture to its end. Returns the text of the exception that ended it, or nothing.
  std::string Run(CaptureBuilder& capture) { return Run(capture.Finish()); }
  std::string Run(std::vector<uint8_t> bytes) { return Run(ReaderOf(std::move(bytes))); }
  std::string Run(const std::shared_ptr<Core::DataReader>& reader) {
    try {
      Open(reader);
      while (processor->ProcessNextBlock()) {
      }
    } catch (const Core::BasicException& exception) {
      return exception.what();
    }
    return {};
  }
  void Open(CaptureBuilder& capture) { Open(ReaderOf(capture.Finish())); }
  void Open(const std::shared_ptr<Core::DataReader>& reader) {
    processor->Initialize(&recorder, reader, actualSize);
  }

  // The events of sub-blocks and frames alone.
  std::vector<std::string> Contents() const {
    std::vector<std::string> contents;
    for (const std::string& event : recorder.events) {
      if (!event.starts_with("block") && !event.starts_with("file")) contents.push_back(event);
    }
    return contents;
  }
  const std::string& LastEvent() const { return recorder.events.back(); }

  // Makes everything new for another capture.
  void Renew() {
    processor = std::make_unique<DCAPFileProcessor>();
    recorder.events.clear();
    log.Take();
  }

  uint64_t actualSize = 0;
  LogCollector log;
  EventRecorder recorder;
  std::unique_ptr<DCAPFileProcessor> processor = std::make_unique<DCAPFileProcessor>();
};

// ---- The walk.

TEST_P(DCAPFileProcessorTest, EveryKindOfSubBlockReachesTheConsumerInFileOrder) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(7).Call(3, "abcd").MethodCall(42, 5, "e").Metadata(2, 1, "text");
  capture.FrameBlock(2).Thread(8).Call(4, "");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events,
              ElementsAre("file", "block 1", "frame 1", "call 3@7 abcd", "method 42.5@7 e",
                          "metadata 2.1@7 text", "block end", "block 1", "frame 2", "call 4@8 ",
                          "block end", "file end"));
  EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_P(DCAPFileProcessorTest, ACaptureOfNothingButAHeaderEndsAtOnceWithoutFileEnd) {
  CaptureBuilder capture;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file"));
  EXPECT_THAT(log.Lines(), ElementsAre(AllOf(StartsWith("4/3 src/Data/DCAPFileProcessor:"),
                                             HasSubstr("Reading past end of DCAP file."))));
}

TEST_P(DCAPFileProcessorTest, WithoutThreadIdsSubBlockHeadersAreShortAndTheThreadIsZero) {
  CaptureBuilder capture(0);
  capture.FrameBlock(1).Thread(7).Call(3, "abcd").Metadata(1, 2, "t");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 3@0 abcd", "metadata 1.2@0 t"));
}

TEST_P(DCAPFileProcessorTest, WithoutTrailersBlocksEndWithTrailerZero) {
  CaptureBuilder capture(kThreads | Data::kOptionNoTrailers);
  capture.FrameBlock(1).Call(3, "abcd");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 1", "frame 1", "call 3@0 abcd",
                                           "block end 0", "file end"));
}

TEST_P(DCAPFileProcessorTest, TheHeaderIsHandedOnAsReadAndGivesTheVersion) {
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

TEST_P(DCAPFileProcessorTest, ASecondInitializeReturnsTrueAndChangesNothing) {
  CaptureBuilder capture;
  capture.FrameBlock(1);
  const auto reader = std::make_shared<Core::MemoryReader>(capture.Finish());
  EXPECT_FALSE(processor->Initialize(&recorder, reader, 0));
  processor->processNextType2Block = true;
  EXPECT_TRUE(processor->Initialize(nullptr, nullptr, 0));
  EXPECT_TRUE(processor->processNextType2Block);
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(DCAPFileProcessorTest, InitializeKeepsTheSettingsButClearsTheOneShotRequest) {
  CaptureBuilder capture;
  processor->loopFrameNumber = 4;
  processor->threadFilter = {2};
  processor->processNextType2Block = true;
  Open(capture);
  EXPECT_EQ(processor->loopFrameNumber, 4u);
  EXPECT_THAT(processor->threadFilter, ElementsAre(2u));
  EXPECT_FALSE(processor->processNextType2Block);
}

TEST_P(DCAPFileProcessorTest, ProcessNextFrameStopsAfterEachFrameAndPassesOtherBlocks) {
  CaptureBuilder capture;
  capture.FrameBlock(1).OtherBlock(9, "xyz").Type2Block(0).FrameBlock(2).OtherBlock(9, "");
  Open(capture);
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1"));
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "frame 2"));
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_TRUE(processor->AtEof());
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(DCAPFileProcessorTest, AProcessorWithoutAReaderIsAtItsEnd) {
  EXPECT_TRUE(processor->AtEof());
  EXPECT_FALSE(processor->ProcessNextBlock());
  EXPECT_THROW(processor->ContinueAt(32, 0), Core::BasicException);
}

TEST_P(DCAPFileProcessorTest, AtEofInsideACallIsTrueOnlyOnceAllIsProcessed) {
  struct Asker : EventRecorder {
    void ProcessFunctionCall(const Data::SubBlockHeader&, const Data::FunctionCallDesc&,
                             const unsigned char*, unsigned int) override {
      events.emplace_back(asked->AtEof() ? "at end" : "more");
    }
    const DCAPFileProcessor* asked = nullptr;
  };
  for (bool finished : {true, false}) {
    CaptureBuilder capture(Data::kOptionNoTrailers);
    capture.FrameBlock(1).Call(1, "ab").Call(2, "cd");
    if (!finished) capture.ClaimFileSize(0);
    DCAPFileProcessor asked;
    Asker asker;
    asker.asked = &asked;
    asked.Initialize(&asker, std::make_shared<Core::MemoryReader>(capture.Finish()), 0);
    EXPECT_FALSE(asked.ProcessNextBlock());
    EXPECT_THAT(asker.events, ElementsAre("file", "block 1", "frame 1", "more", "at end",
                                          "block end 0", "file end"));
  }
}

TEST_P(DCAPFileProcessorTest, ContinuesAtAnyBlockAsIfItHadComeThere) {
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
  Run(capture);
  const std::vector<std::string> whole = Contents();
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

TEST_P(DCAPFileProcessorTest, AType2BlockIsSkippedWholeByDefault) {
  CaptureBuilder capture;
  capture.Type2Block(5).Call(1, "skip").FrameBlock(1).Call(2, "keep");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 2", "block 1", "frame 1", "call 2@0 keep",
                                           "block end", "file end"));
}

TEST_P(DCAPFileProcessorTest, ARequestLetsOneType2BlockPass) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Type2Block(5).Call(1, "one").Type2Block(6).Call(1, "two");
  Open(capture);
  processor->processNextType2Block = true;
  EXPECT_TRUE(processor->ProcessNextBlock());
  EXPECT_TRUE(processor->ProcessNextBlock());
  EXPECT_FALSE(processor->processNextType2Block);
  EXPECT_FALSE(processor->ProcessNextBlock());
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "frame 5", "call 1@0 one"));
}

TEST_P(DCAPFileProcessorTest, Bit12LetsType2BlocksPassUntilTheFirstFrame) {
  CaptureBuilder capture(kThreads | Data::kOptionType2BeforeFirst);
  capture.Type2Block(5).Type2Block(6).FrameBlock(1).Type2Block(7);
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 5", "frame 6", "frame 1"));
}

TEST_P(DCAPFileProcessorTest, BlocksOfUnknownTypeAreSkippedWithALogLine) {
  CaptureBuilder capture;
  capture.OtherBlock(0, "").OtherBlock(40000, "noise").FrameBlock(1);
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 0", "block 40000", "block 1", "frame 1",
                                           "block end", "file end"));
  EXPECT_THAT(log.Messages(), ElementsAre("Skipping unrecognized block type 0.",
                                          "Skipping unrecognized block type 40000."));
  EXPECT_THAT(log.Lines()[0], StartsWith("2/3 "));
}

TEST_P(DCAPFileProcessorTest, SubBlocksOfUnknownTypeAreSkippedWithALogLine) {
  CaptureBuilder capture;
  capture.FrameBlock(1).SubBlock(6, "noise").Call(1, "a").SubBlock(0, "").Call(2, "b");
  capture.SubBlock(65535, std::string(300'000, 'x')).Call(3, "c").FrameBlock(2);
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(),
              ElementsAre("frame 1", "call 1@0 a", "call 2@0 b", "call 3@0 c", "frame 2"));
  EXPECT_THAT(log.Messages(), ElementsAre("Skipping unrecognized subblock type 6.",
                                          "Skipping unrecognized subblock type 0.",
                                          "Skipping unrecognized subblock type 65535."));
  EXPECT_THAT(log.Lines()[0], StartsWith("2/3 "));
}

TEST_P(DCAPFileProcessorTest, ASkipThatLeavesTheFileGoesToItsEnd) {
  CaptureBuilder capture;
  capture.OtherBlock(9, "four").FrameBlock(1).ClaimFileSize(41);
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 9", "file end"));
}

TEST_P(DCAPFileProcessorTest, AnySkipInAnUnfinishedCaptureGoesToItsEnd) {
  CaptureBuilder capture;
  capture.OtherBlock(9, "").FrameBlock(1).Unfinished();
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 9", "file end"));
}

TEST_P(DCAPFileProcessorTest, AnUnknownSubBlockInAnUnfinishedCaptureLeavesNothingToRead) {
  CaptureBuilder capture(Data::kOptionNoTrailers);
  capture.FrameBlock(1).SubBlock(9, "?").ClaimFileSize(0);
  EXPECT_EQ(Run(capture), "");
  EXPECT_EQ(LastEvent(), "file end");
  Renew();
  EXPECT_EQ(Run(capture.Call(1, "a")), DCAPFileProcessor::SubBlockHeaderFailMsg);
  EXPECT_EQ(LastEvent(), "frame 1");
}

// ---- Frame loop.

TEST_P(DCAPFileProcessorTest, ACountedLoopDeliversItsFrameThatOftenAndEndsTheStream) {
  CaptureBuilder capture;
  capture.FrameBlock(4).FrameBlock(5).Call(1, "again").FrameBlock(6);
  processor->loopFrameNumber = 5;
  processor->loopRepeatCount = 2;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(),
              ElementsAre("frame 4", "frame 5", "call 1@0 again", "frame 5", "call 1@0 again"));
  EXPECT_EQ(LastEvent(), "file end");
}

TEST_P(DCAPFileProcessorTest, ALoopWithoutCountGoesOnUntilTheCallerEndsIt) {
  CaptureBuilder capture;
  capture.FrameBlock(5).Call(1, "again").FrameBlock(6);
  processor->loopFrameNumber = 5;
  Open(capture);
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(processor->ProcessNextFrame());
  EXPECT_EQ(processor->loopRepeatCount, 0u);
  EXPECT_EQ(std::count(recorder.events.begin(), recorder.events.end(), "call 1@0 again"), 10);
  processor->loopFrameNumber = 0;
  EXPECT_TRUE(processor->ProcessNextFrame());
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_EQ(Contents().back(), "frame 6");
}

TEST_P(DCAPFileProcessorTest, AFrameNumberedZeroIsNoLoop) {
  CaptureBuilder capture;
  EXPECT_EQ(Run(capture.FrameBlock(0).FrameBlock(1)), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 0", "frame 1"));
}

TEST_P(DCAPFileProcessorTest, AFrameCutShortCanBeReplayed) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "whole").Call(2, "cut").ClaimSubBlockSize(100).Call(3, "never");
  processor->loopFrameNumber = 1;
  processor->loopRepeatCount = 2;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@0 whole", "frame 1", "call 1@0 whole"));
}

// ---- Thread filter.

TEST_P(DCAPFileProcessorTest, TheFilterPassesThreadsByTheOrderOfTheirFirstSubBlock) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(0).Call(1, "a").Thread(900).Call(1, "b").Metadata(1, 1, "m");
  capture.FrameBlock(2).Thread(0).Metadata(1, 1, "n").Thread(5).Call(1, "c").Thread(900);
  capture.MethodCall(1, 1, "d");
  processor->threadFilter = {2, 3};
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@900 b", "metadata 1.1@900 m", "frame 2",
                                      "call 1@5 c", "method 1.1@900 d"));
}

TEST_P(DCAPFileProcessorTest, TheFilterStartsWithItsFrame) {
  CaptureBuilder capture;
  for (uint32_t frame : {1u, 2u, 3u})
    capture.FrameBlock(frame).Thread(1).Call(1, "").Thread(2).Call(2, "");
  processor->threadFilter = {1};
  processor->threadFilterStartFrame = 3;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@1 ", "call 2@2 ", "frame 2", "call 1@1 ",
                                      "call 2@2 ", "frame 3", "call 1@1 "));
}

TEST_P(DCAPFileProcessorTest, ThreadIndicesSurviveAFrameLoop) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(30).Call(1, "").Thread(20).Call(2, "");
  processor->threadFilter = {2};
  processor->loopFrameNumber = 1;
  processor->loopRepeatCount = 2;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 2@20 ", "frame 1", "call 2@20 "));
}

TEST_P(DCAPFileProcessorTest, WithoutThreadIdsTheFilterJudgesByIndexZero) {
  CaptureBuilder capture(0);
  capture.FrameBlock(1).Call(1, "").FrameBlock(2).Call(2, "");
  Open(capture);
  processor->threadFilter = {1};
  EXPECT_TRUE(processor->ProcessNextFrame());
  processor->threadFilter = {0};
  EXPECT_FALSE(processor->ProcessNextFrame());
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "frame 2", "call 2@0 "));
}

// ---- Compression.

TEST_P(DCAPFileProcessorTest, CompressedCallsLookLikePlainOnes) {
  const std::string text(5000, 'z');
  for (const auto& [option, name] : {std::pair(kLZ4, "LZ4"), std::pair(kLZ77, "LZ77")}) {
    Renew();
    CaptureBuilder capture(kThreads | option);
    capture.FrameBlock(1).Thread(7).Call(2, "plain").CompressedCall(1, text);
    capture.CompressedMethodCall(42, 3, text + "!");
    EXPECT_LT(capture.Size(), text.size());
    EXPECT_EQ(Run(capture), "");
    EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 2@7 plain", "call 1@7 " + text,
                                        "method 42.3@7 " + text + "!"));
    EXPECT_EQ(recorder.lastType, Data::kSubBlockMethodCall);
    EXPECT_EQ(recorder.lastSize, text.size() + 1 + 6);
    EXPECT_THAT(log.Messages(),
                ElementsAre(std::string("DCAP file compressed with ") + name + "."));
    EXPECT_THAT(log.Lines()[0], StartsWith("3/3 "));
  }
}

TEST_P(DCAPFileProcessorTest, InAnUncompressedFileCompressedCallsPassAsTheyStand) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(7).StoredCall(1, 900, "raw");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@7 raw"));
  EXPECT_EQ(recorder.lastType, Data::kSubBlockFunctionCall);
  EXPECT_EQ(recorder.lastSize, 902u);
}

TEST_P(DCAPFileProcessorTest, AStatedSizeNeverWrapsInTheHeader) {
  CaptureBuilder capture;
  capture.FrameBlock(1).StoredCall(1, 0xFFFFFFFE, "");
  EXPECT_EQ(Run(capture), "");
  EXPECT_EQ(recorder.lastSize, 0xFFFFFFFF);
}

TEST_P(DCAPFileProcessorTest, AnEmptyCompressedPayloadPassesEmpty) {
  CaptureBuilder capture(kThreads | kLZ4);
  capture.FrameBlock(1).StoredCall(1, 10, "").StoredCall(2, 0, "");
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@0 ", "call 2@0 "));
}

TEST_P(DCAPFileProcessorTest, ACompressedCallOfSizeZeroIsDroppedAndItsThreadNotCounted) {
  CaptureBuilder capture(kThreads | kLZ4);
  capture.FrameBlock(1).Thread(9).StoredCall(1, 0, "junk").Thread(7).Call(2, "kept");
  processor->threadFilter = {1};
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 2@7 kept"));
  EXPECT_THAT(log.Lines().back(),
              AllOf(StartsWith("1/3 "),
                    HasSubstr("File contains a compressed API call block reporting an invalid "
                              "decompressed size of 0.  File may be corrupt.")));
}

TEST_P(DCAPFileProcessorTest, APayloadThatDoesNotYieldItsStatedSizeEndsProcessing) {
  for (uint32_t stated : {1u, 4999u, 5001u, 0xFFFFFFFFu}) {
    CaptureBuilder capture(kThreads | kLZ4);
    capture.FrameBlock(1).CompressedCall(1, std::string(5000, 'z'));
    const size_t sizeField = 32 + 6 + 4 + 10 + 2;
    for (size_t i = 0; i < 4; ++i) {
      capture.SetByte(sizeField + i, static_cast<uint8_t>(stated >> (8 * i)));
    }
    Renew();
    const AllocationMeter meter;
    EXPECT_EQ(Run(capture), DCAPFileProcessor::DecompressFailMsg) << stated;
    EXPECT_LT(AllocationMeter::Largest(), kMiB);
  }
}

// ---- Files that lie or break off.

TEST_P(DCAPFileProcessorTest, ReadersThatAreNotUsableAreRefused) {
  const auto closed = std::make_shared<Core::MemoryReader>(std::vector<uint8_t>(100));
  closed->Close();
  EXPECT_EQ(Run(closed), DCAPFileProcessor::InvalidReaderMsg);
  EXPECT_EQ(Run(std::shared_ptr<Core::DataReader>()), DCAPFileProcessor::InvalidReaderMsg);
}

TEST_P(DCAPFileProcessorTest, OtherFilesAndUnknownCompressionAreRefusedBeforeTheFileStarts) {
  EXPECT_EQ(Run(CaptureBuilder().SetByte(0, 'd')), DCAPFileProcessor::FourCCFailMsg);
  EXPECT_THAT(recorder.events, IsEmpty());
  for (uint32_t type : {3u, 7u}) {
    Renew();
    CaptureBuilder capture(type << Data::kOptionCompressionShift);
    EXPECT_EQ(Run(capture), DCAPFileProcessor::CompressionTypeFailMsg);
    EXPECT_THAT(recorder.events, IsEmpty());
  }
}

TEST_P(DCAPFileProcessorTest, AFileSizeThatDiffersFromTheHeaderIsLogged) {
  CaptureBuilder capture;
  actualSize = 40;
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(log.Lines()[0],
              AllOf(StartsWith("2/4 "),
                    testing::EndsWith(
                        " File header size field (32) does not match actual file size (40).")));
}

// The texts by the piece in which the stream breaks off.
TEST_P(DCAPFileProcessorTest, EveryTruncationEndsWithTheTextOfThePieceThatIsCut) {
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
  ASSERT_EQ(Run(whole), "");
  const std::vector<std::string> allEvents = recorder.events;

  for (auto [end, cut] = std::pair(whole.begin(), pieces.begin()); end != whole.end(); ++end) {
    const std::vector<uint8_t> start(whole.begin(), end);
    if (start.size() == cut->first) ++cut;
    Renew();
    ASSERT_EQ(Run(start), cut->second) << start.size() << " bytes";
    ASSERT_LE(recorder.events.size(), allEvents.size());
    ASSERT_TRUE(std::equal(recorder.events.begin(), recorder.events.end(), allEvents.begin()));
  }
}

TEST_P(DCAPFileProcessorTest, ABlockTooSmallForItsTrailerAndFrameNumberIsRefused) {
  const auto failure = [this](uint32_t optionMask, uint32_t size) {
    Renew();
    return Run(CaptureBuilder(optionMask).FrameBlock(1).ClaimBlockSize(size));
  };
  EXPECT_EQ(failure(kThreads, 7), DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_EQ(failure(kThreads, 8), DCAPFileProcessor::FrameNumberFailMsg);
  EXPECT_EQ(failure(kThreads, 11), DCAPFileProcessor::FrameNumberFailMsg);
  EXPECT_EQ(failure(Data::kOptionNoTrailers, 0), DCAPFileProcessor::FrameNumberFailMsg);
}

TEST_P(DCAPFileProcessorTest, AWrongTrailerIsRefusedBeforeTheBlockEnds) {
  CaptureBuilder capture;
  capture.FrameBlock(1).EndBlock();
  EXPECT_EQ(Run(capture.SetByte(capture.Size() - 1, 0xEF)),
            DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_EQ(LastEvent(), "frame 1");
}

TEST_P(DCAPFileProcessorTest, ARestTooSmallForASubBlockHeaderIsRefused) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "a").ClaimBlockSize(4 + 13 + 9 + 8).Call(2, "beyond");
  EXPECT_EQ(Run(capture), DCAPFileProcessor::SubBlockHeaderFailMsg);
  EXPECT_EQ(LastEvent(), "call 1@0 a");
}

TEST_P(DCAPFileProcessorTest, ASubBlockSmallerThanItsDescriptionIsRefused) {
  const std::pair<uint16_t, uint32_t> kinds[] = {{1, 4}, {2, 6}, {3, 2}, {4, 10}, {5, 6}};
  for (const auto& [type, descSize] : kinds) {
    for (uint32_t size : {0u, descSize - 1}) {
      // The description runs on into what follows, which is there or, then, ends one byte early.
      const uint32_t missing = descSize - size;
      CaptureBuilder capture(kThreads | Data::kOptionNoTrailers);
      capture.FrameBlock(1).SubBlock(type, std::string(size, 'd'));
      capture.OtherBlock(9, "behind").Shrink(12 - missing);
      Renew();
      EXPECT_EQ(Run(capture), DCAPFileProcessor::SubBlockDataFailMsg) << type << ' ' << size;
      Renew();
      EXPECT_EQ(Run(capture.Shrink(1)), DCAPFileProcessor::SubBlockDescFailMsg)
          << type << ' ' << size;
    }
  }
}

TEST_P(DCAPFileProcessorTest, OnlyTheLastFrameMayBeCutShort) {
  CaptureBuilder capture;
  capture.FrameBlock(1).FrameBlock(2).Call(1, "a").Call(2, "b").ClaimSubBlockSize(1000);
  EXPECT_EQ(Run(capture), "");
  EXPECT_THAT(recorder.events, ElementsAre("file", "block 1", "frame 1", "block end", "block 1",
                                           "frame 2", "call 1@0 a", "file end"));
  EXPECT_THAT(log.Lines(),
              ElementsAre(AllOf(StartsWith("2/4 "), HasSubstr(" Last frame is incomplete."))));
  Renew();
  EXPECT_EQ(Run(capture.FrameBlock(3)), DCAPFileProcessor::SubBlockDataFailMsg);
}

TEST_P(DCAPFileProcessorTest, AnUnfinishedLastBlockIsReadAsEmpty) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "a").FrameBlock(2).Call(2, "b").Unfinished();
  EXPECT_EQ(Run(capture), DCAPFileProcessor::BlockTrailerMissingMsg);
  EXPECT_THAT(Contents(), ElementsAre("frame 1", "call 1@0 a"));
}

// ---- Sizes beyond the read-ahead and beyond 32 bits.

TEST_P(DCAPFileProcessorTest, PayloadsAreWholeWhereverReadingAheadEnds) {
  CaptureBuilder capture;
  std::vector<std::string> expected;
  capture.FrameBlock(1);
  for (size_t i = 0; i < 6000; ++i) {
    // Mostly small, so that ends fall on every part of a sub-block; a few larger than any window.
    const size_t size = i % 1500 == 1499 ? 40'000 + 150 * i : i * 37 % 211;
    const std::string payload(size, static_cast<char>('a' + i % 26));
    capture.Call(static_cast<uint16_t>(i), payload);
    expected.push_back("call " + std::to_string(i) + "@0 " + payload);
  }
  capture.FrameBlock(2);
  expected.emplace_back("frame 2");
  EXPECT_EQ(Run(capture), "");
  std::vector<std::string> contents = Contents();
  contents.erase(contents.begin());
  EXPECT_TRUE(contents == expected);
}

TEST_P(DCAPFileProcessorTest, MetadataPayloadsAreAlignedForWords) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Metadata(1, 1, "a").Metadata(1, 1, "ab").Metadata(1, 1, "");
  capture.Metadata(1, 1, "abc").Metadata(1, 1, std::string(100'001, 'a')).Metadata(1, 1, "end");
  EXPECT_EQ(Run(capture), "");  // the recorder checks
  EXPECT_EQ(Contents().size(), 7u);
  EXPECT_EQ(Contents().back(), "metadata 1.1@0 end");
}

// A stream of any size that costs nothing: zeros, but for the pieces laid on it.
class SparseReader : public Core::DataReader {
 public:
  explicit SparseReader(uint64_t size) : size_(size) {}
  void Lay(uint64_t offset, std::vector<uint8_t> bytes) {
    pieces_.emplace_back(offset, std::move(bytes));
  }
  bool IsValid() const override { return true; }
  unsigned long Read(void* buffer, unsigned long size) override {
    size = std::min(size, position_ < size_ ? size_ - position_ : 0);
    auto* bytes = static_cast<uint8_t*>(buffer);
    std::fill_n(bytes, size, uint8_t{0});
    for (const auto& [offset, piece] : pieces_) {
      for (size_t i = 0; i < piece.size(); ++i) {
        if (offset + i - position_ < size) bytes[offset + i - position_] = piece[i];
      }
    }
    position_ += size;
    return size;
  }
  bool AtEof() const override { return position_ >= size_; }
  int Seek(int origin, int64_t offset) override {
    const uint64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? position_ : size_;
    position_ = base + static_cast<uint64_t>(offset);
    return 0;
  }
  uint64_t Tell() const override { return position_; }

 private:
  uint64_t size_;
  uint64_t position_ = 0;
  std::vector<std::pair<uint64_t, std::vector<uint8_t>>> pieces_;
};

TEST_P(DCAPFileProcessorTest, PositionsGoBeyond4GiB) {
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

TEST_P(DCAPFileProcessorTest, MemoryForALargePayloadFollowsItsBytes) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "").ClaimSubBlockSize(0xFFFFFF00).ClaimBlockSize(0xFFFFFFF0);
  auto reader = std::make_shared<SparseReader>(5 * kMiB);
  reader->Lay(0, capture.Finish());
  const AllocationMeter meter;
  EXPECT_EQ(Run(reader), DCAPFileProcessor::SubBlockDataFailMsg);
  EXPECT_LE(AllocationMeter::Largest(), 8 * kMiB);
}

TEST_P(DCAPFileProcessorTest, ALargePayloadArrivesWhole) {
  std::string payload(5 * kMiB + 123, ' ');
  for (size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(i * 31 >> 8);
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "small").Call(2, payload).Metadata(3, 3, payload).Call(4, "small");
  EXPECT_EQ(Run(capture.FrameBlock(2)), "");
  EXPECT_TRUE(Contents() ==
              std::vector<std::string>({"frame 1", "call 1@0 small", "call 2@0 " + payload,
                                        "metadata 3.3@0 " + payload, "call 4@0 small", "frame 2"}));
}

// The file's reader shows payloads up to 1 MiB.
TEST_P(DCAPFileProcessorTest, AFileReadsAsMemoryDoesWhateverTheSizesOfItsPayloads) {
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
  const std::string path =
      testing::TempDir() + "/DCAPFileProcessorTest" + std::to_string(getpid()) + ".dcap";
  capture.WriteTo(path);
  EXPECT_EQ(Run(std::make_shared<Core::StdioReader>(path)), "");
  const std::vector<std::string> events = std::move(recorder.events);
  Renew();
  EXPECT_EQ(Run(capture), "");
  EXPECT_TRUE(events == recorder.events);
  std::remove(path.c_str());
}

TEST_P(DCAPFileProcessorTest, MemoryThatIsNotGrantedLeavesAProcessorThatCanBeDestroyed) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, std::string(3 * kMiB, 'x'));
  Open(std::make_shared<HidingReader>(capture.Finish()));
  const AllocationMeter meter(2 * kMiB);
  EXPECT_THROW(processor->ProcessNextBlock(), std::bad_alloc);
  EXPECT_EQ(AllocationMeter::Largest(), 3 * kMiB + 2);
}

INSTANTIATE_TEST_SUITE_P(HiddenAndShown, DCAPFileProcessorTest, testing::Bool());

}  // namespace
