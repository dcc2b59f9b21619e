// Options that several commands take.
#ifndef DCAP_SHAREDOPTIONS_H
#define DCAP_SHAREDOPTIONS_H

#include <CLI/App.hpp>

#include "inspect/events/Selection.h"

/// Adds --frames, --threads, --calls and --class to a command. They narrow `selection`, which must
/// outlive the parsing. Mistakes are usage errors.
void AddSelectionOptions(CLI::App* command, Inspect::Selection* selection);

/// Adds --jobs to a command. `*jobs` stays as it is when the option is not given.
void AddJobsOption(CLI::App* command, unsigned* jobs);

#endif  // DCAP_SHAREDOPTIONS_H
