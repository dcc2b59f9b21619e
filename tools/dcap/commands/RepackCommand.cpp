// dcap repack: the same capture, stored in another way.
#include <memory>
#include <string>

#include <CLI/App.hpp>

#include "Command.h"
#include "WriteCopy.h"

namespace {

struct Options {
  std::string file;
  std::string compression;
  bool trailers = false;
  bool noTrailers = false;
  std::string output;
  Inspect::CopySettings copy;
};

ExitStatus Repack(Options options) {
  if (options.compression == "none") options.copy.compression = Data::kCompressionNone;
  if (options.compression == "lz4") options.copy.compression = Data::kCompressionLZ4;
  if (options.compression == "lz77") options.copy.compression = Data::kCompressionLZ77;
  if (options.trailers || options.noTrailers) options.copy.trailers = options.trailers;
  return WriteCopy({options.file}, options.output, options.copy);
}

}  // namespace

void AddRepackCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("repack", "Store a capture in another way");
  command->add_option("FILE", options->file, "the capture")->required();
  command->add_option("-o,--output", options->output, "the capture to write")->required();
  command->add_option("--compression", options->compression, "of calls; kept unless given")
      ->check(CLI::IsMember({"none", "lz4", "lz77"}));
  command->add_flag("--trailers", options->trailers, "end blocks with a trailer")
      ->excludes(command->add_flag("--no-trailers", options->noTrailers, "end them without"));
  command->footer(R"(Examples:
  dcap repack --compression lz4 -o small.dcap FILE
  dcap repack --compression none --no-trailers -o plain.dcap FILE)");
  command->callback([options, status] { *status = Repack(*options); });
}
