// Shared by the targets that decode: everything that comes out of the library is printed in every
// format.
#ifndef DCAPKIT_FUZZ_PRINTEDEVENTS_H
#define DCAPKIT_FUZZ_PRINTEDEVENTS_H

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include <rapidjson/reader.h>

#include "Core/Log.h"

#include "inspect/events/Events.h"
#include "inspect/listing/CanonicalPrinter.h"
#include "inspect/listing/JsonLinesPrinter.h"
#include "inspect/listing/TextPrinter.h"

/// Keeps the library's log lines off the terminal.
class QuietLog : public Core::Log::Sink {
 public:
  QuietLog() { Core::Log::SetSink(this); }
  void Write(const Core::Log::Record& /*record*/) override {}
};

/// Text that a terminal can show without acting on it: lines of printable ASCII characters.
class PlainText : public Inspect::TextSink {
 public:
  void Write(std::string_view text) override {
    const auto isPlain = [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); };
    if (!std::all_of(text.begin(), text.end(), isPlain)) __builtin_trap();
    bytes += text.size();
  }
  uint64_t bytes = 0;
};

/// Lines each of which is a JSON value in valid UTF-8.
class JsonLines : public Inspect::TextSink {
 public:
  void Write(std::string_view text) override {
    for (size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
      Check(line_.append(text.substr(0, end)));
      line_.clear();
      text.remove_prefix(end + 1);
    }
    line_ += text;
  }

 private:
  static void Check(const std::string& line) {
    rapidjson::Reader reader;
    rapidjson::StringStream stream(line.c_str());
    rapidjson::BaseReaderHandler<> ignore;
    if (!reader.Parse<rapidjson::kParseValidateEncodingFlag>(stream, ignore) ||
        stream.Tell() != line.size()) {
      __builtin_trap();
    }
  }

  std::string line_;
};

/// Prints events in all formats. The canonical form has a checksum of every byte.
class AllPrinters : public Inspect::EventHandler {
 public:
  /// The one that all inputs share: to make its buffers takes more time than most inputs do.
  static AllPrinters& Shared() {
    static AllPrinters printers;
    return printers;
  }

  void FileStart(const Data::FileHeader& header) override {
    ForEach([&](EventHandler& printer) { printer.FileStart(header); });
  }
  void Block(const Inspect::EventContext& context, const Data::BlockHeader& header) override {
    ForEach([&](EventHandler& printer) { printer.Block(context, header); });
  }
  void Call(const Inspect::EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override {
    ForEach([&](EventHandler& printer) { printer.Call(context, call, values); });
  }
  void ClientData(const Inspect::EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override {
    ForEach([&](EventHandler& printer) { printer.ClientData(context, operation, values); });
  }
  void Metadata(const Inspect::EventContext& context, const Inspect::MetaRecord& record) override {
    canonical_.Metadata(context, record);
    // A few bytes may claim names of hundreds of megabytes, which take seconds to escape.
    if (SizeOf(record.fields) > kLargeRecord) return;
    jsonLines_.Metadata(context, record);
    text_.Metadata(context, record);
  }

  /// Checks what has been printed, and tells how many bytes there are in the text form so far.
  uint64_t Flush() {
    canonical_.Flush();
    jsonLines_.Flush();
    text_.Flush();
    return plainText_.bytes;
  }

 private:
  static constexpr uint64_t kLargeRecord = uint64_t{1} << 16;

  static uint64_t SizeOf(std::span<const Inspect::MetaField> fields) {
    uint64_t size = 0;
    for (const Inspect::MetaField& field : fields) {
      size += field.bytes.size() + field.number * (field.kind == Inspect::MetaField::kEntries);
      for (uint64_t i = 0; field.kind == Inspect::MetaField::kEntries && i < field.number; ++i) {
        if (size > kLargeRecord) return size;
        size += SizeOf(field.entry(i));
      }
    }
    return size;
  }

  template <typename Handle>
  void ForEach(Handle handle) {
    handle(canonical_);
    handle(jsonLines_);
    handle(text_);
  }

  PlainText plainText_;
  JsonLines json_;
  Inspect::CanonicalPrinter canonical_{&plainText_};
  Inspect::JsonLinesPrinter jsonLines_{&json_, false};
  Inspect::TextPrinter text_{&plainText_, false, false};
};

/// Prints what is decoded of calls and records that stand in a frame.
class FrameOfEvents {
 public:
  FrameOfEvents() {
    const uint64_t before = PrintedBytes();
    consumer.ProcessBlockStart({Data::kBlockFrame, 0});
    consumer.ProcessFrameNumber(1);
    if (PrintedBytes() == before) __builtin_trap();  // what is not selected is not decoded
  }
  static uint64_t PrintedBytes() { return AllPrinters::Shared().Flush(); }

  Inspect::EventConsumer consumer{&AllPrinters::Shared()};
};

#endif  // DCAPKIT_FUZZ_PRINTEDEVENTS_H
