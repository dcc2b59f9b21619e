// Captures, opened for reading.
#ifndef DCAP_INSPECT_CAPTURE_H
#define DCAP_INSPECT_CAPTURE_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Core/DataReader.h"
#include "Data/Capture/CaptureRecovery.h"

#include "inspect/walk/OpenedFile.h"

namespace Inspect {

/// A capture file, opened for reading. One that is unfinished or cut reads as if it were finished.
/// Its readers must not outlive it.
class Capture {
 public:
  /// Opens the capture at `path` and examines whether it is finished: up to `ThreadsFor(jobs,
  /// size)` threads read the headers of its blocks. Throws `Core::BasicException` when there is no
  /// capture to read.
  explicit Capture(const std::string& path, unsigned jobs = 1);

  /// The capture from its start, for one user at a time. `Size()` is that of the finished capture;
  /// 0 for a pipe, whose state is not known.
  [[nodiscard]] const std::shared_ptr<Core::DataReader>& Reader() const { return reader_; }

  /// The same, cheaper for a walk that reads the headers of blocks alone. One walk at a time. Null
  /// for a pipe.
  [[nodiscard]] const std::shared_ptr<Core::DataReader>& Headers() const { return headers_; }

  /// A further reader of the same file, for reading in two places. Null for a pipe, and where the
  /// file has become shorter or cannot be opened once more.
  [[nodiscard]] std::shared_ptr<Core::DataReader> OpenAgain() const;

  /// The state of the capture: the parts that its file lacks. All zero for a pipe.
  [[nodiscard]] const Data::CaptureRecovery& Recovery() const { return recovery_; }

  /// Throws `Core::BasicException` for a pipe.
  void RequireFile() const;

 private:
  [[nodiscard]] std::shared_ptr<Core::DataReader> Finished(
      std::shared_ptr<Core::DataReader> file) const;

  OpenedFile file_;
  std::shared_ptr<Core::DataReader> reader_;
  std::shared_ptr<Core::DataReader> headers_;
  Data::CaptureRecovery recovery_;
};

/// Those of "frame count", "file size", "last block size" and "trailer" that a capture lacks.
std::vector<std::string_view> MissingParts(const Data::CaptureRecovery& recovery);

/// The state of a capture in words: the parts that are missing or left out. Empty for a finished
/// capture.
std::string DescribeState(const Data::CaptureRecovery& recovery);

}  // namespace Inspect

#endif  // DCAP_INSPECT_CAPTURE_H
