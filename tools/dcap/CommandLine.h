// How the tool looks from the command line: its help, and what it says when it cannot make sense of
// one.
#ifndef DCAP_COMMANDLINE_H
#define DCAP_COMMANDLINE_H

#include <CLI/App.hpp>

/// Gives `app` the tool's form of help. Commands that are added later inherit it.
void UseHelpFormat(CLI::App* app);

/// Says on stderr what is wrong with the command line that `app` could not parse, and which command
/// or option may have been meant. Or shows help or version on stdout, where that is what was asked
/// for. Returns an `ExitStatus`.
int ReportParseError(const CLI::App& app, const CLI::ParseError& error);

#endif  // DCAP_COMMANDLINE_H
