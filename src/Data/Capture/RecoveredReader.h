// Reads an unfinished or cut capture as if it were finished.
#ifndef DCAPKIT_DATA_RECOVEREDREADER_H
#define DCAPKIT_DATA_RECOVEREDREADER_H

#include <cstdint>
#include <memory>
#include <span>

#include "Core/DataReader.h"
#include "Core/Export.h"
#include "Core/ViewReader.h"
#include "Data/Capture/CaptureRecovery.h"

namespace Data {

/// A `DataReader` that shows a capture as `CaptureRecovery` would finish it, and writes nothing:
///
///     auto file = std::make_shared<Core::StdioReader>(path);
///     auto capture = std::make_shared<Data::RecoveredReader>(file, file->Size());
///     processor.Initialize(&consumer, capture, capture->Size());
///
/// It shows the bytes of a finished capture unchanged. A file longer than the capture ends where
/// the capture does.
class DCAPKIT_API RecoveredReader : public Core::ViewReader {
 public:
  /// Examines the capture of `fileSize` bytes behind `source`, shares the source, and stands at the
  /// start. Nobody else may use the source meanwhile. Throws what `CaptureRecovery::Examine`
  /// throws, also for a null source.
  RecoveredReader(std::shared_ptr<Core::DataReader> source, uint64_t fileSize);

  /// Does the same for a capture that was examined before, through this source or another one.
  RecoveredReader(std::shared_ptr<Core::DataReader> source, const CaptureRecovery& recovery);

  RecoveredReader(const RecoveredReader&) = delete;
  RecoveredReader& operator=(const RecoveredReader&) = delete;
  ~RecoveredReader() override;

  /// Tells which parts are supplied and which are left out.
  [[nodiscard]] const CaptureRecovery& Recovery() const { return recovery_; }

  [[nodiscard]] bool IsValid() const override;
  void Close() override;
  unsigned long Read(void* buffer, unsigned long size) override;

  /// Returns the bytes in the finished capture.
  [[nodiscard]] uint64_t Size() const override;
  [[nodiscard]] bool AtEof() const override;
  int Seek(int origin, int64_t offset) override;
  [[nodiscard]] uint64_t Tell() const override;
  /// Shows the bytes of a source that shows its own, where they need no change; nothing elsewhere.
  std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) override;

 private:
  // The source stands at position_, or at the end of the kept bytes when that is less.
  std::shared_ptr<Core::DataReader> source_;
  Core::ViewReader* viewer_;  // the source, when it shows its bytes
  CaptureRecovery recovery_;
  uint64_t position_ = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_RECOVEREDREADER_H
