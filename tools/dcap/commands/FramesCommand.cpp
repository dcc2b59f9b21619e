// dcap frames: the frame index of a capture.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <CLI/App.hpp>

#include "Command.h"
#include "RunCommand.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Capture.h"
#include "output/Output.h"

namespace {

struct Options {
  std::string file;
  bool json = false;
};

// A table, or a JSON array, with a line for each frame.
class FrameList {
 public:
  FrameList(Inspect::TextSink* sink, bool json) : sink_(sink), json_(json) {
    lines_ = json ? "[" : Line("%8s %10s %14s %12s\n", "frame", "number", "offset", "bytes");
  }

  void Add(uint32_t frame, const Data::DCAPBlockReader& reader) {
    const unsigned long offset = reader.BlockBegin();
    const unsigned long bytes = reader.BlockEnd() - offset;
    if (json_) {
      lines_ += frame == 1 ? "\n" : ",\n";
      lines_ += Line(R"({"frame": %u, "number": %u, "offset": %lu, "bytes": %lu})", frame,
                     reader.FrameNumber(), offset, bytes);
    } else {
      lines_ += Line("%8u %10u %14lu %12lu\n", frame, reader.FrameNumber(), offset, bytes);
    }
    if (lines_.size() >= kFlushSize) Flush();
  }

  void End() {
    lines_ += json_ ? "\n]\n" : "";
    Flush();
  }

 private:
  static constexpr size_t kFlushSize = size_t{64} << 10;

  [[gnu::format(printf, 1, 2)]] static std::string Line(const char* format, ...) {
    std::array<char, 128> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    return line.data();
  }

  void Flush() {
    sink_->Write(lines_);
    lines_.clear();
  }

  Inspect::TextSink* sink_;
  bool json_;
  std::string lines_;
};

void ListFrames(const Inspect::Capture& capture, FrameList* list) {
  Inspect::BlockWalk walk(capture.Headers());
  while (walk.NextBlock()) {
    if (walk.Reader().Block().type == Data::kBlockFrame) list->Add(walk.Frames(), walk.Reader());
  }
}

ExitStatus Frames(const Options& options) {
  return RunCommand(options.file, [&] {
    StandardOutput output;
    const Inspect::Capture capture(options.file);
    capture.RequireFile();
    ReportState(options.file, capture);
    FrameList list(&output, options.json);
    std::optional<Inspect::Damage> damage;
    try {
      ListFrames(capture, &list);
    } catch (const Inspect::DamageError& error) {
      damage = error.damage;
    }
    list.End();
    return ReportEnd(options.file, capture, damage);
  });
}

}  // namespace

void AddFramesCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("frames", "List where the frames of a capture lie");
  command->add_option("FILE", options->file, "the capture")->required();
  command->add_flag("--json", options->json, "an array of objects instead of a table");
  command->footer(
      R"(A line for each frame: its place in the capture from 1, its recorded sequence number, and
offset and size of its block in the file, header and trailer included. Reads 16 bytes of
each block.

Examples:
  dcap frames FILE
  dcap frames --json FILE | jq 'max_by(.bytes)')");
  command->callback([options, status] { *status = Frames(*options); });
}
