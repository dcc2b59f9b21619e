// The command line of the tool: its commands, their help, and messages about mistakes.
#ifndef DCAP_COMMANDLINE_H
#define DCAP_COMMANDLINE_H

#include <string>
#include <vector>

#include <CLI/App.hpp>

/// Gives `app` the commands and options of the tool. Parsing then sets `*verbose` and runs a
/// command, which stores its `ExitStatus` in `*status`. --version shows `version`.
void DescribeTool(CLI::App* app, const std::string& version, bool* verbose, int* status);

/// The form of the value of an option: "FILE", "text|jsonl|canonical", "10-20,35,100-"; empty for a
/// flag.
std::string ValueForm(const CLI::Option& option);

/// The words that an option takes; none if it takes others, too. If the form of the value has a
/// comma, the value may be a list of them.
std::vector<std::string> ValueChoices(const CLI::Option& option);

/// Handles an error that `app` threw: writes to stderr the mistake in the command line, and the
/// command or option that may have been meant. If help or version was asked for, shows that on
/// stdout. Returns an `ExitStatus`.
int ReportParseError(const CLI::App& app, const CLI::ParseError& error);

#endif  // DCAP_COMMANDLINE_H
