#include "inspect/parallel/RangeWorkers.h"

#include <algorithm>
#include <utility>

#include <malloc.h>

#include "inspect/walk/Threads.h"

namespace Inspect {

namespace {

// Large enough to amortise the cost of a range, small enough that its listing (about 1 MiB) can be
// buffered.
constexpr uint64_t kRangeSize = uint64_t{300} << 10;
// Small captures still yield this many ranges per thread.
constexpr uint64_t kRangesPerThread = 8;

}  // namespace

// Takes an idle worker; returns it on destruction.
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
  // All at once, so that a file that cannot be opened so often is left to one thread.
  while (threads_ > 1 && idle_.size() < threads_) {
    idle_.push_back({capture.OpenAgain(), nullptr});
    if (idle_.back().reader == nullptr) threads_ = 1;
  }
}

void RangeWorkers::Run(const Ranges& frames, ProgressSink* progress, const MakeWorker& makeWorker) {
  // Keeps freed output buffers in the heap between ranges, up to 2 MiB: they are freed by another
  // thread than allocated them.
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
      if (progress != nullptr && range.end != BlockRange::kToTheEnd) {
        turn->Do(0, [progress, end = range.end] { progress->Show(end); });
      }
    };
  });
}

}  // namespace Inspect
