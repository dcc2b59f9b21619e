// How far a long command has got.
#ifndef DCAP_PROGRESS_H
#define DCAP_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

/// A line on stderr that tells how much of a file is done. It appears where stderr is a terminal
/// and the work takes longer than a second, and is gone when the object is.
class Progress {
 public:
  /// A `total` of 0 is not known: nothing is shown then.
  Progress(std::string name, uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// To be called from time to time, cheaply enough for every block of a capture.
  void Show(uint64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string name_;
  uint64_t total_;
  Clock::time_point nextShow_;
  bool enabled_;
  bool shown_ = false;
};

#endif  // DCAP_PROGRESS_H
