// Walking and decoding small calls.
#include <memory>

#include <benchmark/benchmark.h>

#include "Core/StdioReader.h"
#include "Data/DCAPFileProcessor.h"

#include "Allocations.h"
#include "BareWalk.h"
#include "Compare.h"
#include "CountingAdapter.h"
#include "CountingConsumer.h"
#include "Input.h"
#include "LibraryWalk.h"

namespace {

const Input& ScalarCalls() {
  static const Input input(SelectCalls(0));
  return input;
}

const Input& PointerCalls() {
  static const Input input(SelectCalls(1));
  return input;
}

const Input& AllCalls() {
  static const Input input(SmallCalls());
  return input;
}

Work CallsOf(const Input& input) { return {static_cast<double>(input.Calls()), "calls"}; }

void WalkAndDecode(benchmark::State& state, const Input& input) {
  CountingAdapter bare;
  CountingAdapter measured;
  Compare(
      state, CallsOf(input),
      [&] {
        BareReader reader(input.Path());
        BareWalk(reader, bare);
      },
      [&] {
        LibraryWalk(input.Path(), {&measured, 1}).Finish();
      });
  if (measured.sum != bare.sum) {
    state.SkipWithError("the two walks differ");
  }
}

// Of one walk, the first frame left out: what is allocated once does not grow with the capture.
double AllocationsPerCall(const Input& input) {
  CountingAdapter adapter;
  LibraryWalk walk(input.Path(), {&adapter, 1});
  walk.NextBlock();
  const uint64_t before = AllocationCount();
  walk.Finish();
  return static_cast<double>(AllocationCount() - before) / static_cast<double>(input.Calls());
}

void Scalars(benchmark::State& state) {
  WalkAndDecode(state, ScalarCalls());
  state.counters["new/call"] = AllocationsPerCall(ScalarCalls());
}

void SmallPointers(benchmark::State& state) {
  WalkAndDecode(state, PointerCalls());
  state.counters["new/call"] = AllocationsPerCall(PointerCalls());
}

void WalkOnly(benchmark::State& state) {
  const Input& input = ScalarCalls();
  CountingConsumer bare;
  CountingConsumer measured;
  Compare(
      state, CallsOf(input),
      [&] {
        BareReader reader(input.Path());
        BareWalk(reader, bare);
      },
      [&] {
        Data::DCAPFileProcessor processor;
        processor.Initialize(&measured, std::make_shared<Core::StdioReader>(input.Path()), 0);
        while (processor.ProcessNextBlock()) {
        }
      });
  if (measured.sum != bare.sum) {
    state.SkipWithError("the two walks differ");
  }
}

// Against the library with one adapter less.
template <size_t kAdapters, const Input& (*kInput)()>
void FurtherAdapter(benchmark::State& state) {
  const Input& input = kInput();
  CountingAdapter adapters[kAdapters];
  Compare(
      state, CallsOf(input),
      [&] {
        LibraryWalk(input.Path(), {adapters, kAdapters - 1}).Finish();
      },
      [&] {
        LibraryWalk(input.Path(), {adapters, kAdapters}).Finish();
      });
}

[[maybe_unused]] const benchmark::internal::Benchmark* const registered[] = {
    Comparison("a. walk and decode scalar calls", Scalars),
    Comparison("b. walk and decode calls with a small pointer", SmallPointers),
    Comparison("c. walk without decoding", WalkOnly),
    Comparison("h. second adapter, small calls as recorded", FurtherAdapter<2, AllCalls>),
    Comparison("h. third adapter, small calls as recorded", FurtherAdapter<3, AllCalls>),
    Comparison("h. second adapter, scalar calls", FurtherAdapter<2, ScalarCalls>),
    Comparison("h. third adapter, scalar calls", FurtherAdapter<3, ScalarCalls>),
    Comparison("h. second adapter, calls with a small pointer", FurtherAdapter<2, PointerCalls>),
    Comparison("h. third adapter, calls with a small pointer", FurtherAdapter<3, PointerCalls>),
};

}  // namespace
