// Counts the glDrawArrays and glDrawElements calls of every frame of a capture.
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "Core/StdioReader.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/GLDecoder.h"

class DrawCounter : public Data::GLAdapter {
 public:
  void glDrawArrays(uint32_t, int32_t, int32_t) override { ++draws; }
  void glDrawElements(uint32_t, int32_t, uint32_t, const Data::PointerData*) override { ++draws; }
  int draws = 0;
};

int main(int argc, char** argv) try {
  auto reader = std::make_shared<Core::StdioReader>(argc > 1 ? argv[1] : "");
  if (!reader->IsValid()) throw std::runtime_error("cannot open the capture");
  DrawCounter counter;
  Data::GLDecoder decoder;
  decoder.AddAdapter(&counter);
  Data::DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&decoder);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, reader->Size());
  for (bool more = true; more; counter.draws = 0) {
    more = processor.ProcessNextFrame();
    std::printf("%d\n", counter.draws);
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
