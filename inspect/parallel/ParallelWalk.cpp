#include "inspect/parallel/ParallelWalk.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

#include <CLI/App.hpp>
#include <malloc.h>

#include "Core/Exceptions.h"
#include "Data/DCAPFileProcessor.h"

#include "output/ToolLog.h"

namespace {

// So much that little is done per range, so little that its listing, a megabyte, can wait.
constexpr uint64_t kRangeSize = uint64_t{300} << 10;
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

// One of the idle, for a while.
class RangeWorkers::Loan {
 public:
  explicit Loan(RangeWorkers* owner) : owner_(owner) {
    const std::lock_guard lock(owner_->mutex_);
    own_ = std::move(owner_->idle_.back());
    owner_->idle_.pop_back();
  }
  ~Loan() {
    const std::lock_guard lock(owner_->mutex_);
    owner_->idle_.push_back(std::move(own_));
  }
  Loan(const Loan&) = delete;
  Loan& operator=(const Loan&) = delete;
  Idle* operator->() { return &own_; }

 private:
  RangeWorkers* owner_;
  Idle own_;
};

RangeWorkers::RangeWorkers(const Capture& capture, unsigned jobs)
    : capture_(capture), threads_(ThreadsFor(jobs, capture.Reader()->Size())) {
  // All at once, as the file may be gone later.
  while (threads_ > 1 && idle_.size() < threads_) {
    idle_.push_back({capture.OpenAgain(), nullptr});
    if (idle_.back().reader == nullptr) threads_ = 1;
  }
}

void RangeWorkers::Run(const Ranges& frames, Progress* progress, const MakeWorker& makeWorker) {
  // Memory that goes from thread to thread is kept for the next range, but no more than that.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  mallopt(M_TRIM_THRESHOLD, 2 << 20);
  const uint64_t perThread = capture_.Reader()->Size() / kRangesPerThread / threads_;
  BlockRanges ranges(capture_.Headers(), frames, std::min(kRangeSize, perThread));
  InOrder::Run(threads_, [&]() -> InOrder::Work {
    BlockRange range;
    if (!ranges.Next(&range)) return nullptr;
    return [&, range](InOrder::Turn* turn) {
      Loan loan(this);
      std::unique_ptr<RangeWorker> worker = std::move(loan->worker);
      if (worker == nullptr) worker = makeWorker(loan->reader);
      const bool isReusable = worker->WorkOn(range, turn);
      if (isReusable) loan->worker = std::move(worker);
      if (range.end != BlockRange::kToTheEnd) {
        turn->Do(0, [progress, end = range.end] { progress->Show(end); });
      }
    };
  });
}

namespace {

// Hands what is selected to a handler.
class Walker : public RangeWorker {
 public:
  Walker(const Selection& selection, uint64_t largePayload, bool compressed,
         std::unique_ptr<RangeHandler> handler, std::shared_ptr<Core::DataReader> reader,
         std::optional<Place>* failedAt)
      : largePayload_(largePayload),
        compressed_(compressed),
        handler_(std::move(handler)),
        reader_(std::move(reader)),
        consumer_(handler_->Events(), &selection),
        failedAt_(failedAt) {}

  bool WorkOn(const BlockRange& range, InOrder::Turn* turn) override {
    handler_->Begin(turn);
    ThreadLog log(turn);
    bool isReusable = true;
    std::exception_ptr failure;
    try {
      Begin(range, &log);
      // One thread at a time holds large payloads, or memory would grow with the number of threads.
      if ((compressed_ || range.largestBlock > largePayload_) &&
          HasLargePayload(reader_, range, largePayload_)) {
        turn->Await();
        isReusable = false;
      }
      ExpectToRead(range, reader_.get());
      if (!WalkRange(&processor_, &consumer_, range, nullptr)) {
        turn->IsLast();
        isReusable = false;
      }
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
    handler_->Finish();
    if (failure == nullptr) return isReusable;
    turn->Do(0, [to = failedAt_, place = PlaceOf(processor_, consumer_)] { *to = place; });
    std::rethrow_exception(failure);
  }

 private:
  void Begin(const BlockRange& range, ThreadLog* log) {
    consumer_.ContinueAfter(range.framesBefore, range.numberBefore);
    // Each time, so that the reader begins with short fetches, not to read far into the next range.
    reader_->Seek(SEEK_SET, 0);
    log->muted = true;  // the start of the file has been told
    processor_.Initialize(&consumer_, reader_, 0);
    log->muted = false;
  }

  uint64_t largePayload_;
  bool compressed_;
  std::unique_ptr<RangeHandler> handler_;
  std::shared_ptr<Core::DataReader> reader_;
  EventConsumer consumer_;
  Data::DCAPFileProcessor processor_;
  std::optional<Place>* failedAt_;
};

}  // namespace

void WalkRanges(RangeWorkers* workers, const Selection& selection, const ParallelWalk& walk,
                Progress* progress, std::optional<Place>* failedAt) {
  // Compressed payloads may be larger than their blocks.
  const bool compressed = (workers->Header().optionMask & Data::kOptionCompressionMask) != 0;
  const uint64_t largePayload = kSharedPayloads / workers->Threads();
  walk.start();
  workers->Run(selection.frames, progress, [&](auto reader) {
    return std::make_unique<Walker>(selection, largePayload, compressed, walk.makeHandler(),
                                    std::move(reader), failedAt);
  });
}

unsigned ThreadsFor(unsigned jobs, uint64_t size) {
  if (jobs == 0 && size >= kSmallCapture) jobs = std::thread::hardware_concurrency();
  return std::clamp(jobs, 1u, kMaxJobs);
}

void AddJobsOption(CLI::App* command, unsigned* jobs) {
  command->add_option("--jobs", *jobs, "threads; as many as there are cores unless given")
      ->check(CLI::Range(1u, kMaxJobs))
      ->type_name("N");
}
