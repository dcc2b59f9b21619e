// How many threads work on a capture.
#ifndef DCAP_INSPECT_THREADS_H
#define DCAP_INSPECT_THREADS_H

#include <cstdint>

namespace Inspect {

/// Nothing uses more threads than that.
inline constexpr unsigned kMaxThreads = 64;

/// The number of threads for a capture of `size` bytes when `jobs` are asked for. With 0, which
/// leaves it to this function, one for each core, but a single one for less than a megabyte.
unsigned ThreadsFor(unsigned jobs, uint64_t size);

}  // namespace Inspect

#endif  // DCAP_INSPECT_THREADS_H
