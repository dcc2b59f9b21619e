// Collects log lines while it lives.
#ifndef DCAPKIT_TESTS_LOGCOLLECTOR_H
#define DCAPKIT_TESTS_LOGCOLLECTOR_H

#include <string>
#include <utility>
#include <vector>

#include "Core/Log.h"

/// Receives all log lines from construction to destruction, then hands back to the previous sink.
class LogCollector : public Core::Log::Sink {
 public:
  LogCollector() : previous_(Core::Log::SetSink(this)) {}
  ~LogCollector() override { Core::Log::SetSink(previous_); }
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  void Write(const Core::Log::Record& record) override {
    messages_.emplace_back(record.message);
    lines_.push_back(std::to_string(static_cast<int>(record.level)) + "/" +
                     std::to_string(static_cast<int>(record.zone)) + " " + record.file + ":" +
                     std::to_string(record.line) + " " + record.message);
  }

  /// The messages alone.
  const std::vector<std::string>& Messages() const { return messages_; }

  /// Whole lines, as "LEVEL/ZONE FILE:LINE MESSAGE".
  const std::vector<std::string>& Lines() const { return lines_; }

  /// The whole lines so far, which are then forgotten.
  std::vector<std::string> Take() {
    messages_.clear();
    return std::exchange(lines_, {});
  }

 private:
  Core::Log::Sink* previous_;
  std::vector<std::string> messages_;
  std::vector<std::string> lines_;
};

#endif  // DCAPKIT_TESTS_LOGCOLLECTOR_H
