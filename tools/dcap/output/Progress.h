// How far a long command has got.
#ifndef DCAP_PROGRESS_H
#define DCAP_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

/// A bar on stderr that tells how much of a file is done. It appears where stderr is a terminal and
/// the work takes longer than a second, and is gone when the object is. One at a time.
class Progress {
 public:
  /// `path` is that of the file, `total` its size; nothing is shown while that is 0, not known.
  Progress(const std::string& path, uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Hide(); }

  /// To be called from time to time, cheaply enough for every block of a capture.
  void Show(uint64_t done) {
    if (isEnabled_) Update(done);
  }

  /// Takes the bar, if there is one, off the terminal until it is shown again. Whoever writes to
  /// stderr while a command works does this first.
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
