// Walking a capture on several threads.
#ifndef DCAP_PARALLELWALK_H
#define DCAP_PARALLELWALK_H

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "BlockRanges.h"
#include "Capture.h"
#include "Events.h"
#include "InOrder.h"
#include "Progress.h"

/// Handles the events of one range of a capture, on the thread that walks the range. What is to be
/// done with its results goes through `InOrder::Turn::Do`.
class RangeHandler {
 public:
  virtual ~RangeHandler() = default;
  virtual EventHandler* Events() = 0;
  /// After the last event, be it that of the range or the last before the damage.
  virtual void Finish() = 0;
};

/// How `WalkCapture` shares its work among threads.
struct ParallelWalk {
  unsigned jobs = 0;  ///< as given with --jobs
  /// Bytes of a range: so many that little is done per range, so few that its results can wait.
  uint64_t rangeSize = 0;
  /// Called after `FileStart`, before anything else is handled.
  std::function<void()> start;
  /// Called on any thread, even on several at once.
  std::function<std::unique_ptr<RangeHandler>(InOrder::Turn* turn)> makeHandler;
};

/// Works on the ranges of a capture.
class RangeWorkers {
 public:
  /// Reads the capture on one of the threads, at any place.
  using Work =
      std::function<void(const BlockRange& range, const std::shared_ptr<Core::DataReader>& reader,
                         InOrder::Turn* turn)>;

  /// `jobs` is 0 for a thread for each core, and a single one for a capture of less than a
  /// megabyte. Borrows `capture`.
  RangeWorkers(const Capture& capture, unsigned jobs);

  /// One for a pipe.
  [[nodiscard]] unsigned Threads() const { return threads_; }
  [[nodiscard]] const Data::FileHeader& Header() const { return capture_.Recovery().header; }

  /// Has `work` done on all ranges that are selected, of about `size` bytes, or less in a small
  /// capture. Throws as `InOrder::Run`.
  void Run(const Ranges& frames, uint64_t size, Progress* progress, const Work& work);

 private:
  const Capture& capture_;
  unsigned threads_;
  std::mutex mutex_;
  std::vector<std::shared_ptr<Core::DataReader>> idleReaders_;
};

/// What `WalkCapture` does after the start of the file, on several threads. Throws what ends the
/// walk, after it has told where that was.
void WalkRanges(RangeWorkers* workers, const Selection& selection, const ParallelWalk& walk,
                Progress* progress, std::optional<Place>* failedAt);

/// Adds the option --jobs to a command.
void AddJobsOption(CLI::App* command, unsigned* jobs);

#endif  // DCAP_PARALLELWALK_H
