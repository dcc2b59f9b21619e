// dcap trim: part of a capture, as a capture.
#include <memory>
#include <string>

#include <CLI/App.hpp>

#include "Command.h"
#include "SharedOptions.h"
#include "WriteCopy.h"

namespace {

struct Options {
  std::string file;
  std::string output;
  Inspect::CopySettings copy;
};

}  // namespace

void AddTrimCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("trim", "Write part of a capture");
  command->add_option("FILE", options->file, "the capture")->required();
  command->add_option("-o,--output", options->output, "the capture to write")->required();
  AddSelectionOptions(command, &options->copy.selection);
  command->add_flag("--renumber", options->copy.renumber, "number the frames 1, 2, 3, ...");
  command->footer(R"(Examples:
  dcap trim --frames 0-100 -o start.dcap FILE
  dcap trim --calls '!glGetError' --renumber -o quiet.dcap FILE)");
  command->callback(
      [options, status] { *status = WriteCopy({options->file}, options->output, options->copy); });
}
