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

/// Passes log lines on to another sink and drops most repeats, for input that can make the library
/// log on every call.
///
/// Messages count as repeats by their site (`file` and `line`), not by their text, so that floods
/// with changing numbers, or several floods mixed, are cut as well. The first 8 messages of a site
/// pass, then the 16th, 32nd, 64th and so on. Before the next message that passes, and in `Flush`,
/// one line of that site reports the dropped ones: "repeated N times".
///
///     Core::RepeatFilterSink filter(&mySink);
///     Core::Log::SetSink(&filter);
///
/// Several threads may call it at once. It calls the target from one thread at a time, holding a
/// lock, so the target must not log itself.
class DCAPKIT_API RepeatFilterSink : public Log::Sink {
 public:
  /// Messages of one site that pass before any is dropped.
  static constexpr uint64_t kPassedAtFirst = 8;

  /// Borrows `target`, which must outlive this object.
  explicit RepeatFilterSink(Log::Sink* target);
  RepeatFilterSink(const RepeatFilterSink&) = delete;
  RepeatFilterSink& operator=(const RepeatFilterSink&) = delete;

  /// Reports the dropped messages, as `Flush` does.
  ~RepeatFilterSink() override;

  void Write(const Log::Record& record) override;

  /// Reports the dropped messages and starts counting anew: for the end of one file of several.
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

  DCAPKIT_HIDDEN void ReportDropped(const Site& site, Count* count);
  DCAPKIT_HIDDEN void FlushLocked();

  std::mutex mutex_;
  std::map<Site, Count> counts_;
  Log::Sink* target_;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_REPEATFILTER_H
