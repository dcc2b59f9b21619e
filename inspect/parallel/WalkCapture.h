// Walking the events of a capture, on one thread or on several.
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

/// Walks a capture and hands everything that is selected to `handler`, ending after the last
/// selected frame. Of a file, frames that are not selected are not read but for their size. Returns
/// the damage that ended the walk early; all events before it have been handled. `progress` may be
/// null.
///
/// With `parallel`, `handler` handles the start of the file alone, and handlers that `parallel`
/// makes handle the rest, if that is worth while. If not, `parallel` is not used. An `OrderedLog`
/// keeps what the library logs in the order of the events.
///
/// An exception that a handler throws ends the walk, too, and passes through. It must not be a
/// `Core::BasicException` or a `std::bad_alloc`, which tell of damage.
std::optional<Damage> WalkCapture(const Capture& capture, EventHandler* handler,
                                  const Selection& selection, ProgressSink* progress,
                                  const ParallelWalk* parallel = nullptr);

}  // namespace Inspect

#endif  // DCAP_INSPECT_WALKCAPTURE_H
