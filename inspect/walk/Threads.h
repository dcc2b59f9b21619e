// The number of threads that work on a capture.
#ifndef DCAP_INSPECT_THREADS_H
#define DCAP_INSPECT_THREADS_H

#include <cstdint>

namespace Inspect {

/// The most threads that `ThreadsFor` gives.
inline constexpr unsigned kMaxThreads = 64;

/// The number of threads for a capture of `size` bytes. `jobs` is the number that the user asks
/// for. If that is 0, there is one for each core, but only one for a capture of less than a
/// megabyte.
unsigned ThreadsFor(unsigned jobs, uint64_t size);

}  // namespace Inspect

#endif  // DCAP_INSPECT_THREADS_H
