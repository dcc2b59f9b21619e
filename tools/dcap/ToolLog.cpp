#include "ToolLog.h"

#include <cstdio>

void ToolLog::Stderr::Write(const Core::Log::Record& record) {
  const char* kind = record.level == Core::Log::LogLevel::kError     ? "error"
                     : record.level == Core::Log::LogLevel::kWarning ? "warning"
                                                                     : "note";
  std::fprintf(stderr, "dcap: %s: %s\n", kind, record.message);
}
