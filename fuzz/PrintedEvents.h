// Shared by the targets that decode: everything that comes out of the library is read to its end.
#ifndef DCAPKIT_FUZZ_PRINTEDEVENTS_H
#define DCAPKIT_FUZZ_PRINTEDEVENTS_H

#include "Core/Log.h"

#include "inspect/listing/CanonicalPrinter.h"

/// Keeps the library's log lines off the terminal.
class QuietLog : public Core::Log::Sink {
 public:
  QuietLog() { Core::Log::SetSink(this); }
  void Write(const Core::Log::Record& /*record*/) override {}
};

/// Prints to nowhere; the canonical form has a checksum of every byte.
class NullSink : public Inspect::TextSink {
 public:
  void Write(std::string_view text) override { bytes += text.size(); }
  uint64_t bytes = 0;
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
  static uint64_t PrintedBytes() {
    printer.Flush();
    return sink.bytes;
  }

 private:
  // Made once: a large buffer for each input takes most of its time.
  static inline NullSink sink;
  static inline Inspect::CanonicalPrinter printer{&sink};

 public:
  Inspect::EventConsumer consumer{&printer};
};

#endif  // DCAPKIT_FUZZ_PRINTEDEVENTS_H
