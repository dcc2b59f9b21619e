// The log sink of the tool.
#ifndef DCAP_TOOLLOG_H
#define DCAP_TOOLLOG_H

#include "Core/Log.h"
#include "Core/RepeatFilter.h"

#include "inspect/parallel/OrderedLog.h"

/// Writes log lines to stderr as the tool's own, in the order of the capture, floods cut short.
/// Warnings and errors only, unless `verbose`.
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
  Inspect::OrderedLog ordered_{&filter_};
};

#endif  // DCAP_TOOLLOG_H
