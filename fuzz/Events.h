// Shared by the targets that decode: everything that comes out of the library is read to its end.
#ifndef DCAPKIT_FUZZ_EVENTS_H
#define DCAPKIT_FUZZ_EVENTS_H

#include "Core/Log.h"

#include "CanonicalPrinter.h"

/// Keeps the library's log lines off the terminal.
class QuietLog : public Core::Log::Sink {
 public:
  QuietLog() { Core::Log::SetSink(this); }
  void Write(const Core::Log::Record& /*record*/) override {}
};

/// Prints to nowhere; the canonical form has a checksum of every byte.
class NullSink : public TextSink {
 public:
  void Write(std::string_view /*text*/) override {}
};

#endif  // DCAPKIT_FUZZ_EVENTS_H
