// The commands of the tool.
#ifndef DCAP_COMMAND_H
#define DCAP_COMMAND_H

#include <CLI/App.hpp>

/// What the tool's exit status says; documented in the manual.
enum ExitStatus : int {
  kExitOk = 0,
  kExitFailure = 1,  ///< the capture is damaged, or a file cannot be read or written
  kExitUsage = 2,    ///< the command line makes no sense
  /// The command did its work on all that is there of the capture, but recorded bytes are missing:
  /// the file was cut, or ends in a sub-block that is. Merely unfinished captures, all of whose
  /// calls are there, are `kExitOk`.
  kExitIncomplete = 3,
};

/// Adds a command to the tool. The command's callback leaves its exit status in `*status`, its
/// footer ends with examples.
using AddCommand = void(CLI::App& app, int* status);

AddCommand AddDumpCommand;
AddCommand AddInfoCommand;
AddCommand AddFramesCommand;
AddCommand AddStatsCommand;
AddCommand AddFinalizeCommand;
AddCommand AddRepackCommand;
AddCommand AddTrimCommand;
AddCommand AddCatCommand;

/// All commands, in the order in which the help lists them.
inline constexpr AddCommand* kCommands[] = {
    AddDumpCommand,     AddInfoCommand,   AddFramesCommand, AddStatsCommand,
    AddFinalizeCommand, AddRepackCommand, AddTrimCommand,   AddCatCommand,
};

#endif  // DCAP_COMMAND_H
