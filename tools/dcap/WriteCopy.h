// The work of the commands that write captures.
#ifndef DCAP_WRITECOPY_H
#define DCAP_WRITECOPY_H

#include <string>
#include <vector>

#include "ExitStatus.h"
#include "inspect/copy/CaptureCopy.h"

/// Writes the captures at `paths`, one after another, into one at `output`, which appears complete
/// or not at all. Reports errors on stderr.
ExitStatus WriteCopy(const std::vector<std::string>& paths, const std::string& output,
                     const Inspect::CopySettings& settings);

#endif  // DCAP_WRITECOPY_H
