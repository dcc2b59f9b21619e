// dcap info: the options, the state and the size of a capture.
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include <CLI/App.hpp>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "Command.h"
#include "RunCommand.h"
#include "SharedOptions.h"
#include "inspect/events/CompressionName.h"
#include "inspect/stats/HeaderScan.h"
#include "output/Output.h"
#include "output/Progress.h"

namespace {

struct Options {
  std::string file;
  bool scan = false;
  bool json = false;
  unsigned jobs = 0;
};

struct Option {
  const char* key;
  bool isSet;
  const char* words;
};

std::array<Option, 3> OptionsOf(uint32_t mask) {
  const bool threadIds = (mask & Data::kOptionThreadIds) != 0;
  const bool trailers = (mask & Data::kOptionNoTrailers) == 0;
  const bool setUp = (mask & Data::kOptionType2BeforeFirst) != 0;
  return {{{"threadIds", threadIds, threadIds ? "thread ids" : "no thread ids"},
           {"blockTrailers", trailers, trailers ? "block trailers" : "no block trailers"},
           {"setUpBlocks", setUp, setUp ? "set-up blocks before the first frame" : ""}}};
}

std::string Version(const Data::FileHeader& header) {
  return std::to_string(header.versionMajor) + "." + std::to_string(header.versionMinor) + "." +
         std::to_string(header.versionLow);
}

// A table with a name and a value in each line.
class Report {
 public:
  void Line(const char* name, const std::string& value) {
    const std::string label = std::string(name) + ":";
    text_ += label + std::string(kColumn - label.size(), ' ') + value + "\n";
  }
  void Line(const char* name, uint64_t value) { Line(name, std::to_string(value)); }
  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  static constexpr size_t kColumn = 18;
  std::string text_;
};

std::string ScanText(const Inspect::SubBlockCounts& scan, bool threadIds) {
  Report report;
  std::string threads;
  for (const auto& [id, count] : scan.threads) {
    threads += (threads.empty() ? "" : ", ") + std::to_string(id) + " (" + std::to_string(count) +
               (threads.empty() ? " calls and records)" : ")");
  }
  report.Line("threads", threadIds ? threads : "not recorded");
  report.Line("EGL calls", scan.eglCalls);
  report.Line("OpenGL ES calls", scan.glesCalls);
  if (scan.methodCalls != 0) report.Line("method calls", scan.methodCalls);
  if (scan.unknownCalls != 0) report.Line("unknown calls", scan.unknownCalls);
  report.Line("metadata records", scan.records);
  if (scan.otherSubBlocks != 0) report.Line("other sub-blocks", scan.otherSubBlocks);
  report.Line("payload bytes",
              std::to_string(scan.storedBytes) + ", decompressed " + std::to_string(scan.bytes));
  if (scan.largestBytes != 0) {
    report.Line("largest payload", std::to_string(scan.largestBytes) + " bytes, " +
                                       scan.largestName + " in frame " +
                                       std::to_string(scan.largestFrame));
  }
  return report.Text();
}

std::string Text(const Data::CaptureRecovery& recovery, const Inspect::HeaderCounts& counts,
                 bool scanned) {
  Report report;
  const Data::FileHeader& header = recovery.header;
  report.Line("version", Version(header));
  std::string words;
  for (const Option& option : OptionsOf(header.optionMask)) {
    words += (words.empty() || *option.words == '\0' ? "" : ", ") + std::string(option.words);
  }
  std::array<char, 16> mask{};
  std::snprintf(mask.data(), mask.size(), " (0x%08x)", header.optionMask);
  report.Line("options", words + mask.data());
  report.Line("compression", Inspect::CompressionName(header.optionMask));
  const std::string state = Inspect::DescribeState(recovery);
  report.Line("state", state.empty() ? "finalised" : state);
  std::string size = std::to_string(recovery.storedSize) + " bytes";
  if (header.fileSize != recovery.storedSize) {
    size += ", " + std::to_string(header.fileSize) + " when finalised";
  }
  report.Line("size", size);
  const Inspect::BlockCounts& blocks = counts.blocks;
  std::string frames = std::to_string(blocks.frames);
  if (blocks.frames != 0) {
    frames += ", numbered " + std::to_string(blocks.firstNumber) + " to " +
              std::to_string(blocks.lastNumber);
  }
  report.Line("frames", frames);
  if (blocks.setUpBlocks != 0) report.Line("set-up blocks", blocks.setUpBlocks);
  if (blocks.otherBlocks != 0) report.Line("other blocks", blocks.otherBlocks);
  const bool threadIds = (header.optionMask & Data::kOptionThreadIds) != 0;
  if (scanned) return report.Text() + ScanText(counts.subBlocks, threadIds);
  if (threadIds) report.Line("threads", "listed by --scan");
  return report.Text();
}

// A JSON object under construction.
class Object {
 public:
  Object() : writer_(buffer_) {
    writer_.SetIndent(' ', 2);
    writer_.StartObject();
  }
  Object& Number(const char* name, uint64_t value) {
    writer_.Key(name);
    writer_.Uint64(value);
    return *this;
  }
  Object& Flag(const char* name, bool value) {
    writer_.Key(name);
    writer_.Bool(value);
    return *this;
  }
  Object& String(const char* name, const std::string& value) {
    writer_.Key(name);
    writer_.String(value.c_str());
    return *this;
  }
  /// Writes the items of an array or the members of an object one level deeper.
  template <typename Items>
  Object& Array(const char* name, Items items) {
    writer_.Key(name);
    writer_.StartArray();
    items();
    writer_.EndArray();
    return *this;
  }
  template <typename Members>
  void Nested(Members members) {
    writer_.StartObject();
    members();
    writer_.EndObject();
  }
  void Item(const std::string& value) { writer_.String(value.c_str()); }

  std::string Finish() {
    writer_.EndObject();
    return std::string(buffer_.GetString(), buffer_.GetSize()) + "\n";
  }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer_;
};

void AddScan(const Inspect::SubBlockCounts& scan, bool threadIds, Object* json) {
  json->Array("threads", [&] {
    for (const auto& thread : scan.threads) {
      if (!threadIds) break;
      json->Nested([&] { json->Number("id", thread.first).Number("subBlocks", thread.second); });
    }
  });
  json->Number("eglCalls", scan.eglCalls)
      .Number("glesCalls", scan.glesCalls)
      .Number("methodCalls", scan.methodCalls)
      .Number("unknownCalls", scan.unknownCalls)
      .Number("metadataRecords", scan.records)
      .Number("otherSubBlocks", scan.otherSubBlocks)
      .Number("storedPayloadBytes", scan.storedBytes)
      .Number("payloadBytes", scan.bytes)
      .Number("largestPayloadBytes", scan.largestBytes)
      .Number("largestPayloadFrame", scan.largestFrame)
      .String("largestPayloadName", scan.largestName);
}

std::string Json(const Data::CaptureRecovery& recovery, const Inspect::HeaderCounts& counts,
                 bool scanned) {
  const Data::FileHeader& header = recovery.header;
  const Inspect::BlockCounts& blocks = counts.blocks;
  Object json;
  json.String("version", Version(header)).Number("optionMask", header.optionMask);
  for (const Option& option : OptionsOf(header.optionMask)) json.Flag(option.key, option.isSet);
  json.String("compression", Inspect::CompressionName(header.optionMask))
      .Flag("finalised", recovery.IsComplete() && !recovery.damaged)
      .Array("missing",
             [&] {
               for (const std::string_view part : Inspect::MissingParts(recovery)) {
                 json.Item(std::string(part));
               }
             })
      .Flag("cut", recovery.IsCut())
      .Flag("damaged", recovery.damaged)
      .Number("leftOutBytes", recovery.leftOutSize)
      .Number("bytes", recovery.storedSize)
      .Number("finalisedBytes", header.fileSize)
      .Number("frames", blocks.frames)
      .Number("firstNumber", blocks.firstNumber)
      .Number("lastNumber", blocks.lastNumber)
      .Number("processedSetUpBlocks", blocks.setUpBlocks)
      .Number("otherBlocks", blocks.otherBlocks);
  const bool threadIds = (header.optionMask & Data::kOptionThreadIds) != 0;
  if (scanned) AddScan(counts.subBlocks, threadIds, &json);
  return json.Finish();
}

ExitStatus Info(const Options& options) {
  return RunCommand(options.file, [&] {
    StandardOutput output;
    const Inspect::Capture capture(options.file, options.jobs);
    capture.RequireFile();
    Inspect::HeaderCounts counts;
    std::optional<Inspect::Damage> damage;
    {
      const Inspect::ScanDepth depth =
          options.scan ? Inspect::ScanDepth::kSubBlocks : Inspect::ScanDepth::kBlocks;
      Progress progress(options.file, capture.Reader()->Size());
      damage = Inspect::ScanHeaders(capture, depth, options.jobs, &progress, &counts);
    }
    // Also when damage ended the scan: then up to there.
    output.Write(options.json ? Json(capture.Recovery(), counts, options.scan)
                              : Text(capture.Recovery(), counts, options.scan));
    return ReportEnd(options.file, capture, damage);
  });
}

}  // namespace

void AddInfoCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("info", "Tell what kind of capture a file is");
  command->add_option("FILE", options->file, "the capture")->required();
  command->add_flag("--scan", options->scan,
                    "count threads, calls, records and payload bytes as well");
  command->add_flag("--json", options->json, "as an object");
  AddJobsOption(command, &options->jobs);
  command->footer(
      R"(Reads the header of each block, with --scan that of each sub-block too, but no payloads:
what payloads hold is not checked.

Examples:
  dcap info FILE
  dcap info --scan FILE
  dcap info --json --scan FILE | jq .threads)");
  command->callback([options, status] { *status = Info(*options); });
}
