// dcap dump: every call and metadata record of a capture, one line each.
#include <cstdio>
#include <string>

#include <CLI/App.hpp>

#include "CanonicalPrinter.h"
#include "Capture.h"
#include "Command.h"
#include "Output.h"
#include "TextPrinter.h"

namespace {

struct Options {
  std::string file;
  std::string format = "text";
  Selection selection;
};

int Dump(const Options& options) {
  StandardOutput output;
  const std::unique_ptr<Printer> printer = MakePrinter(options.format, &output);
  try {
    const int status = WalkCapture(options.file, printer.get(), options.selection);
    printer->Flush();
    return status;
  } catch (const OutputError& error) {
    return ReportOutputError(error);
  }
}

}  // namespace

std::unique_ptr<Printer> MakePrinter(std::string_view format, LineSink* sink) {
  if (format == "text") {
    return std::make_unique<TextPrinter>(sink);
  }
  return format == "canonical" ? std::make_unique<CanonicalPrinter>(sink) : nullptr;
}

void AddDumpCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("dump", "List every call and metadata record");
  command->add_option("FILE", options->file, "the capture")->required();
  command->add_option("--format", options->format, "text for people, canonical for comparing")
      ->check(CLI::IsMember({"text", "canonical"}))
      ->capture_default_str();
  AddSelectionOptions(command, &options->selection);
  command->callback([options, status] { *status = Dump(*options); });
}
