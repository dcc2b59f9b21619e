// The commands of the tool.
#ifndef DCAP_COMMAND_H
#define DCAP_COMMAND_H

#include <CLI/App.hpp>

/// Adds a command to the tool. The command's callback stores its `ExitStatus` in `*status`; its
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
