// A consumer that writes down what it hears.
#ifndef DCAPKIT_TESTS_RECORDINGCONSUMER_H
#define DCAPKIT_TESTS_RECORDINGCONSUMER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Data/DCAPConsumer.h"
#include "Data/DCAPFileProcessor.h"

/// Turns events into lines such as "call 36867@7 abcd": identifier, thread, payload.
class RecordingConsumer : public Data::DCAPConsumer {
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

  /// The events of frames and sub-blocks alone.
  std::vector<std::string> Contents() const {
    std::vector<std::string> contents;
    for (const std::string& event : events) {
      if (!event.starts_with("block") && !event.starts_with("file")) contents.push_back(event);
    }
    return contents;
  }

  std::vector<std::string> events;
  Data::FileHeader fileHeader{};
  uint16_t lastType = 0;  ///< of the latest sub-block, as its header says
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

/// Feeds a capture to a consumer, to its end or to the exception that ends it.
inline void Walk(const std::shared_ptr<Core::DataReader>& reader, Data::DCAPConsumer* consumer) {
  Data::DCAPFileProcessor processor;
  processor.Initialize(consumer, reader, 0);
  while (processor.ProcessNextBlock()) {
  }
}

#endif  // DCAPKIT_TESTS_RECORDINGCONSUMER_H
