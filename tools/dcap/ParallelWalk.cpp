#include "ParallelWalk.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

#include <CLI/App.hpp>
#include <malloc.h>

#include "Core/Exceptions.h"
#include "Data/DCAPFileProcessor.h"

#include "ToolLog.h"

namespace {

// A capture below this is done before further threads have started.
constexpr uint64_t kSmallCapture = uint64_t{1} << 20;
// Of a small capture there are some for each thread all the same.
constexpr uint64_t kRangesPerThread = 8;

constexpr unsigned kMaxJobs = 64;
// Payloads that several threads may hold at once, all together.
constexpr uint64_t kSharedPayloads = uint64_t{2} << 20;

// Whether a payload in the range has more bytes than that, decompressed, or there is damage.
bool HasLargePayload(const std::shared_ptr<Core::DataReader>& reader, const BlockRange& range,
                     uint64_t bytes) {
  try {
    BlockWalk walk(reader, range);
    while (walk.NextBlock()) {
      Data::StoredSubBlock subBlock{};
      while (walk.NextSubBlock(&subBlock)) {
        if (walk.InflatedSize(subBlock) > bytes) return true;
      }
    }
  } catch (const Core::BasicException&) {
    return true;
  }
  return false;
}

}  // namespace

RangeWorkers::RangeWorkers(const Capture& capture, unsigned jobs)
    : capture_(capture), threads_(std::min(jobs, kMaxJobs)) {
  const uint64_t size = capture.Reader()->Size();
  if (jobs == 0 && size >= kSmallCapture) {
    threads_ = std::clamp(std::thread::hardware_concurrency(), 1u, kMaxJobs);
  }
  if (threads_ > 1) idleReaders_.push_back(capture.OpenAgain());
  if (threads_ <= 1 || idleReaders_.back() == nullptr) threads_ = 1;
}

void RangeWorkers::Run(const Ranges& frames, uint64_t size, Progress* progress, const Work& work) {
  // Memory that goes from thread to thread is kept for the next range, but no more than that.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  mallopt(M_TRIM_THRESHOLD, 2 << 20);
  const uint64_t perThread = capture_.Reader()->Size() / kRangesPerThread / threads_;
  BlockRanges ranges(capture_.Headers(), frames, std::min(size, perThread));
  const auto takeReader = [this] {
    const std::lock_guard lock(mutex_);
    if (idleReaders_.empty()) return capture_.OpenAgain();
    std::shared_ptr<Core::DataReader> reader = std::move(idleReaders_.back());
    idleReaders_.pop_back();
    return reader;
  };
  InOrder::Run(threads_, [&]() -> InOrder::Work {
    BlockRange range;
    if (!ranges.Next(&range)) return nullptr;
    return [&, range](InOrder::Turn* turn) {
      std::shared_ptr<Core::DataReader> reader = takeReader();
      work(range, reader, turn);
      if (range.end != BlockRange::kToTheEnd) {
        turn->Do(0, [progress, end = range.end] { progress->Show(end); });
      }
      const std::lock_guard lock(mutex_);
      idleReaders_.push_back(std::move(reader));
    };
  });
}

void WalkRanges(RangeWorkers* workers, const Selection& selection, const ParallelWalk& walk,
                Progress* progress, std::optional<Place>* failedAt) {
  const uint64_t largePayload = kSharedPayloads / workers->Threads();
  const bool compressed = (workers->Header().optionMask & Data::kOptionCompressionMask) != 0;
  const RangeWorkers::Work work = [&](const BlockRange& range, const auto& reader,
                                      InOrder::Turn* turn) {
    // One thread at a time holds large payloads, or memory would grow with the number of threads.
    if ((compressed || range.largestBlock > largePayload) &&
        HasLargePayload(reader, range, largePayload)) {
      turn->Await();
    }
    const std::unique_ptr<RangeHandler> handler = walk.makeHandler(turn);
    EventConsumer consumer(handler->Events(), &selection);
    Data::DCAPFileProcessor processor;
    ThreadLog log(turn);
    std::exception_ptr failure;
    try {
      reader->Seek(SEEK_SET, 0);
      log.muted = true;  // the start of the file has been told
      consumer.ContinueAfter(range.framesBefore, range.numberBefore);
      processor.Initialize(&consumer, reader, 0);
      log.muted = false;
      if (!WalkRange(&processor, &consumer, range, nullptr)) turn->IsLast();
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
    handler->Finish();
    if (failure != nullptr) {
      turn->Do(0, [failedAt, place = PlaceOf(processor, consumer)] { *failedAt = place; });
      std::rethrow_exception(failure);
    }
  };
  walk.start();
  workers->Run(selection.frames, walk.rangeSize, progress, work);
}

void AddJobsOption(CLI::App* command, unsigned* jobs) {
  command->add_option("--jobs", *jobs, "threads; as many as there are cores unless given")
      ->check(CLI::Range(1u, kMaxJobs))
      ->type_name("N");
}
