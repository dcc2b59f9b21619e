// Manual pages and shell completions, made from the descriptions that the tool's --help shows.
#ifndef DCAP_REFERENCE_H
#define DCAP_REFERENCE_H

#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>

struct OptionInfo {
  std::vector<std::string> names;    ///< "-o", "--output"
  std::string form;                  ///< of the value, see `ValueForm`; empty for a flag
  std::vector<std::string> choices;  ///< see `ValueChoices`
  std::string description;
  std::string group;  ///< "Options", "Selection"

  [[nodiscard]] bool TakesList() const { return form.find(',') != std::string::npos; }
};

/// The tool itself, or one of its commands.
struct CommandInfo {
  std::string name;         ///< of the command; "dcap" for the tool
  std::string description;  ///< a line
  std::string arguments;    ///< "FILE", "FILE..."
  std::string argumentDescription;
  std::vector<OptionInfo> options;
  std::vector<std::string> paragraphs;
  /// The sections of the footer: title ("Examples", "Exit status") and lines.
  std::vector<std::pair<std::string, std::vector<std::string>>> sections;
};

CommandInfo Describe(const CLI::App& app);

/// The page of `command`, which may be the tool itself.
std::string ManPage(const CommandInfo& command, const CommandInfo& tool,
                    const std::vector<CommandInfo>& commands);

std::string BashCompletion(const CommandInfo& tool, const std::vector<CommandInfo>& commands);
std::string ZshCompletion(const CommandInfo& tool, const std::vector<CommandInfo>& commands);

/// The first line of each generated file, as a comment that begins with `comment`.
std::string Notice(const std::string& comment);

/// Joins `words` with spaces.
std::string Join(const std::vector<std::string>& words);

#endif  // DCAP_REFERENCE_H
