// Walking a capture on several threads.
#ifndef DCAP_PARALLELWALK_H
#define DCAP_PARALLELWALK_H

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "inspect/events/Events.h"
#include "inspect/parallel/InOrder.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Capture.h"
#include "output/Progress.h"

/// Handles the events of some ranges of a capture, on the thread that walks the range at hand. What
/// is to be done with the results goes through `InOrder::Turn::Do`.
class RangeHandler {
 public:
  virtual ~RangeHandler() = default;
  /// Before the first event of a range.
  virtual void Begin(InOrder::Turn* turn) = 0;
  virtual EventHandler* Events() = 0;
  /// After the last event, be it that of the range or the last before the damage.
  virtual void Finish() = 0;
};

/// How `WalkCapture` shares its work among threads.
struct ParallelWalk {
  unsigned jobs = 0;  ///< as given with --jobs
  /// Called after `FileStart`, before anything else is handled.
  std::function<void()> start;
  /// Called on any thread, even on several at once.
  std::function<std::unique_ptr<RangeHandler>()> makeHandler;
};

/// Works on one range after the other, not always on the same thread.
class RangeWorker {
 public:
  virtual ~RangeWorker() = default;
  /// False when it can work on no other. One that throws is not asked again either.
  virtual bool WorkOn(const BlockRange& range, InOrder::Turn* turn) = 0;
};

/// Works on the ranges of a capture.
class RangeWorkers {
 public:
  /// Called on any thread, even on several at once. The reader is the worker's own.
  using MakeWorker =
      std::function<std::unique_ptr<RangeWorker>(std::shared_ptr<Core::DataReader> reader)>;

  /// `jobs` as given with --jobs. Borrows `capture`.
  RangeWorkers(const Capture& capture, unsigned jobs);

  /// One for a pipe.
  [[nodiscard]] unsigned Threads() const { return threads_; }
  [[nodiscard]] const Data::FileHeader& Header() const { return capture_.Recovery().header; }

  /// Has workers work on all ranges that are selected. Throws as `InOrder::Run`.
  void Run(const Ranges& frames, Progress* progress, const MakeWorker& makeWorker);

 private:
  struct Idle {
    std::shared_ptr<Core::DataReader> reader;
    std::unique_ptr<RangeWorker> worker;  // null when there is none yet that uses the reader
  };

  class Loan;

  const Capture& capture_;
  unsigned threads_;
  std::mutex mutex_;
  std::vector<Idle> idle_;  // one for each thread that has nothing to do
};

/// What `WalkCapture` does after the start of the file, on several threads. Throws what ends the
/// walk, after it has told where that was.
void WalkRanges(RangeWorkers* workers, const Selection& selection, const ParallelWalk& walk,
                Progress* progress, std::optional<Place>* failedAt);

/// How many threads `jobs`, as given with --jobs, means for a capture of `size` bytes: for 0, one
/// for each core, and a single one for less than a megabyte.
unsigned ThreadsFor(unsigned jobs, uint64_t size);

/// Adds the option --jobs to a command.
void AddJobsOption(CLI::App* command, unsigned* jobs);

#endif  // DCAP_PARALLELWALK_H
