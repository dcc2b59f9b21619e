// Opening captures and walking them, with the tool's way of reporting what goes wrong.
#ifndef DCAP_CAPTURE_H
#define DCAP_CAPTURE_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Core/DataReader.h"
#include "Data/Capture/CaptureRecovery.h"
#include "Data/DCAPFileProcessor.h"

#include "inspect/events/Events.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Damage.h"

/// A capture file, opened for reading. One that is unfinished or cut reads as if it were finished.
class Capture {
 public:
  /// `jobs` as given with --jobs. Throws `Core::BasicException` when there is no capture to read.
  explicit Capture(const std::string& path, unsigned jobs = 1);

  /// The capture from its start. `Size()` is that of the finished capture; 0 for a pipe, whose
  /// state is not known.
  [[nodiscard]] const std::shared_ptr<Core::DataReader>& Reader() const { return reader_; }

  /// The same for a walk over the headers of the blocks alone, one walk at a time; cheaper there.
  /// Null for a pipe.
  [[nodiscard]] const std::shared_ptr<Core::DataReader>& Headers() const { return headers_; }

  /// Opens the file once more, for reading in two places. Null for a pipe, and when the file is not
  /// there any more.
  [[nodiscard]] std::shared_ptr<Core::DataReader> OpenAgain() const;

  /// What the file lacks. All zero for a pipe.
  [[nodiscard]] const Data::CaptureRecovery& Recovery() const { return recovery_; }

  /// Throws `Core::BasicException` for a pipe.
  void RequireFile() const;

  /// Says in a line on stderr what was missing, if anything was.
  void ReportState() const;

  /// `kExitOk`, or `kExitIncomplete` when recorded bytes are not there.
  [[nodiscard]] int Status() const;

 private:
  [[nodiscard]] std::shared_ptr<Core::DataReader> Finished(
      std::shared_ptr<Core::DataReader> file) const;

  std::string path_;
  std::shared_ptr<Core::DataReader> reader_;
  std::shared_ptr<Core::DataReader> headers_;
  Data::CaptureRecovery recovery_;
};

/// Which of "frame count", "file size", "last block size" and "trailer" a capture lacks.
std::vector<std::string_view> MissingParts(const Data::CaptureRecovery& recovery);

/// What is missing or left out of a capture, in words; empty when nothing is.
std::string DescribeState(const Data::CaptureRecovery& recovery);

/// "none", "lz4" or "lz77" by the option mask of a header; "unknown" for other types.
const char* CompressionName(uint32_t optionMask);

class Progress;
struct ParallelWalk;

/// Walks the blocks of one range. `processor` has handed the start of the file to `consumer`. False
/// when nothing more is to come, or is selected, behind the range. `progress` may be null.
bool WalkRange(Data::DCAPFileProcessor* processor, EventConsumer* consumer, const BlockRange& range,
               Progress* progress);

/// How far the two have come.
Place PlaceOf(const Data::DCAPFileProcessor& processor, const EventConsumer& consumer);

/// Walks the capture at `path` and hands what is selected of it to `handler`, ending after the last
/// selected frame. Of a file, frames that are not selected are not read but for their size. What
/// ends the walk early is reported on stderr with the file, the byte offset, the frame and the
/// cause. Returns an `ExitStatus`; events up to the failure have been handled. `showProgress`
/// unless the handler writes to a terminal meanwhile.
///
/// With `parallel`, `handler` handles the start of the file alone, as others do the rest where that
/// is worth while; if it is not, `handler` handles all and `parallel` is not used.
int WalkCapture(const std::string& path, EventHandler* handler, const Selection& selection,
                bool showProgress, const ParallelWalk* parallel = nullptr);

#endif  // DCAP_CAPTURE_H
