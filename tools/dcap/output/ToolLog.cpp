#include "output/ToolLog.h"

#include <cstdio>

#include "output/Progress.h"

void ToolLog::Write(const Core::Log::Record& record) {
  if (verbose || record.level <= Core::Log::LogLevel::kWarning) ordered_.Write(record);
}

void ToolLog::Stderr::Write(const Core::Log::Record& record) {
  const char* kind = record.level == Core::Log::LogLevel::kError     ? "error"
                     : record.level == Core::Log::LogLevel::kWarning ? "warning"
                                                                     : "note";
  Progress::Hide();
  std::fprintf(stderr, "dcap: %s: %s\n", kind, record.message);
}
