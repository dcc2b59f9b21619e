// How the tool looks from the command line: its commands and their help, and what it says when it
// cannot make sense of one.
#ifndef DCAP_COMMANDLINE_H
#define DCAP_COMMANDLINE_H

#include <string>
#include <vector>

#include <CLI/App.hpp>

/// Gives `app` the commands and options of the tool. Parsing then runs a command, which leaves an
/// `ExitStatus` in `*status`, and sets `*verbose`. `version` is what --version shows.
void DescribeTool(CLI::App* app, const std::string& version, bool* verbose, int* status);

/// What the value of an option looks like: "FILE", "text|jsonl|canonical", "10-20,35,100-"; empty
/// for a flag.
std::string ValueForm(const CLI::Option& option);

/// The words that an option takes, none if others are possible. Where the form of the value has a
/// comma, it may be a list of them.
std::vector<std::string> ValueChoices(const CLI::Option& option);

/// Says on stderr what is wrong with the command line that `app` could not parse, and which command
/// or option may have been meant. Or shows help or version on stdout, where that is what was asked
/// for. Returns an `ExitStatus`.
int ReportParseError(const CLI::App& app, const CLI::ParseError& error);

#endif  // DCAP_COMMANDLINE_H
