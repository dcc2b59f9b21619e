// dcap info: what kind of capture this is.
#include <array>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "Core/Exceptions.h"
#include "Data/Calls/CallTable.h"

#include "Command.h"
#include "inspect/parallel/ParallelWalk.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"
#include "output/Output.h"
#include "output/Progress.h"

namespace {

struct Options {
  std::string file;
  bool scan = false;
  bool json = false;
  unsigned jobs = 0;
};

// What the block headers tell.
struct Blocks {
  uint32_t frames = 0;
  uint32_t firstNumber = 0;
  uint32_t lastNumber = 0;
  uint64_t setUpBlocks = 0;  // that are processed
  uint64_t otherBlocks = 0;
};

// What the sub-block headers tell, of the blocks that are processed.
struct Scan {
  std::map<uint32_t, uint64_t> threads;  // sub-blocks by recorded id
  uint64_t eglCalls = 0;
  uint64_t glesCalls = 0;
  uint64_t methodCalls = 0;
  uint64_t unknownCalls = 0;
  uint64_t records = 0;
  uint64_t otherSubBlocks = 0;
  uint64_t storedBytes = 0;  // of payloads, as they lie in the file
  uint64_t bytes = 0;        // of payloads, decompressed
  uint32_t thread = 0;       // of the last sub-block
  uint64_t* threadCount = nullptr;
  uint32_t largestBytes = 0;
  uint32_t largestFrame = 0;
  std::string largestName;
};

struct Findings {
  Data::FileHeader header{};
  Blocks blocks;
  std::optional<Scan> scan;
};

std::string NameOf(const Data::StoredSubBlock& sub) {
  const auto id = Data::DCAPBlockReader::CallId(sub);
  if (!id) return "a metadata record";
  const Data::CallDesc* call = Data::FindCall(*id);
  return call == nullptr ? "call " + std::to_string(static_cast<uint16_t>(*id)) : call->name;
}

void Count(const BlockWalk& walk, const Data::StoredSubBlock& sub, Scan* scan) {
  if (scan->threadCount == nullptr || sub.threadId != scan->thread) {
    scan->thread = sub.threadId;
    scan->threadCount = &scan->threads[sub.threadId];
  }
  ++*scan->threadCount;
  if (sub.type != Data::kSubBlockMetadata && !sub.IsCall()) {
    ++scan->otherSubBlocks;
    return;
  }
  const uint32_t bytes = walk.InflatedSize(sub);
  if (!sub.IsCall()) {
    ++scan->records;
  } else if (sub.IsMethodCall()) {
    ++scan->methodCalls;
  } else {
    const Data::CallDesc* call = Data::FindCall(*Data::DCAPBlockReader::CallId(sub));
    ++(call == nullptr                ? scan->unknownCalls
       : call->api == Data::Api::kEGL ? scan->eglCalls
                                      : scan->glesCalls);
  }
  scan->storedBytes += sub.size - sub.DescSize();
  scan->bytes += bytes;
  if (bytes > scan->largestBytes) {
    scan->largestBytes = bytes;
    scan->largestFrame = walk.Frames();
    scan->largestName = NameOf(sub);
  }
}

// What the range has; findings are those of the range alone.
void Examine(const std::shared_ptr<Core::DataReader>& capture, const BlockRange& range,
             Progress* progress, Findings* findings) {
  BlockWalk walk(capture, range);
  Blocks& blocks = findings->blocks;
  const bool setUp = (walk.Reader().Header().optionMask & Data::kOptionType2BeforeFirst) != 0;
  while (walk.NextBlock()) {
    if (progress != nullptr) progress->Show(walk.Reader().BlockBegin());
    if (walk.Reader().Block().type == Data::kBlockFrame) {
      if (blocks.frames++ == 0) blocks.firstNumber = walk.FrameNumber();
      blocks.lastNumber = walk.FrameNumber();
    } else if (walk.Reader().IsFramed() && setUp && walk.FrameNumber() == 0) {
      ++blocks.setUpBlocks;
    } else {
      ++blocks.otherBlocks;
      continue;
    }
    Data::StoredSubBlock sub{};
    while (findings->scan && walk.NextSubBlock(&sub)) Count(walk, sub, &*findings->scan);
  }
}

// Adds the findings of the next range.
void Add(const Findings& range, Findings* sum) {
  if (range.blocks.frames != 0) {
    if (sum->blocks.frames == 0) sum->blocks.firstNumber = range.blocks.firstNumber;
    sum->blocks.lastNumber = range.blocks.lastNumber;
  }
  sum->blocks.frames += range.blocks.frames;
  sum->blocks.setUpBlocks += range.blocks.setUpBlocks;
  sum->blocks.otherBlocks += range.blocks.otherBlocks;
  Scan& scan = *sum->scan;
  for (const auto& [thread, count] : range.scan->threads) scan.threads[thread] += count;
  for (const auto member :
       {&Scan::eglCalls, &Scan::glesCalls, &Scan::methodCalls, &Scan::unknownCalls, &Scan::records,
        &Scan::otherSubBlocks, &Scan::storedBytes, &Scan::bytes}) {
    scan.*member += (*range.scan).*member;
  }
  if (range.scan->largestBytes > scan.largestBytes) {
    scan.largestBytes = range.scan->largestBytes;
    scan.largestFrame = range.scan->largestFrame;
    scan.largestName = range.scan->largestName;
  }
}

// Scans ranges; what it finds takes its turn.
class Scanner : public RangeWorker {
 public:
  Scanner(std::shared_ptr<Core::DataReader> reader, Findings* findings)
      : reader_(std::move(reader)), findings_(findings) {}

  bool WorkOn(const BlockRange& range, InOrder::Turn* turn) override {
    const auto found = std::make_shared<Findings>();
    found->scan.emplace();
    std::exception_ptr failure;
    try {
      Examine(reader_, range, nullptr, found.get());
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
    turn->Do(sizeof(Findings), [found, sum = findings_] { Add(*found, sum); });
    if (failure != nullptr) std::rethrow_exception(failure);
    return true;
  }

 private:
  std::shared_ptr<Core::DataReader> reader_;
  Findings* findings_;
};

void Examine(const Capture& capture, unsigned jobs, Progress* progress, Findings* findings) {
  RangeWorkers workers(capture, findings->scan ? jobs : 1);
  if (workers.Threads() == 1) {
    const auto& reader = findings->scan ? capture.Reader() : capture.Headers();
    return Examine(reader, BlockRange::All(), progress, findings);
  }
  workers.Run(Ranges(), progress, [findings](auto reader) {
    return std::make_unique<Scanner>(std::move(reader), findings);
  });
}

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

// A line for each thing, its value after a column of names.
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

std::string ScanText(const Scan& scan, bool threadIds) {
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

std::string Text(const Data::CaptureRecovery& recovery, const Findings& findings) {
  Report report;
  const Data::FileHeader& header = findings.header;
  report.Line("version", Version(header));
  std::string words;
  for (const Option& option : OptionsOf(header.optionMask)) {
    words += (words.empty() || *option.words == '\0' ? "" : ", ") + std::string(option.words);
  }
  std::array<char, 16> mask{};
  std::snprintf(mask.data(), mask.size(), " (0x%08x)", header.optionMask);
  report.Line("options", words + mask.data());
  report.Line("compression", CompressionName(header.optionMask));
  const std::string state = DescribeState(recovery);
  report.Line("state", state.empty() ? "finalised" : state);
  std::string size = std::to_string(recovery.storedSize) + " bytes";
  if (header.fileSize != recovery.storedSize) {
    size += ", " + std::to_string(header.fileSize) + " when finalised";
  }
  report.Line("size", size);
  const Blocks& blocks = findings.blocks;
  std::string frames = std::to_string(blocks.frames);
  if (blocks.frames != 0) {
    frames += ", numbered " + std::to_string(blocks.firstNumber) + " to " +
              std::to_string(blocks.lastNumber);
  }
  report.Line("frames", frames);
  if (blocks.setUpBlocks != 0) report.Line("set-up blocks", blocks.setUpBlocks);
  if (blocks.otherBlocks != 0) report.Line("other blocks", blocks.otherBlocks);
  const bool threadIds = (header.optionMask & Data::kOptionThreadIds) != 0;
  if (findings.scan) return report.Text() + ScanText(*findings.scan, threadIds);
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

void AddScan(const Scan& scan, bool threadIds, Object* json) {
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

std::string Json(const Data::CaptureRecovery& recovery, const Findings& findings) {
  const Data::FileHeader& header = findings.header;
  const Blocks& blocks = findings.blocks;
  Object json;
  json.String("version", Version(header)).Number("optionMask", header.optionMask);
  for (const Option& option : OptionsOf(header.optionMask)) json.Flag(option.key, option.isSet);
  json.String("compression", CompressionName(header.optionMask))
      .Flag("finalised", recovery.IsComplete() && !recovery.damaged)
      .Array("missing",
             [&] {
               for (const std::string_view part : MissingParts(recovery)) {
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
  if (findings.scan) AddScan(*findings.scan, threadIds, &json);
  return json.Finish();
}

int Info(const Options& options) {
  StandardOutput output;
  try {
    const Capture capture(options.file, options.jobs);
    capture.RequireFile();
    Findings findings;
    findings.header = capture.Recovery().header;
    if (options.scan) findings.scan.emplace();
    // What was found before the damage is shown all the same.
    std::optional<DamageError> damage;
    try {
      Progress progress(options.file, capture.Reader()->Size());
      Examine(capture, options.jobs, &progress, &findings);
    } catch (const DamageError& error) {
      damage = error;
    }
    output.Write(options.json ? Json(capture.Recovery(), findings)
                              : Text(capture.Recovery(), findings));
    if (damage) return ReportDamage(options.file, damage->place, damage->what());
    return capture.Status();
  } catch (const OutputError& error) {
    return ReportOutputError(error);
  } catch (const Core::BasicException& exception) {
    return ReportDamage(options.file, {}, exception.what());
  }
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
