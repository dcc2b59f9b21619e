#include "output/ToolLog.h"

#include <cstdio>
#include <string>

namespace {

thread_local ThreadLog* threadLog = nullptr;
thread_local uint64_t logLines = 0;

}  // namespace

uint64_t LogLinesOfThisThread() { return logLines; }

void ToolLog::Write(const Core::Log::Record& record) {
  ++logLines;
  if (!verbose && record.level > Core::Log::LogLevel::kWarning) return;
  if (threadLog != nullptr) {
    threadLog->Write(record, &filter_);
  } else {
    filter_.Write(record);
  }
}

#include "output/Progress.h"

void ToolLog::Stderr::Write(const Core::Log::Record& record) {
  const char* kind = record.level == Core::Log::LogLevel::kError     ? "error"
                     : record.level == Core::Log::LogLevel::kWarning ? "warning"
                                                                     : "note";
  Progress::Hide();
  std::fprintf(stderr, "dcap: %s: %s\n", kind, record.message);
}

ThreadLog::ThreadLog(InOrder::Turn* turn) : turn_(turn) { threadLog = this; }

ThreadLog::~ThreadLog() { threadLog = nullptr; }

void ThreadLog::Write(const Core::Log::Record& record, Core::Log::Sink* target) {
  if (muted) return;
  const std::string file = record.file;
  const std::string message = record.message;
  turn_->Do(sizeof(record) + file.size() + message.size(), [=] {
    target->Write({record.level, record.zone, record.line, file.c_str(), message.c_str()});
  });
}
