// Shows the progress of a command.
#ifndef DCAP_PROGRESS_H
#define DCAP_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

#include "inspect/walk/ProgressSink.h"

/// A bar on stderr that tells how much of a file is done. It appears when stderr is a terminal and
/// the work takes longer than a second. The destructor removes it. One at a time.
class Progress final : public Inspect::ProgressSink {
 public:
  /// `path` is that of the file, `total` its size. With a size of 0, not known, nothing is shown.
  Progress(const std::string& path, uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() override { Hide(); }

  void Show(uint64_t done) override {
    if (isEnabled_) Update(done);
  }

  /// Takes the bar, if there is one, off the terminal until it is shown again. To be called before
  /// anything else is written to stderr.
  static void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  void Update(uint64_t done);

  std::string name_;
  uint64_t total_;
  Clock::time_point nextShow_;
  bool isEnabled_;
};

#endif  // DCAP_PROGRESS_H
