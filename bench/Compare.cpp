#include "Compare.h"

#include <algorithm>
#include <ctime>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace {

constexpr int kRounds = 11;

// Processor time of all threads, and of the programs that were run and have ended.
double ProcessorSeconds() {
  timespec own{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
  rusage children{};
  getrusage(RUSAGE_CHILDREN, &children);
  const auto microseconds = [](const timeval& time) {
    return 1e6 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec);
  };
  return static_cast<double>(own.tv_sec) + 1e-9 * static_cast<double>(own.tv_nsec) +
         1e-6 * (microseconds(children.ru_utime) + microseconds(children.ru_stime));
}

double Seconds(const std::function<void()>& work) {
  const double start = ProcessorSeconds();
  work();
  return ProcessorSeconds() - start;
}

}  // namespace

void Compare(benchmark::State& state, Work work, const std::function<void()>& bare,
             const std::function<void()>& measured) {
  std::vector<double> ratios;
  double bestBare = 1e9;
  double bestMeasured = 1e9;
  for ([[maybe_unused]] auto iteration : state) {
    const double bareTime = Seconds(bare);
    const double measuredTime = Seconds(measured);
    state.SetIterationTime(measuredTime);
    bestBare = std::min(bestBare, bareTime);
    bestMeasured = std::min(bestMeasured, measuredTime);
    ratios.push_back(bareTime / measuredTime);
  }
  const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
  std::nth_element(ratios.begin(), middle, ratios.end());
  state.SetLabel(work.unit);
  state.counters["ratio"] = *middle;
  state.counters["bare/s"] = work.amount / bestBare;
  state.counters["measured/s"] = work.amount / bestMeasured;
}

benchmark::internal::Benchmark* Comparison(const char* name,
                                           std::function<void(benchmark::State&)> function) {
  return benchmark::RegisterBenchmark(name, std::move(function))
      ->UseManualTime()
      ->Iterations(kRounds)
      ->Unit(benchmark::kMillisecond);
}
