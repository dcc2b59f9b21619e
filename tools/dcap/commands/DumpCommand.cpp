// dcap dump: every call and metadata record of a capture, one line each.
#include <cstdio>
#include <string>
#include <utility>

#include <CLI/App.hpp>

#include "Command.h"
#include "inspect/extract/BlobWriter.h"
#include "inspect/listing/CanonicalPrinter.h"
#include "inspect/listing/JsonLinesPrinter.h"
#include "inspect/listing/TextPrinter.h"
#include "inspect/parallel/ParallelWalk.h"
#include "inspect/walk/Capture.h"
#include "output/Output.h"

namespace {

struct Options {
  std::string file;
  PrinterOptions printer;
  Selection selection;
  std::string blobs;
  unsigned jobs = 0;
};

// Prints ranges of the capture; their text takes its turn.
class RangePrinter : public RangeHandler, private TextSink {
 public:
  RangePrinter(const PrinterOptions& options, TextSink* output)
      : output_(output), printer_(MakePrinter(options, this)) {}

  void Begin(InOrder::Turn* turn) override { turn_ = turn; }
  EventHandler* Events() override { return printer_.get(); }
  void Finish() override { printer_->Flush(); }

 private:
  void Write(std::string_view text) override {
    turn_->Do(text.size(), [output = output_, text = std::string(text)] { output->Write(text); });
  }
  void WriteFrom(std::unique_ptr<char[]>* buffer, size_t size) override {
    std::unique_ptr<char[]> empty(new char[TextBuffer::kSize]);
    const std::shared_ptr<char[]> text = std::exchange(*buffer, std::move(empty));
    turn_->Do(size, [output = output_, text, size] { output->Write({text.get(), size}); });
  }

  InOrder::Turn* turn_ = nullptr;
  TextSink* output_;
  std::unique_ptr<Printer> printer_;
};

int Dump(const Options& options) {
  StandardOutput output;
  const std::unique_ptr<Printer> printer = MakePrinter(options.printer, &output);
  try {
    std::unique_ptr<BlobWriter> blobWriter;
    EventHandler* handler = printer.get();
    ParallelWalk parallel{options.jobs, [&] { printer->Flush(); },
                          [&] { return std::make_unique<RangePrinter>(options.printer, &output); }};
    if (!options.blobs.empty()) {
      blobWriter = std::make_unique<BlobWriter>(handler, options.blobs);
      handler = blobWriter.get();
      parallel.jobs = 1;  // nothing may be written of what comes after damage
    }
    const int status =
        WalkCapture(options.file, handler, options.selection, !OutputIsTerminal(), &parallel);
    printer->Flush();
    return status;
  } catch (const OutputError& error) {
    return ReportOutputError(error);
  }
}

}  // namespace

std::unique_ptr<Printer> MakePrinter(const PrinterOptions& options, TextSink* sink) {
  if (options.format == "text") {
    return std::make_unique<TextPrinter>(sink, options.numeric, options.coloured);
  }
  if (options.format == "jsonl") {
    return std::make_unique<JsonLinesPrinter>(sink, options.numeric);
  }
  return options.format == "canonical" ? std::make_unique<CanonicalPrinter>(sink) : nullptr;
}

void AddDumpCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("dump", "List every call and metadata record");
  command->add_option("FILE", options->file, "the capture")->required();
  command
      ->add_option("--format", options->printer.format,
                   "text for people, jsonl for programs, canonical for comparing")
      ->check(CLI::IsMember({"text", "jsonl", "canonical"}))
      ->capture_default_str();
  command->add_flag("--numeric", options->printer.numeric,
                    "numbers instead of names of enumerants and bits");
  command->add_option("--blobs", options->blobs, "write byte data to DIR/CRC32-BYTES.bin")
      ->type_name("DIR");
  AddSelectionOptions(command, &options->selection);
  AddJobsOption(command, &options->jobs);
  command->footer(R"(Examples:
  dcap dump FILE | less
  dcap dump --frames 10-20 --calls 'glDraw*,eglSwapBuffers' FILE
  dcap dump --format jsonl FILE | jq -r 'select(.type == "call") | .name' | sort | uniq -c
  dcap dump --class upload --blobs textures FILE)");
  command->callback([options, status] {
    options->printer.coloured = OutputHasColours();
    *status = Dump(*options);
  });
}
