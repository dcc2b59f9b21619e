// Where the library's log lines go while the tool runs.
#ifndef DCAP_TOOLLOG_H
#define DCAP_TOOLLOG_H

#include <cstdint>

#include "Core/Log.h"
#include "Core/RepeatFilter.h"

#include "inspect/parallel/InOrder.h"

/// Writes log lines to stderr as the tool's own, floods cut short. Warnings and errors only, unless
/// `verbose`.
class ToolLog : private Core::Log::Sink {
 public:
  ToolLog() { Core::Log::SetSink(this); }
  ~ToolLog() override { Core::Log::SetSink(nullptr); }
  ToolLog(const ToolLog&) = delete;
  ToolLog& operator=(const ToolLog&) = delete;

  bool verbose = false;

 private:
  class Stderr : public Core::Log::Sink {
    void Write(const Core::Log::Record& record) override;
  };

  void Write(const Core::Log::Record& record) override;

  Stderr stderr_;
  Core::RepeatFilterSink filter_{&stderr_};
};

/// How many lines the library has logged on this thread.
uint64_t LogLinesOfThisThread();

/// While it lives, the log lines of the thread that made it take their turn with its other results.
class ThreadLog {
 public:
  explicit ThreadLog(InOrder::Turn* turn);
  ~ThreadLog();
  ThreadLog(const ThreadLog&) = delete;
  ThreadLog& operator=(const ThreadLog&) = delete;

  bool muted = false;

 private:
  friend class ToolLog;
  void Write(const Core::Log::Record& record, Core::Log::Sink* target);

  InOrder::Turn* turn_;
};

#endif  // DCAP_TOOLLOG_H
