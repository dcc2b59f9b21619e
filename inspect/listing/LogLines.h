// The number of lines that the library has logged.
#ifndef DCAP_INSPECT_LOGLINES_H
#define DCAP_INSPECT_LOGLINES_H

#include <cstdint>

namespace Inspect {

/// How many lines the calling thread has logged. A log sink that counts them here keeps printers
/// from taking a call about which the library logs something for one that only needs its line.
inline thread_local uint64_t logLinesOfThisThread = 0;

}  // namespace Inspect

#endif  // DCAP_INSPECT_LOGLINES_H
