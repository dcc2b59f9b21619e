// dcap cat: several captures, one after another, as one.
#include <memory>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "Command.h"
#include "WriteCopy.h"

namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  Inspect::CopySettings copy;
};

}  // namespace

void AddCatCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("cat", "Write several captures, one after another, as one");
  command->add_option("FILE", options->files, "captures with the same options")->required();
  command->add_option("-o,--output", options->output, "the capture to write")->required();
  command->add_flag("--renumber", options->copy.renumber, "number the frames 1, 2, 3, ...");
  command->footer(R"(Examples:
  dcap cat -o both.dcap FILE1 FILE2
  dcap cat --renumber -o all.dcap part-*.dcap)");
  command->callback(
      [options, status] { *status = WriteCopy(options->files, options->output, options->copy); });
}
