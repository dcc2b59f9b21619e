// Walks the events of a capture, on one thread or on several.
#ifndef DCAP_INSPECT_WALKCAPTURE_H
#define DCAP_INSPECT_WALKCAPTURE_H

#include <functional>
#include <memory>
#include <optional>

#include "inspect/events/Events.h"
#include "inspect/parallel/InOrder.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// Handles the events of some ranges of a capture, on the thread that walks the range at hand.
/// Delivers its results through `InOrder::Turn::Do`.
class RangeHandler {
 public:
  virtual ~RangeHandler() = default;
  /// Before the first event of a range. `turn` is borrowed until `Finish`.
  virtual void Begin(InOrder::Turn* turn) = 0;
  virtual EventHandler* Events() = 0;
  /// After the last event, whether the range ended or damage stopped it.
  virtual void Finish() = 0;
};

/// How `WalkCapture` shares its work among threads.
struct ParallelWalk {
  unsigned jobs = 0;  ///< see `ThreadsFor`
  /// Called after `FileStart`, before anything else is handled.
  std::function<void()> start;
  /// Makes a handler for one thread. Called on any thread, even on several at once.
  std::function<std::unique_ptr<RangeHandler>()> makeHandler;
};

/// Walks a capture up to the last selected frame and hands all selected events to `handler`. In a
/// file, it skips frames that are not selected. Returns the damage that ended the walk early, after
/// the events before it have been handled. `progress` may be null.
///
/// With `parallel`, where the capture is large enough for several threads, `handler` handles the
/// start of the file alone; handlers that `parallel` makes handle the rest. An `OrderedLog` as the
/// library's log sink keeps log lines in the order of the events.
///
/// When a handler throws, the walk ends and throws the same. Handlers must not throw
/// `Core::BasicException` or `std::bad_alloc`, which would pass for damage.
std::optional<Damage> WalkCapture(const Capture& capture, EventHandler* handler,
                                  const Selection& selection, ProgressSink* progress,
                                  const ParallelWalk* parallel = nullptr);

}  // namespace Inspect

#endif  // DCAP_INSPECT_WALKCAPTURE_H
