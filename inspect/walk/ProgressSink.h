// How far long work has got.
#ifndef DCAP_INSPECT_PROGRESSSINK_H
#define DCAP_INSPECT_PROGRESSSINK_H

#include <cstdint>

namespace Inspect {

/// Is told after each block how far work on a capture has got, by one thread at a time.
class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  /// `done` bytes of the capture are done. Should return soon: it is called for every block.
  virtual void Show(uint64_t done) = 0;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_PROGRESSSINK_H
