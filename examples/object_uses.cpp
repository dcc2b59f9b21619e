// Counts how often the calls of a capture name each object: a generic adapter does at once for
// every call what a typed one would do 554 times.
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Core/StdioReader.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

namespace {

class ObjectUses : public Data::GenericAdapter {
 public:
  void ProcessCall(const Data::CallDesc& call, std::span<const Data::CallValue> values) override {
    for (size_t i = 0; i < values.size(); ++i) {
      const Data::TypeDesc& type = *call.Values()[i].type;
      if (type.format == Data::ValueFormat::kObject && values[i].u32 != 0) {
        ++uses[{type.name, values[i].u32}];
      }
    }
  }

  std::map<std::pair<std::string_view, uint32_t>, int> uses;
};

}  // namespace

int main(int argc, char** argv) try {
  auto reader = std::make_shared<Core::StdioReader>(argc > 1 ? argv[1] : "");
  if (!reader->IsValid()) throw std::runtime_error("cannot open the capture");
  ObjectUses counter;
  Data::EGLDecoder eglDecoder;
  eglDecoder.AddAdapter(counter.AsEGLAdapter());
  Data::GLDecoder glDecoder;
  glDecoder.AddAdapter(counter.AsGLAdapter());
  Data::DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&eglDecoder);
  consumer.AddDecoder(&glDecoder);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, reader->Size());
  while (processor.ProcessNextFrame()) {
  }
  for (const auto& [object, count] : counter.uses) {
    std::printf("%s %u: %d\n", object.first.data(), object.second, count);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
