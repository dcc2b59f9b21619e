#include "CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Command.h"
#include "ExitStatus.h"

namespace {

std::string Footer() {
  std::string text = "Exit status:\n";
  for (const ExitStatusText& one : kExitStatuses) {
    text += "  " + std::to_string(one.status) + "  " + one.text + "\n";
  }
  return text + R"(
Environment:
  NO_COLOR  not empty: no colours, not even on a terminal

'dcap COMMAND --help' shows the options and examples of a command.)";
}

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(30);
    label("OPTIONS", "OPTION...");
    label("SUBCOMMAND", "COMMAND ...");
    label("Positionals", "Arguments");
  }

  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override {
    std::string text = CLI::Formatter::make_group(group, isPositional, std::move(options));
    // CLI11 has left an empty line between two groups already.
    return isPositional || group == "Options" ? text : text.substr(1);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_positional()) {
      return option->get_expected_max() == CLI::detail::expected_max_vector_size ? "..." : "";
    }
    const std::string form = ValueForm(*option);
    return form.empty() ? "" : " " + form;
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    std::string text = option->get_description();
    if (option->get_required() && !option->get_positional()) {
      text += " (required)";
    }
    if (!option->get_default_str().empty()) {
      text += " (" + option->get_default_str() + ")";
    }
    constexpr size_t kWidth = 70;
    for (size_t start = 0; text.size() - start > kWidth;) {
      const size_t gap = text.rfind(' ', start + kWidth);
      if (gap == std::string::npos || gap <= start) break;
      text[gap] = '\n';
      start = gap + 1;
    }
    return text;
  }
};

// The number of characters to insert, remove, replace or swap with the next.
size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<size_t> beforeLast;
  std::vector<size_t> last(to.size() + 1);
  std::iota(last.begin(), last.end(), size_t{0});
  for (size_t i = 1; i <= from.size(); ++i) {
    std::vector<size_t> row(to.size() + 1, i);
    for (size_t j = 1; j <= to.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (from[i - 1] != to[j - 1])});
      if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
    beforeLast = std::exchange(last, std::move(row));
  }
  return last[to.size()];
}

// ": did you mean 'dump'?", or nothing when no name is near.
std::string Suggest(std::string_view word, const std::vector<std::string>& names) {
  const auto distance = [word](const std::string& name) { return EditDistance(word, name); };
  const auto nearest = std::ranges::min_element(names, {}, distance);
  if (nearest == names.end() || distance(*nearest) > std::max<size_t>(1, word.size() / 3)) {
    return "";
  }
  return ": did you mean '" + *nearest + "'?";
}

void AppendOptions(const CLI::App& app, std::vector<std::string>* names) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names->push_back("--" + name);
    }
  }
}

// The word that was not understood: an option, if there is one, as its value counts as an argument.
std::string UnknownWord(const CLI::App& app) {
  const std::vector<std::string> extras = app.remaining(true);
  const auto isOption = [](const std::string& word) { return word.starts_with('-'); };
  const auto found = std::ranges::find_if(extras, isOption);
  return found != extras.end() ? *found : extras.empty() ? "" : extras.front();
}

std::string DescribeError(const CLI::App& app, const CLI::App& command,
                          const CLI::ParseError& error) {
  const std::string unknown = UnknownWord(app);
  if (unknown.starts_with('-')) {
    std::vector<std::string> names;
    AppendOptions(command, &names);
    AppendOptions(app, &names);
    const std::string name = unknown.substr(0, unknown.find('='));
    return "unknown option '" + name + "'" + Suggest(name, names);
  }
  if (&command == &app && !unknown.empty()) {
    std::vector<std::string> names;
    for (const CLI::App* known : app.get_subcommands({})) {
      names.push_back(known->get_name());
    }
    return "unknown command '" + unknown + "'" + Suggest(unknown, names);
  }
  if (&command == &app && error.get_name() == "RequiredError") {
    return "a command is required";
  }
  const std::string text = error.what();
  return error.get_name() == "ArgumentMismatch"
             ? text.substr(0, text.find(':')) + ": a value is missing"
             : text;
}

}  // namespace

void DescribeTool(CLI::App* app, const std::string& version, bool* verbose, int* status) {
  app->name("dcap");
  app->description("Reads DCAP captures of EGL and OpenGL ES calls.");
  app->formatter(std::make_shared<HelpFormatter>());
  app->set_help_flag("-h,--help", "show this help");
  app->set_version_flag("--version", version, "show the version");
  app->add_flag("-v,--verbose", *verbose, "show notices as well as warnings and errors");
  app->require_subcommand(1);
  for (AddCommand* add : kCommands) {
    add(*app, status);
  }
  app->footer(Footer());  // after the commands, which would inherit it
  for (CLI::App* command : app->get_subcommands({})) {
    command->fallthrough()->group("Commands");
  }
}

std::string ValueForm(const CLI::Option& option) {
  if (option.get_type_size() == 0) return "";
  // "DIR", "N:UINT in [1 - 64]", "TEXT:{text,jsonl,canonical}", "draw,upload:{draw,compute,...}"
  const std::string type = option.get_type_name();
  std::string form = type.substr(0, type.find(':'));
  if (form != "TEXT") return form;
  std::string choices;
  for (const std::string& choice : ValueChoices(option)) {
    choices += (choices.empty() ? "" : "|") + choice;
  }
  return choices.empty() ? "FILE" : choices;
}

std::vector<std::string> ValueChoices(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const size_t brace = type.find(":{");
  if (brace == std::string::npos) return {};
  return CLI::detail::split(type.substr(brace + 2, type.find('}') - brace - 2), ',');
}

int ReportParseError(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    app.exit(error, std::cout, std::cerr);
    return kExitOk;
  }
  const std::vector<CLI::App*> parsed = app.get_subcommands();
  const CLI::App& command = parsed.empty() ? app : *parsed.front();
  const std::string name = &command == &app ? "dcap" : "dcap " + command.get_name();
  std::fprintf(stderr, "dcap: %s\nRun '%s --help' for more information.\n",
               DescribeError(app, command, error).c_str(), name.c_str());
  return kExitUsage;
}
