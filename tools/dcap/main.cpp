// dcap: reads DCAP captures of EGL and OpenGL ES calls.
#include <cstdio>
#include <exception>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Command.h"
#include "ToolLog.h"

namespace {

int Run(int argc, char** argv) {
  CLI::App app("Reads DCAP captures of EGL and OpenGL ES calls.", "dcap");
  app.require_subcommand(1);
  app.set_version_flag("--version", "dcap " DCAP_VERSION);
  app.get_formatter()->column_width(28);

  ToolLog log;
  app.add_flag("-v,--verbose", log.verbose, "show notices as well as warnings and errors");

  int status = kExitOk;
  for (AddCommand* add : kCommands) {
    add(app, &status);
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    return code == 0 ? kExitOk : kExitUsage;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "dcap: %s\n", exception.what());
    return kExitFailure;
  }
}
