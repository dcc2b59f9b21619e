// dcap: reads DCAP captures of EGL and OpenGL ES calls.
#include <csignal>
#include <cstdio>
#include <exception>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Command.h"
#include "CommandLine.h"
#include "ToolLog.h"

namespace {

constexpr const char* kFooter = R"(Exit status:
  0  all is well, or whoever read the output had enough
  1  the capture is damaged, or a file cannot be read or written
  2  the command line makes no sense
  3  done, but the capture had been cut: recorded bytes are missing

'dcap COMMAND --help' shows the options and examples of a command.)";

int Run(int argc, char** argv) {
  CLI::App app("Reads DCAP captures of EGL and OpenGL ES calls.", "dcap");
  UseHelpFormat(&app);
  app.require_subcommand(1);
  app.set_version_flag("--version", "dcap " DCAP_VERSION, "show the version");

  ToolLog log;
  app.add_flag("-v,--verbose", log.verbose, "show notices as well as warnings and errors");

  int status = kExitOk;
  for (AddCommand* add : kCommands) {
    add(app, &status);
  }
  app.footer(kFooter);  // now, or all commands would have it
  for (CLI::App* command : app.get_subcommands({})) {
    command->fallthrough()->group("Commands");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return ReportParseError(app, error);
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // Writing to a reader that has had enough fails instead, so that commands can clean up.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "dcap: %s\n", exception.what());
    return kExitFailure;
  }
}
