// Shares the ranges of a capture among threads.
#ifndef DCAP_INSPECT_RANGEWORKERS_H
#define DCAP_INSPECT_RANGEWORKERS_H

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Core/DataReader.h"

#include "inspect/events/Selection.h"
#include "inspect/parallel/InOrder.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// Works on one range after the other, not always on the same thread.
class RangeWorker {
 public:
  virtual ~RangeWorker() = default;
  /// Hands its results to `turn`. Returns false when it can work on no further range. A worker that
  /// throws is given none either.
  virtual bool WorkOn(const BlockRange& range, InOrder::Turn* turn) = 0;
};

/// Runs one worker on each of several threads, until all ranges of a capture are done.
class RangeWorkers {
 public:
  /// Makes a worker with a reader of its own. Called on any thread, even on several at once.
  using MakeWorker =
      std::function<std::unique_ptr<RangeWorker>(std::shared_ptr<Core::DataReader> reader)>;

  /// Takes `ThreadsFor(jobs, size)` threads, and opens the capture, which it borrows, for each of
  /// them.
  RangeWorkers(const Capture& capture, unsigned jobs);

  /// 1 where the capture cannot be shared, such as a pipe.
  [[nodiscard]] unsigned Threads() const { return threads_; }

  /// Has workers work on all ranges of the selected frames. `progress` may be null. Throws as
  /// `InOrder::Run`. Requires more than one thread.
  void Run(const Ranges& frames, ProgressSink* progress, const MakeWorker& makeWorker);

 private:
  struct Idle {
    std::shared_ptr<Core::DataReader> reader;
    std::unique_ptr<RangeWorker> worker;  // that uses the reader; null when it is to be made
  };

  class Loan;

  const Capture& capture_;
  unsigned threads_;
  std::mutex mutex_;
  std::vector<Idle> idle_;  // one for each thread that is not at work on a range
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_RANGEWORKERS_H
