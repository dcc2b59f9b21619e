// Prints the calls that one thread made: print_thread FILE THREAD
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "Core/StdioReader.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Data/PointerData.h"

namespace {

class ThreadPrinter : public Data::GenericAdapter {
 public:
  explicit ThreadPrinter(uint32_t thread) : thread_(thread) {}

  void ProcessThreadChange(Data::Api /*api*/, uint32_t threadId) override { current_ = threadId; }

  void ProcessCall(const Data::CallDesc& call, std::span<const Data::CallValue> values) override {
    if (current_ != thread_) return;
    std::printf("%d %s(", frame, call.name);
    for (uint32_t i = 0; i < call.parameterCount; ++i) {
      std::printf("%s%s=", i == 0 ? "" : ", ", call.values[i].name);
      PrintValue(call.api, *call.values[i].type, values[i]);
    }
    std::printf(")");
    if (call.hasResult) {
      std::printf(" = ");
      PrintValue(call.api, *call.Values().back().type, values.back());
    }
    std::printf("\n");
  }

  int frame = 0;

 private:
  static void PrintValue(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value) {
    if (value.type == Data::ValueType::kUint32) {
      const char* name = type.format == Data::ValueFormat::kEnum
                             ? Data::EnumerantName(api, type, value.u32)
                             : nullptr;
      if (name != nullptr) {
        std::printf("%s", name);
      } else {
        std::printf("%u", value.u32);
      }
    } else if (value.type == Data::ValueType::kInt32) {
      std::printf("%d", value.i32);
    } else if (value.type == Data::ValueType::kFloat) {
      std::printf("%g", static_cast<double>(value.f32));
    } else if (value.type == Data::ValueType::kUint64) {
      std::printf("%lu", value.u64);
    } else if (value.type == Data::ValueType::kPointer) {
      PrintPointer(*value.pointer);
    }
  }

  static void PrintPointer(const Data::PointerData& pointer) {
    if (pointer.stringData != nullptr) {
      std::printf("\"%s\"", pointer.stringData);
    } else if (pointer.arrayData != nullptr || pointer.strings != nullptr) {
      std::printf("[%u elements]", pointer.count);
    } else {
      std::printf(pointer.flags == 0 ? "null" : "an address");
    }
  }

  uint32_t thread_;
  uint32_t current_ = 0;  // a capture starts on thread 0
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: print_thread FILE THREAD\n");
    return 2;
  }
  auto reader = std::make_shared<Core::StdioReader>(argv[1]);
  if (!reader->IsValid()) throw std::runtime_error("cannot open the capture");
  ThreadPrinter printer(static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 0)));
  Data::EGLDecoder eglDecoder;
  eglDecoder.AddAdapter(printer.AsEGLAdapter());
  Data::GLDecoder glDecoder;
  glDecoder.AddAdapter(printer.AsGLAdapter());
  Data::DCAPDecodeConsumer consumer;
  consumer.AddDecoder(&eglDecoder);
  consumer.AddDecoder(&glDecoder);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&consumer, reader, reader->Size());
  do {
    ++printer.frame;
  } while (processor.ProcessNextFrame());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
