// The number of lines that the library has logged.
#ifndef DCAP_INSPECT_LOGLINES_H
#define DCAP_INSPECT_LOGLINES_H

#include <cstdint>

namespace Inspect {

/// The number of lines that the calling thread has logged. Printers do not keep the line of a call
/// that made the library log: the log sink must count here.
inline thread_local uint64_t logLinesOfThisThread = 0;

}  // namespace Inspect

#endif  // DCAP_INSPECT_LOGLINES_H
