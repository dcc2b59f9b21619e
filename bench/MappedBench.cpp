// The mapped reader against the buffered one.
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "Core/MappedReader.h"

#include "Compare.h"
#include "CountingAdapter.h"
#include "Input.h"
#include "LibraryWalk.h"
#include "Uploads.h"

namespace {

void Mapped(benchmark::State& state, const std::vector<RecordedCall>& calls) {
  const Input input(calls);
  CountingAdapter adapter;
  Compare(
      state, {static_cast<double>(input.PayloadBytes()), "B"},
      [&] {
        LibraryWalk(input.Path(), {&adapter, 1}).Finish();
      },
      [&] {
        LibraryWalk(std::make_shared<Core::MappedReader>(input.Path()), {&adapter, 1}).Finish();
      });
}

[[maybe_unused]] const benchmark::internal::Benchmark* const registered[] = {
    Comparison("m. mapped, scalar calls",
               [](benchmark::State& state) { Mapped(state, SelectCalls(0)); }),
    Comparison("m. mapped, uploads of 64 KiB",
               [](benchmark::State& state) { Mapped(state, Uploads(64 << 10)); }),
    Comparison("m. mapped, uploads of 1 MiB",
               [](benchmark::State& state) { Mapped(state, Uploads(1 << 20)); }),
};

}  // namespace
