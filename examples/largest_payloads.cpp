// Prints the ten largest payloads of a capture. A consumer of one's own sees payloads undecoded:
// for what needs no arguments it is less work than an adapter, and faster.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Core/StdioReader.h"
#include "Data/Calls/CallTable.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFileProcessor.h"

namespace {

class LargestPayloads : public Data::DCAPConsumer {
 public:
  void ProcessFileStart(const Data::FileHeader& /*header*/) override {}
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader& /*header*/) override {}
  void ProcessBlockEnd(unsigned long /*trailer*/) override {}
  void ProcessFrameNumber(unsigned int frameNumber) override { frameNumber_ = frameNumber; }

  void ProcessMethodCall(const Data::SubBlockHeader& /*header*/, const Data::MethodCallDesc& desc,
                         const unsigned char* /*data*/, unsigned int size) override {
    Note(size, "method call " + std::to_string(desc.callId));
  }
  void ProcessFunctionCall(const Data::SubBlockHeader& /*header*/,
                           const Data::FunctionCallDesc& desc, const unsigned char* /*data*/,
                           unsigned int size) override {
    const Data::CallDesc* call = Data::FindCall(static_cast<Data::ApiCallType>(desc.callId));
    Note(size, call != nullptr ? call->name : "call " + std::to_string(desc.callId));
  }
  void ProcessMetadata(const Data::SubBlockHeader& /*header*/, const Data::MetadataDesc& desc,
                       const unsigned char* /*data*/, unsigned int size) override {
    Note(size, "metadata " + std::to_string(desc.type) + "." + std::to_string(desc.subtype));
  }

  struct Payload {
    unsigned int size;
    unsigned int frameNumber;
    std::string name;
  };
  std::vector<Payload> largest;  // the largest first

 private:
  void Note(unsigned int size, const std::string& name) {
    if (largest.size() == 10 && size <= largest.back().size) return;
    const auto place = std::ranges::upper_bound(largest, size, std::greater(), &Payload::size);
    largest.insert(place, {size, frameNumber_, name});
    if (largest.size() > 10) largest.pop_back();
  }

  unsigned int frameNumber_ = 0;
};

}  // namespace

int main(int argc, char** argv) try {
  auto reader = std::make_shared<Core::StdioReader>(argc > 1 ? argv[1] : "");
  if (!reader->IsValid()) throw std::runtime_error("cannot open the capture");
  LargestPayloads consumer;
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, reader->Size());
  while (processor.ProcessNextFrame()) {
  }
  for (const LargestPayloads::Payload& payload : consumer.largest) {
    std::printf("%u bytes, frame number %u, %s\n", payload.size, payload.frameNumber,
                payload.name.c_str());
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
