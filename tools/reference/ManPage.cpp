#include <algorithm>
#include <cctype>

#include "Reference.h"

namespace {

// Escapes text so that troff shows it as it is.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (escaped.empty() && (character == '.' || character == '\'')) escaped += "\\&";
    switch (character) {
      case '\\':
        escaped += "\\e";
        break;
      case '-':
        escaped += "\\-";
        break;
      case '\'':
        escaped += "\\(aq";
        break;
      case '^':
        escaped += "\\(ha";
        break;
      case '~':
        escaped += "\\(ti";
        break;
      case '`':
        escaped += "\\(ga";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string Bold(const std::string& text) { return "\\fB" + Escape(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Escape(text) + "\\fR"; }

std::string Upper(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string Title(const std::string& title) {
  const std::string name = Upper(title);
  return name.find(' ') == std::string::npos ? ".SH " + name + "\n" : ".SH \"" + name + "\"\n";
}

std::string Tagged(const std::string& tag, const std::string& text) {
  return ".TP\n" + tag + "\n" + Escape(text) + "\n";
}

// The names and words to choose from in bold, other values in italics.
std::string OptionTag(const OptionInfo& option) {
  std::string tag;
  for (const std::string& name : option.names) tag += (tag.empty() ? "" : ", ") + Bold(name);
  if (option.form.empty()) return tag;
  if (option.choices.empty() || option.TakesList()) return tag + " " + Italic(option.form);
  std::string choices;
  for (const std::string& choice : option.choices) {
    choices += (choices.empty() ? "" : "|") + Bold(choice);
  }
  return tag + " " + choices;
}

std::string Options(const CommandInfo& command) {
  std::string text;
  std::string group;
  for (const OptionInfo& option : command.options) {
    if (option.group != group) text += Title(group = option.group);
    text += Tagged(OptionTag(option), option.description);
  }
  return text;
}

std::string Section(const std::string& title, const std::vector<std::string>& lines) {
  std::string text = Title(title);
  if (title == "Examples") {
    text += ".EX\n";
    for (const std::string& line : lines) text += Escape(line) + "\n";
    return text + ".EE\n";
  }
  for (const std::string& line : lines) {
    const size_t gap = line.find("  ");
    text += Tagged(Bold(line.substr(0, gap)), line.substr(gap + 2));
  }
  return text;
}

std::string PageName(const CommandInfo& command, const CommandInfo& tool) {
  return command.name == tool.name ? tool.name : tool.name + "-" + command.name;
}

}  // namespace

std::string ManPage(const CommandInfo& command, const CommandInfo& tool,
                    const std::vector<CommandInfo>& commands) {
  const bool isTool = command.name == tool.name;
  const std::string page = PageName(command, tool);
  std::string summary = command.description;
  summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
  if (summary.ends_with('.')) summary.pop_back();

  std::string text = Notice(".\\\"");
  // A fixed date, which mandoc asks for: the date of the build would differ each time.
  text += ".TH " + Escape(Upper(page)) + " 1 2026-11-21 dcapkit \"dcapkit manual\"\n";
  text += ".SH NAME\n" + Escape(page) + " \\- " + Escape(summary) + "\n";
  text += ".SH SYNOPSIS\n" + Bold(isTool ? tool.name : tool.name + " " + command.name);
  text += " [" + Italic("OPTION") + "...] ";
  text += (isTool ? Italic("COMMAND") + " ..." : Italic(command.arguments)) + "\n";
  text += ".SH DESCRIPTION\n";
  text += isTool ? Escape(command.description) + "\n"
                 : Italic(command.arguments) + ": " + Escape(command.argumentDescription) + ".\n";
  for (const std::string& paragraph : command.paragraphs) {
    text += ".PP\n" + Escape(paragraph) + "\n";
  }
  if (isTool) {
    text += ".SH COMMANDS\n";
    for (const CommandInfo& one : commands) {
      text += Tagged(Bold(one.name), one.description);
    }
  }
  text += Options(command);
  for (const auto& [title, lines] : command.sections) text += Section(title, lines);
  if (!isTool) {
    for (const auto& [title, lines] : tool.sections) text += Section(title, lines);
  }
  text += ".SH \"SEE ALSO\"\n";
  if (!isTool) return text + ".BR dcap (1)\n";
  for (const CommandInfo& one : commands) {
    text += ".BR " + Escape(PageName(one, tool)) + " (1)" +
            (one.name == commands.back().name ? "" : ",") + "\n";
  }
  return text;
}
