// dcap: reads DCAP captures of EGL and OpenGL ES calls.
#include <csignal>
#include <cstdio>
#include <exception>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Command.h"
#include "CommandLine.h"
#include "ExitStatus.h"
#include "output/ToolLog.h"

namespace {

int Run(int argc, char** argv) {
  CLI::App app;
  ToolLog log;
  int status = kExitOk;
  DescribeTool(&app, "dcap " DCAP_VERSION, &log.verbose, &status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return ReportParseError(app, error);
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // When the reader of a pipe has gone, writing fails, so that commands can clean up.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "dcap: %s\n", exception.what());
    return kExitFailure;
  }
}
