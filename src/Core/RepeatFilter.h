// Cuts floods of log lines short.
#ifndef DCAPKIT_CORE_REPEATFILTER_H
#define DCAPKIT_CORE_REPEATFILTER_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "Core/Export.h"
#include "Core/Log.h"

namespace Core {

/// A log sink in front of another, for input that can make the library log on every call.
///
/// Messages are told apart by their site (`file` and `line`), not by their text, so that a flood
/// with changing numbers in it, or several floods mixed, are cut as well. The first 8 messages of a
/// site pass, and then the 16th, 32nd, 64th and so on; what was dropped is reported as one line of
/// that site, "repeated N times", before the next that passes, and by `Flush`.
///
///     Core::RepeatFilterSink filter(&mySink);
///     Core::Log::SetSink(&filter);
///
/// May be called by several threads; the target is called by one at a time and must not log itself.
class DCAPKIT_API RepeatFilterSink : public Log::Sink {
 public:
  /// Messages of one site that pass before any is dropped.
  static constexpr uint64_t kPassedAtFirst = 8;

  /// Borrows `target`.
  explicit RepeatFilterSink(Log::Sink* target);
  RepeatFilterSink(const RepeatFilterSink&) = delete;
  RepeatFilterSink& operator=(const RepeatFilterSink&) = delete;

  /// Flushes.
  ~RepeatFilterSink() override;

  void Write(const Log::Record& record) override;

  /// Reports what was dropped and starts counting anew: for the end of one file of several.
  void Flush();

 private:
  struct Site {
    std::string file;
    int line;
    bool operator<(const Site& other) const {
      return line != other.line ? line < other.line : file < other.file;
    }
  };
  struct Count {
    Log::LogLevel level = Log::LogLevel::kError;
    Log::LogZone zone = Log::LogZone::kProcessing;
    uint64_t seen = 0;
    uint64_t dropped = 0;  // since the last that passed
  };

  void ReportDropped(const Site& site, Count* count);
  void FlushLocked();

  std::mutex mutex_;
  std::map<Site, Count> counts_;
  Log::Sink* target_;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_REPEATFILTER_H
