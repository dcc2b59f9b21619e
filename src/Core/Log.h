// The log lines of the library, and their receiver.
#ifndef DCAPKIT_CORE_LOG_H
#define DCAPKIT_CORE_LOG_H

#include "Core/Export.h"

namespace Core {

/// Carries the log lines of the library: problems that it survives. It throws those that end
/// processing (`Core/Exceptions.h`).
///
///     class Collect : public Core::Log::Sink {
///       void Write(const Core::Log::Record& record) override { lines.push_back(record.message); }
///     };
///     Collect collect;
///     Core::Log::Sink* previous = Core::Log::SetSink(&collect);
///
/// The pointer to the sink is the one process-wide setting of the library. Several threads may call
/// `Print` at once; the default sink locks, any other sink must lock its own data.
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

  /// Receives log lines. `SetSink` borrows the sink and never deletes it. `Write` must not throw:
  /// the library logs where it does not expect an exception.
  class DCAPKIT_API Sink {
   public:
    virtual ~Sink() = default;
    virtual void Write(const Record& record) = 0;
  };

  /// Formats a message as printf does, at any length, and hands it to the sink when `flag` is true.
  /// Leaves `errno` as it was.
  static void Print(LogLevel level, LogZone zone, int line, const char* file, bool flag,
                    const char* format, ...) __attribute__((format(printf, 6, 7)));

  /// Makes `sink` the receiver of all log lines and returns the previous one. Null restores the
  /// default, which writes each message as one line to stderr,
  ///
  ///     dcapkit: warning: Skipping unrecognized block type 9. [src/Data/DCAPFileProcessor:310]
  ///
  /// and cuts repeats short (`Core/RepeatFilter.h`). Any other sink receives every line. It must
  /// outlive its use: another thread may still be inside its `Write` when `SetSink` has replaced
  /// it.
  static Sink* SetSink(Sink* sink) noexcept;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_LOG_H
