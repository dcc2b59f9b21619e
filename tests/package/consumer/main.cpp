// A user's program: derives from the library's classes and catches its exceptions. Given a capture,
// prints how many draw calls it holds.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Core/StdioReader.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/GLAdapter.h"
#include "Data/GLDecoder.h"

namespace {

class CountDraws : public Data::GLAdapter {
 public:
  void glDrawArrays(uint32_t /*mode*/, int32_t /*first*/, int32_t /*count*/) override { ++draws; }

  int draws = 0;
};

void Process(Data::GLAdapter* adapter, const std::shared_ptr<Core::DataReader>& reader) {
  Data::GLDecoder decoder;
  decoder.AddAdapter(adapter);
  Data::DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&decoder);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, 0);
  while (processor.ProcessNextFrame()) {
  }
}

bool RefusesWhatIsNoCapture() {
  const std::string text(100, 'x');
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  CountDraws adapter;
  try {
    Process(&adapter, std::make_shared<Core::MemoryReader>(std::span(bytes, text.size())));
  } catch (const Core::BasicException& exception) {
    return std::string(exception.what()).find("DCAP") != std::string::npos;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !RefusesWhatIsNoCapture()) return 1;
  CountDraws adapter;
  Process(&adapter, std::make_shared<Core::StdioReader>(argv[1]));
  std::printf("%d\n", adapter.draws);
  return 0;
}
