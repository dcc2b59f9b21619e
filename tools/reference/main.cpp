// Writes manual pages and shell completions below a folder: dcap_reference DIR
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "CommandLine.h"
#include "Reference.h"

namespace {

void Write(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file << text << std::flush;
}

void WriteAll(const std::filesystem::path& folder) {
  CLI::App app;
  bool verbose = false;
  int status = 0;
  DescribeTool(&app, "", &verbose, &status);
  const CommandInfo tool = Describe(app);
  std::vector<CommandInfo> commands;
  for (const CLI::App* command : app.get_subcommands({})) commands.push_back(Describe(*command));

  Write(folder / "man" / "dcap.1", ManPage(tool, tool, commands));
  for (const CommandInfo& command : commands) {
    Write(folder / "man" / ("dcap-" + command.name + ".1"), ManPage(command, tool, commands));
  }
  Write(folder / "completions" / "dcap", BashCompletion(tool, commands));
  Write(folder / "completions" / "_dcap", ZshCompletion(tool, commands));
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("usage: dcap_reference DIR\n", stderr);
    return 2;
  }
  WriteAll(argv[1]);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "dcap_reference: %s\n", error.what());
  return 1;
}
