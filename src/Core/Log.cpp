#include "Core/Log.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Core/RepeatFilter.h"

namespace Core {

namespace {

const char* LevelName(Log::LogLevel level) {
  switch (level) {
    case Log::LogLevel::kError:
      return "error";
    case Log::LogLevel::kWarning:
      return "warning";
    case Log::LogLevel::kInformation:
      return "info";
    case Log::LogLevel::kNotice:
      return "notice";
  }
  return "log";
}

class StderrSink : public Log::Sink {
 public:
  void Write(const Log::Record& record) override {
    std::string line = std::string("dcapkit: ") + LevelName(record.level) + ": ";
    // Texts can come from a file: it must not forge lines or steer the terminal.
    for (const char* next = record.message; *next != '\0'; ++next) {
      const auto byte = static_cast<unsigned char>(*next);
      line += byte < 0x20 || byte == 0x7F ? '?' : *next;
    }
    line += std::string(" [") + record.file + ":" + std::to_string(record.line) + "]\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
  }
};

// Never destroyed, as destructors of static objects may still log; the pending counts of repeats
// are told when the process ends.
RepeatFilterSink* DefaultSink() {
  static RepeatFilterSink* const filter = [] {
    auto* made = new RepeatFilterSink(new StderrSink);
    std::atexit([] { DefaultSink()->Flush(); });
    return made;
  }();
  return filter;
}

std::atomic<Log::Sink*> currentSink = nullptr;

}  // namespace

void Log::Print(LogLevel level, LogZone zone, int line, const char* file, bool flag,
                const char* format, ...) {
  if (!flag) {
    return;
  }
  const int savedErrno = errno;
  char shortText[512];
  std::string longText;
  const char* message = shortText;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(shortText, sizeof(shortText), format, arguments);
  va_end(arguments);
  if (length < 0) {
    message = format;  // better than nothing
  } else if (static_cast<size_t>(length) >= sizeof(shortText)) {
    longText.resize(static_cast<size_t>(length));
    std::vsnprintf(longText.data(), longText.size() + 1, format, again);
    message = longText.c_str();
  }
  va_end(again);
  Sink* sink = currentSink.load(std::memory_order_acquire);
  (sink != nullptr ? sink : DefaultSink())->Write({level, zone, line, file, message});
  errno = savedErrno;
}

Log::Sink* Log::SetSink(Sink* sink) noexcept {
  return currentSink.exchange(sink, std::memory_order_acq_rel);
}

}  // namespace Core
