#include "Core/MemoryReader.h"
#include "Data/DCAPDecodeConsumer.h"

#include "support/CaptureBuilder.h"
#include "support/RecordingConsumer.h"
#include "support/Test.h"

namespace {

using Journal = std::vector<std::string>;

// Claims the calls from `first` up to `last` and writes down what it hears.
class RecordingDecoder : public Data::Decoder {
 public:
  RecordingDecoder(Journal& journal, std::string name, unsigned int first, unsigned int last)
      : journal_(journal), name_(std::move(name)), first_(first), last_(last) {}

  bool SupportsId(Data::ApiCallType id) override {
    return static_cast<unsigned int>(id) >= first_ && static_cast<unsigned int>(id) <= last_;
  }
  void ProcessFunctionCall(Data::ApiCallType id, const uint8_t* data, uint32_t size) override {
    journal_.push_back(name_ + " call " + std::to_string(static_cast<unsigned int>(id)) + " " +
                       std::string(data, data + size));
  }
  void ProcessMethodCall(Data::ApiCallType id, uint32_t value, const uint8_t* data,
                         uint32_t size) override {
    journal_.push_back(name_ + " method " + std::to_string(value) + "." +
                       std::to_string(static_cast<unsigned int>(id)) + " " +
                       std::string(data, data + size));
  }
  void ProcessThreadChange(uint32_t threadId) override {
    journal_.push_back(name_ + " thread " + std::to_string(threadId));
  }

 private:
  Journal& journal_;
  std::string name_;
  unsigned int first_;
  unsigned int last_;
};

class RecordingHandler : public Data::BlockEventHandler, public Data::MetaHandler {
 public:
  explicit RecordingHandler(Journal& journal) : journal_(journal) {}

  void ProcessBlockStart(uint32_t blockType) override {
    journal_.push_back("start " + std::to_string(blockType));
  }
  void ProcessBlockEnd(uint32_t blockType) override {
    journal_.push_back("end " + std::to_string(blockType));
  }
  void ProcessThreadChange(uint32_t threadId) override {
    journal_.push_back("meta thread " + std::to_string(threadId));
  }
  void ProcessTextMetadata2(const uint8_t* data, uint32_t size) override {
    journal_.push_back("text " + std::string(data, data + size));
  }

 private:
  Journal& journal_;
};

class DCAPDecodeConsumerTest : public testing::Test {
 protected:
  // Feeds the capture to the consumer and returns what was heard.
  Journal Run(const CaptureBuilder& capture) {
    journal.clear();
    Walk(std::make_shared<Core::MemoryReader>(capture.Finish()), &consumer);
    return journal;
  }

  LogCollector log;
  Journal journal;
  RecordingDecoder low{journal, "low", 0, 99};
  RecordingDecoder wide{journal, "wide", 50, 199};
  RecordingHandler handler{journal};
  Data::DCAPDecodeConsumer consumer;
};

TEST_F(DCAPDecodeConsumerTest, EveryDecoderThatClaimsACallReceivesItInOrderOfRegistration) {
  consumer.AddDecoder(&wide);
  consumer.AddDecoder(&low);
  CaptureBuilder capture(0);
  capture.FrameBlock(1).Call(1, "a").Call(60, "bc").Call(65535, "nobody").MethodCall(7, 60, "d");
  EXPECT_THAT(Run(capture), ElementsAre("low call 1 a", "wide call 60 bc", "low call 60 bc",
                                        "wide method 7.60 d", "low method 7.60 d"));
}

TEST_F(DCAPDecodeConsumerTest, ADecoderAddedTwiceIsServedTwiceAndRemovedOnceByOnce) {
  consumer.AddDecoder(nullptr);  // listed like any other
  consumer.RemoveDecoder(nullptr);
  consumer.AddDecoder(&low);
  consumer.AddDecoder(&wide);
  consumer.AddDecoder(&low);
  CaptureBuilder capture(0);
  capture.FrameBlock(1).Call(60, "");
  consumer.RemoveDecoder(&low);
  EXPECT_THAT(Run(capture), ElementsAre("wide call 60 ", "low call 60 "));
  consumer.RemoveDecoder(&low);
  consumer.RemoveDecoder(&low);
  EXPECT_THAT(Run(capture), ElementsAre("wide call 60 "));
}

TEST_F(DCAPDecodeConsumerTest, DecodersHearOfThreadChangesWhetherOrNotTheyClaimTheCall) {
  consumer.AddDecoder(&low);
  consumer.AddDecoder(&wide);
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(0).Call(1, "").Thread(4).Call(2, "").MethodCall(0, 3, "");
  capture.Thread(5).MethodCall(0, 4, "");
  EXPECT_THAT(Run(capture),
              ElementsAre("low call 1 ", "low thread 4", "low call 2 ", "wide thread 4",
                          "low method 0.3 ", "low thread 5", "low method 0.4 ", "wide thread 5"));
  // A capture without thread ids changes no thread.
  consumer.AddMetaHandler(&handler);
  CaptureBuilder threadless(0);
  EXPECT_THAT(Run(threadless.FrameBlock(1).Call(1, "").Metadata(1, 2, "t")),
              ElementsAre("low call 1 ", "text t"));
}

TEST_F(DCAPDecodeConsumerTest, MetadataAndItsThreadsGoToTheMetaHandlers) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Thread(4).Metadata(1, 2, "before");
  EXPECT_THAT(Run(capture), IsEmpty());
  consumer.AddMetaHandler(&handler);
  capture.Metadata(1, 2, "same thread").Thread(5).Metadata(1, 2, "other");
  EXPECT_THAT(Run(capture),
              ElementsAre("text before", "text same thread", "meta thread 5", "text other"));
  consumer.RemoveMetaHandler(&handler);
  EXPECT_THAT(Run(capture), IsEmpty());
}

TEST_F(DCAPDecodeConsumerTest, BlockEventHandlersHearTheTypeAtBothEnds) {
  consumer.AddBlockEventHandler(&handler);
  CaptureBuilder capture(Data::kOptionType2BeforeFirst);
  capture.OtherBlock(65535, "skipped").Type2Block(1).FrameBlock(1);
  EXPECT_THAT(Run(capture), ElementsAre("start 65535", "start 2", "end 2", "start 1", "end 1"));
  consumer.RemoveBlockEventHandler(&handler);
  EXPECT_THAT(Run(capture), IsEmpty());
}

}  // namespace
