// The progress of long work.
#ifndef DCAP_INSPECT_PROGRESSSINK_H
#define DCAP_INSPECT_PROGRESSSINK_H

#include <cstdint>

namespace Inspect {

/// Receives the progress of work on a capture, after each block, from one thread at a time.
class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  /// Tells that `done` bytes of the capture are done. Called for every block, so it should be
  /// quick.
  virtual void Show(uint64_t done) = 0;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_PROGRESSSINK_H
