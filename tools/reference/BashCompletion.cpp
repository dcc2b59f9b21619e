#include "Reference.h"

namespace {

std::string OptionNames(const CommandInfo& command) {
  std::vector<std::string> names;
  for (const OptionInfo& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return Join(names);
}

// The lines of a `case` that set the possible values of each option.
std::string Values(const CommandInfo& command) {
  std::string text;
  for (const OptionInfo& option : command.options) {
    if (option.form.empty()) continue;
    std::string names;
    for (const std::string& name : option.names) names += (names.empty() ? "" : "|") + name;
    text += "        " + names + ") ";
    if (!option.choices.empty()) {
      text +=
          std::string(option.TakesList() ? "list" : "values") + "='" + Join(option.choices) + "'";
    } else if (option.form == "FILE" || option.form == "DIR") {
      text += std::string("kind=") + (option.form == "FILE" ? "file" : "directory");
    } else {
      text += "return";
    }
    text += " ;;\n";
  }
  return text.empty() ? "" : "      case $previous in\n" + text + "      esac\n";
}

constexpr const char* kStart = R"(
_dcap() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' options='' values='' list='' kind=file i
  COMPREPLY=()
  # --format=text comes as three words.
  if [[ $current == = ]]; then
    current=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done
  case $command in
)";

constexpr const char* kEnd = R"(    *)
      return ;;
  esac
  if [[ $list ]]; then
    # The last of several: what stands before its comma stays.
    local before=${current%"${current##*,}"}
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$list" -- "${current##*,}")
    compopt -o nospace 2>/dev/null
  elif [[ $values ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -A "$kind" -- "$current")
    compopt -o filenames 2>/dev/null
  fi
  return 0
}

complete -F _dcap dcap
)";

}  // namespace

std::string BashCompletion(const CommandInfo& tool, const std::vector<CommandInfo>& commands) {
  std::string text = Notice("#") + kStart;
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CommandInfo& command : commands) names.push_back(command.name);
  text += "    '')\n      options='" + OptionNames(tool) + "'\n";
  text += "      [[ $current == -* ]] || values='" + Join(names) + "' ;;\n";
  for (const CommandInfo& command : commands) {
    text += "    " + command.name + ")\n      options='" + OptionNames(command) + "'\n" +
            Values(command);
    text += "      ;;\n";
  }
  return text + kEnd;
}
