// Measures one thing against another.
#ifndef DCAPKIT_BENCH_COMPARE_H
#define DCAPKIT_BENCH_COMPARE_H

#include <functional>

#include <benchmark/benchmark.h>

/// What is counted: a run handles `amount` of `unit`.
struct Work {
  double amount;
  const char* unit;
};

/// Runs `bare` and `measured` in turn, as often as the benchmark iterates. Reports the median of
/// bare / measured by processor time as "ratio" (1 is as fast as the bare
/// baseline, more is faster) and the best of each as "bare/s" and "measured/s". Whoever else loads
/// the machine slows both.
void Compare(benchmark::State& state, Work work, const std::function<void()>& bare,
             const std::function<void()>& measured);

/// Registers a benchmark that calls `Compare`.
benchmark::internal::Benchmark* Comparison(const char* name,
                                           std::function<void(benchmark::State&)> function);

#endif  // DCAPKIT_BENCH_COMPARE_H
