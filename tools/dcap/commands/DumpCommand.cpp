// dcap dump: every call and metadata record of a capture, one line each.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <CLI/App.hpp>

#include "Command.h"
#include "RunCommand.h"
#include "SharedOptions.h"
#include "inspect/extract/BlobWriter.h"
#include "inspect/listing/MakePrinter.h"
#include "inspect/parallel/WalkCapture.h"
#include "output/Output.h"
#include "output/Progress.h"

namespace {

struct Options {
  std::string file;
  Inspect::PrinterOptions printer;
  Inspect::Selection selection;
  std::string blobs;
  unsigned jobs = 0;
};

void WarnOfClash(const std::string& path) {
  std::fprintf(stderr, "dcap: warning: %s: other data has the same size and CRC; not written\n",
               path.c_str());
}

// Prints ranges of the capture on one of several threads; their text is delivered in order.
class RangePrinter : public Inspect::RangeHandler, private Inspect::TextSink {
 public:
  RangePrinter(const Inspect::PrinterOptions& options, Inspect::TextSink* output)
      : output_(output), printer_(Inspect::MakePrinter(options, this)) {}

  void Begin(Inspect::InOrder::Turn* turn) override { turn_ = turn; }
  Inspect::EventHandler* Events() override { return printer_.get(); }
  void Finish() override { printer_->Flush(); }

 private:
  void Write(std::string_view text) override {
    turn_->Do(text.size(), [output = output_, text = std::string(text)] { output->Write(text); });
  }
  void WriteFrom(std::unique_ptr<char[]>* buffer, size_t size) override {
    std::unique_ptr<char[]> empty(new char[Inspect::TextBuffer::kSize]);
    const std::shared_ptr<char[]> text = std::exchange(*buffer, std::move(empty));
    turn_->Do(size, [output = output_, text, size] { output->Write({text.get(), size}); });
  }

  Inspect::InOrder::Turn* turn_ = nullptr;
  Inspect::TextSink* output_;
  std::unique_ptr<Inspect::Printer> printer_;
};

ExitStatus Dump(const Options& options) {
  return RunCommand(options.file, [&] {
    StandardOutput output;
    const std::unique_ptr<Inspect::Printer> printer =
        Inspect::MakePrinter(options.printer, &output);
    Inspect::ParallelWalk parallel{
        options.jobs, [&] { printer->Flush(); },
        [&] { return std::make_unique<RangePrinter>(options.printer, &output); }};
    Inspect::EventHandler* handler = printer.get();
    std::optional<Inspect::BlobWriter> blobWriter;
    if (!options.blobs.empty()) {
      handler = &blobWriter.emplace(handler, options.blobs, WarnOfClash);
      parallel.jobs = 1;  // no file may be written for an event after damage
    }
    const Inspect::Capture capture(options.file, parallel.jobs);
    ReportState(options.file, capture);
    std::optional<Inspect::Damage> damage;
    {
      Progress progress(options.file, OutputIsTerminal() ? 0 : capture.Reader()->Size());
      damage = Inspect::WalkCapture(capture, handler, options.selection, &progress, &parallel);
    }
    printer->Flush();
    return ReportEnd(options.file, capture, damage);
  });
}

}  // namespace

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
