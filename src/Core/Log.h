// Log lines of the library and where they go.
#ifndef DCAPKIT_CORE_LOG_H
#define DCAPKIT_CORE_LOG_H

#include "Core/Export.h"

namespace Core {

/// What the library survives, it logs here; what ends processing is thrown (`Core/Exceptions.h`).
///
///     class Collect : public Core::Log::Sink {
///       void Write(const Core::Log::Record& record) override { lines.push_back(record.message); }
///     };
///     Collect collect;
///     Core::Log::Sink* previous = Core::Log::SetSink(&collect);
///
/// The sink pointer is the one process-wide setting of the library. `Print` may be called from
/// several threads at once; the default sink locks, a sink of one's own must do what it needs.
class DCAPKIT_API Log {
 public:
  /// Levels and zones are plain numbers, for sinks that filter by them: `record.level <= 2`.
  enum LogLevel : int { kError = 1, kWarning = 2, kInformation = 3, kNotice = 4 };
  /// `kProcessing`: reading, decoding and file utilities. `kCompleteness`: the processor's notes on
  /// the file size and on a last frame cut short.
  enum LogZone : int { kProcessing = 3, kCompleteness = 4 };

  /// One log line. The pointers are valid only during `Sink::Write`.
  struct Record {
    LogLevel level;
    LogZone zone;
    int line;             ///< site number of the message, stable between releases where documented
    const char* file;     ///< the unit, as in "src/Data/GLDecoder"
    const char* message;  ///< formatted text, without a line feed, never cut off
  };

  /// Receives log lines. Borrowed by `SetSink`, never deleted. `Write` must not throw: it is called
  /// where the library does not expect it.
  class DCAPKIT_API Sink {
   public:
    virtual ~Sink() = default;
    virtual void Write(const Record& record) = 0;
  };

  /// Formats a message as printf does and hands it to the sink when `flag` is true. `errno` stays
  /// as it was.
  static void Print(LogLevel level, LogZone zone, int line, const char* file, bool flag,
                    const char* format, ...) __attribute__((format(printf, 6, 7)));

  /// Makes `sink` the receiver of all log lines and returns the previous one. Null restores the
  /// default, which writes each message as one line to stderr,
  ///
  ///     dcapkit: warning: Skipping unrecognized block type 9. [src/Data/DCAPFileProcessor:310]
  ///
  /// and cuts repeats short (`Core/RepeatFilter.h`). A sink of one's own receives everything, and
  /// must outlive its use.
  static Sink* SetSink(Sink* sink) noexcept;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_LOG_H
