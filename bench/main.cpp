// Runs the benchmarks: dcap_bench [--benchmark_...] [CAPTURE]
#include <cstdio>
#include <exception>

#include <benchmark/benchmark.h>

#include "Core/Log.h"

#include "Input.h"

namespace {

class Quiet final : private Core::Log::Sink {
 public:
  Quiet() { Core::Log::SetSink(this); }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
  ~Quiet() override { Core::Log::SetSink(nullptr); }

 private:
  void Write(const Core::Log::Record&) override {}
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const Quiet quiet;
  if (argc > 1) {
    SetSourceCapture(argv[1]);
  }
  try {
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "dcap_bench: %s\n", exception.what());
    return 1;
  }
  return 0;
}
