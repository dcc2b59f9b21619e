#include "Reference.h"

namespace {

// Escapes text for '...' and [...] in an argument of _arguments.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '\'') {
      escaped += "'\\''";
      continue;
    }
    if (character == '[' || character == ']' || character == ':' || character == '\\') {
      escaped += '\\';
    }
    escaped += character;
  }
  return escaped;
}

// The action that completes the value of an option.
std::string Action(const OptionInfo& option) {
  if (!option.choices.empty()) {
    return option.TakesList() ? "_values -s , class " + Join(option.choices)
                              : "(" + Join(option.choices) + ")";
  }
  if (option.form == "FILE") return "_files";
  return option.form == "DIR" ? "_directories" : " ";
}

std::string Arguments(const CommandInfo& command) {
  std::string text;
  for (const OptionInfo& option : command.options) {
    const std::string value =
        option.form.empty() ? "" : ":" + Escape(option.form) + ":" + Action(option);
    for (const std::string& name : option.names) {
      const bool isLong = name.starts_with("--");
      // A list may be given in several options.
      std::string spec = option.TakesList() ? "*" : "";
      if (option.names.size() > 1) spec += "(" + Join(option.names) + ")";
      spec += name;
      spec += value.empty() ? "" : isLong ? "=" : "+";
      text += " \\\n        '";
      text += spec.append("[").append(Escape(option.description)).append("]").append(value) + "'";
    }
  }
  return text;
}

}  // namespace

std::string ZshCompletion(const CommandInfo& tool, const std::vector<CommandInfo>& commands) {
  std::string text = "#compdef dcap\n" + Notice("#") + R"(
_dcap() {
  local curcontext=$curcontext state line
  typeset -A opt_args
  _arguments -C)";
  text += Arguments(tool) + " \\\n        '1:command:->command' '*::argument:->arguments'\n";
  text += "  case $state in\n    command)\n      local -a commands=(\n";
  for (const CommandInfo& command : commands) {
    text += "        '" + command.name + ":" + Escape(command.description) + "'\n";
  }
  text += R"(      )
      _describe command commands
      ;;
    arguments)
      case $line[1] in
)";
  for (const CommandInfo& command : commands) {
    const bool several = command.arguments.ends_with("...");
    text += "      " + command.name + ")\n        _arguments -s" + Arguments(command) +
            " \\\n        '" + (several ? "*" : "1") + ":" + Escape(command.argumentDescription) +
            ":_files'\n        ;;\n";
  }
  return text + R"(      esac
      ;;
  esac
}

_dcap "$@"
)";
}
