// dcap stats: counts of calls, records and uploaded bytes.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>

#include <CLI/App.hpp>
#include <rapidjson/writer.h>

#include "Command.h"
#include "RunCommand.h"
#include "SharedOptions.h"
#include "inspect/listing/JsonStream.h"
#include "inspect/parallel/WalkCapture.h"
#include "inspect/stats/Statistics.h"
#include "output/Output.h"
#include "output/Progress.h"

namespace {

struct Options {
  std::string file;
  bool perFrame = false;
  bool json = false;
  Inspect::Selection selection;
};

const char* ClassName(size_t index) {
  return Data::CallClassName(static_cast<Data::CallClass>(index));
}

const char* KindName(size_t index) {
  return Inspect::UploadKindName(static_cast<Inspect::UploadKind>(index));
}

// Tables for people ------------------------------------------------------------------------------

class Summary {
 public:
  explicit Summary(Inspect::TextBuffer* out) : out_(out) {}

  void Frame(const Inspect::FrameCounts& frame) {
    if (!frame.setUp) {
      calls_.Take(frame.counts.calls, frame.ordinal);
      draws_.Take(frame.counts.Draws(), frame.ordinal);
      uploaded_.Take(frame.counts.UploadedBytes(), frame.ordinal);
    }
  }

  void Finish(const Inspect::Statistics& statistics) {
    const Inspect::Counts& total = statistics.total;
    Row("", "frames", statistics.frames);
    Row("", "set-up blocks", statistics.setUpBlocks);
    Row("", "calls", total.calls);
    Row("", "draw calls", total.Draws());
    Row("", "client data", total.clientData);
    Row("", "metadata records", total.records);
    Row("", "uploaded bytes", total.UploadedBytes());

    if (statistics.frames != 0) {
      out_->Text("\nper frame                                   least         mean         most\n");
      calls_.Print("calls", statistics.frames, out_);
      draws_.Print("draw calls", statistics.frames, out_);
      uploaded_.Print("uploaded bytes", statistics.frames, out_);
    }
    Table("uploaded bytes", total.uploaded, KindName);
    Table("calls by class", total.byClass, ClassName);
    Heading("calls by thread", statistics.callsByThread.empty());
    for (const auto& [thread, count] : statistics.callsByThread) {
      Row("  ", std::to_string(thread), count);
    }
    Table("calls by name", statistics.CallsByName());
    Table("client data by name", {statistics.clientData.begin(), statistics.clientData.end()});
    Table("metadata records by name", {statistics.records.begin(), statistics.records.end()});
  }

 private:
  // The spread of one number over the frames.
  struct Spread {
    uint64_t least = UINT64_MAX;
    uint64_t most = 0;
    uint64_t sum = 0;
    uint32_t mostOrdinal = 0;

    void Take(uint64_t value, uint32_t ordinal) {
      least = std::min(least, value);
      if (value > most || mostOrdinal == 0) {
        most = value;
        mostOrdinal = ordinal;
      }
      sum += value;
    }

    void Print(const char* name, uint64_t frames, Inspect::TextBuffer* out) const {
      char line[120];
      const int size =
          std::snprintf(line, sizeof(line), "  %-34s %12llu %12.1f %12llu  (frame %u)\n", name,
                        static_cast<unsigned long long>(least),
                        static_cast<double>(sum) / static_cast<double>(frames),
                        static_cast<unsigned long long>(most), mostOrdinal);
      out->Text({line, static_cast<size_t>(size)});
    }
  };

  void Heading(const char* title, bool empty) {
    if (!empty) {
      out_->Char('\n');
      out_->Text(title);
      out_->Char('\n');
    }
  }

  void Row(std::string_view indent, std::string_view name, uint64_t value) {
    constexpr size_t kNameWidth = 37;
    constexpr size_t kNumberWidth = 12;
    const std::string number = std::to_string(value);
    out_->Text(indent);
    out_->Text(name);
    const size_t used = indent.size() + name.size();
    const size_t padding = kNameWidth - std::min(kNameWidth - 1, used) +
                           (kNumberWidth - std::min(kNumberWidth, number.size()));
    out_->Text(std::string(padding, ' '));
    out_->Text(number);
    out_->Char('\n');
  }

  template <size_t kCount>
  void Table(const char* title, const std::array<uint64_t, kCount>& values,
             const char* (*nameOf)(size_t)) {
    std::vector<std::pair<std::string, uint64_t>> rows;
    for (size_t i = 0; i < kCount; ++i) {
      if (values[i] != 0) {
        rows.emplace_back(nameOf(i), values[i]);
      }
    }
    Table(title, std::move(rows));
  }

  // The largest first.
  void Table(const char* title, std::vector<std::pair<std::string, uint64_t>> rows) {
    std::ranges::stable_sort(rows, std::greater(), &std::pair<std::string, uint64_t>::second);
    Heading(title, rows.empty());
    for (const auto& [name, count] : rows) {
      Row("  ", name, count);
    }
  }

  Inspect::TextBuffer* out_;
  Spread calls_;
  Spread draws_;
  Spread uploaded_;
};

// A row a frame for spreadsheets -----------------------------------------------------------------

class FrameTable {
 public:
  explicit FrameTable(Inspect::TextBuffer* out) : out_(out) {
    out_->Text("frame,number,bytes,calls,clientData,metadata");
    for (size_t i = 0; i < Inspect::kCallClasses.size(); ++i) {
      out_->Char(',');
      out_->Text(ClassName(i));
    }
    for (size_t i = 0; i < Inspect::kUploadKinds; ++i) {
      out_->Char(',');
      out_->Text(KindName(i));
      out_->Text("Bytes");
    }
    out_->Char('\n');
  }

  void Frame(const Inspect::FrameCounts& frame) {
    const Inspect::Counts& counts = frame.counts;
    out_->Number(frame.ordinal);
    for (const uint64_t value : {uint64_t{frame.number}, uint64_t{frame.bytes}, counts.calls,
                                 counts.clientData, counts.records}) {
      Cell(value);
    }
    std::ranges::for_each(counts.byClass, [this](uint64_t count) { Cell(count); });
    std::ranges::for_each(counts.uploaded, [this](uint64_t bytes) { Cell(bytes); });
    out_->Char('\n');
  }

 private:
  void Cell(uint64_t value) {
    out_->Char(',');
    out_->Number(value);
  }

  Inspect::TextBuffer* out_;
};

// One object for programs ------------------------------------------------------------------------

class JsonDocument {
 public:
  explicit JsonDocument(Inspect::TextBuffer* out) : stream_{out}, writer_(stream_) {
    writer_.StartObject();
    writer_.Key("frames");
    writer_.StartArray();
  }

  void Frame(const Inspect::FrameCounts& frame) {
    writer_.StartObject();
    Member("frame", frame.ordinal);
    if (frame.setUp) {
      writer_.Key("setup");
      writer_.Bool(true);
    }
    Member("number", frame.number);
    Member("bytes", frame.bytes);
    Sums(frame.counts);
    writer_.EndObject();
  }

  void Finish(const Inspect::Statistics& statistics) {
    writer_.EndArray();
    Member("frameBlocks", statistics.frames);
    Member("setUpBlocks", statistics.setUpBlocks);
    Sums(statistics.total);
    Object("callsByName", statistics.CallsByName());
    Object("callsByThread", statistics.callsByThread);
    Object("clientDataByName", statistics.clientData);
    Object("metadataByName", statistics.records);
    writer_.EndObject();
    stream_.out->Char('\n');
  }

 private:
  void Member(std::string_view name, uint64_t value) {
    writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    writer_.Uint64(value);
  }

  void Sums(const Inspect::Counts& counts) {
    Member("calls", counts.calls);
    Member("drawCalls", counts.Draws());
    Member("clientData", counts.clientData);
    Member("metadata", counts.records);
    writer_.Key("callsByClass");
    writer_.StartObject();
    for (size_t i = 0; i < Inspect::kCallClasses.size(); ++i) {
      Member(ClassName(i), counts.byClass[i]);
    }
    writer_.EndObject();
    writer_.Key("uploadedBytes");
    writer_.StartObject();
    for (size_t i = 0; i < Inspect::kUploadKinds; ++i) {
      Member(KindName(i), counts.uploaded[i]);
    }
    writer_.EndObject();
  }

  static std::string Name(std::string name) { return name; }
  static std::string Name(uint32_t thread) { return std::to_string(thread); }

  template <typename Counted>
  void Object(const char* key, const Counted& counted) {
    writer_.Key(key);
    writer_.StartObject();
    for (const auto& [name, count] : counted) {
      Member(Name(name), count);
    }
    writer_.EndObject();
  }

  Inspect::JsonStream stream_;
  rapidjson::Writer<Inspect::JsonStream> writer_;
};

// `Form`: one of the above.
template <typename Form>
ExitStatus Stats(const Options& options) {
  StandardOutput output;
  Inspect::TextBuffer out(&output);
  Form form(&out);
  Inspect::Statistics statistics([&form](const Inspect::FrameCounts& frame) { form.Frame(frame); });
  const Inspect::Capture capture(options.file);
  ReportState(options.file, capture);
  std::optional<Inspect::Damage> damage;
  {
    const bool showProgress = !options.perFrame || !OutputIsTerminal();
    Progress progress(options.file, showProgress ? capture.Reader()->Size() : 0);
    damage = Inspect::WalkCapture(capture, &statistics, options.selection, &progress);
  }
  statistics.Finish();
  if constexpr (requires { form.Finish(statistics); }) {
    form.Finish(statistics);
  }
  out.Flush();
  return ReportEnd(options.file, capture, damage);
}

ExitStatus Stats(const Options& options) {
  return RunCommand(options.file, [&options] {
    if (options.json) return Stats<JsonDocument>(options);
    return options.perFrame ? Stats<FrameTable>(options) : Stats<Summary>(options);
  });
}

}  // namespace

void AddStatsCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("stats", "Count calls, draw calls and uploaded bytes");
  command->add_option("FILE", options->file, "the capture")->required();
  CLI::Option* perFrame =
      command->add_flag("--per-frame", options->perFrame, "a line of CSV for each frame");
  command->add_flag("--json", options->json, "one JSON object")->excludes(perFrame);
  AddSelectionOptions(command, &options->selection);
  command->footer(R"(Examples:
  dcap stats FILE
  dcap stats --per-frame FILE > frames.csv
  dcap stats --json --class draw FILE | jq .callsByName)");
  command->callback([options, status] { *status = Stats(*options); });
}
