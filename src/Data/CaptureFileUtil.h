// Whole-file operations on captures: size, state, frame index, finalisation.
#ifndef DCAPKIT_DATA_CAPTUREFILEUTIL_H
#define DCAPKIT_DATA_CAPTUREFILEUTIL_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Export.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Looks after captures as files. A recorder that dies leaves a capture unfinished: frame count and
/// file size are 0 in the header, the size of the last block is 0, and its trailer is missing. To
/// read such a file as if it had been finished:
///
///     Data::CaptureFileUtil::EnsureFinalization(path);
///
/// Operations on an open stream start at its current position, which must be the start of the
/// capture, and leave it anywhere. Operations on a path open the file for the duration of the call.
/// None reads payloads: the index takes one short read and one seek a block.
///
/// Every failure is thrown as `Core::BasicException` with a fixed text that names the failed step:
/// "The data reader is invalid" or "The data writer is invalid" for null and unusable streams and
/// for files that cannot be opened. A file that has no status throws `Core::ErrnoException`.
class DCAPKIT_API CaptureFileUtil {
 public:
  CaptureFileUtil() = delete;

  /// Returns the bytes in the file. Throws `Core::ErrnoException`, and logs the same text, when the
  /// system cannot tell.
  static uint64_t GetFileSize(const std::string& path);

  /// True when the header has a frame count and a file size, the size is `fileSize`, and the file
  /// ends with a trailer if its blocks do. `fileSize` is the actual size in bytes. 0 stands for
  /// unknown; the path form then looks it up. Throws "File seek failed." for a stream of unknown
  /// size whose blocks have trailers, as it cannot be judged. Logs a warning when the header claims
  /// more than `fileSize`.
  static bool IsFileFinalized(std::shared_ptr<Core::DataReader> reader, uint64_t fileSize);
  static bool IsFileFinalized(const std::string& path, uint64_t fileSize);

  /// True when blocks have trailers and the last 8 of the `fileSize` bytes are not one.
  static bool IsFinalFrameTrailerNeeded(std::shared_ptr<Core::DataReader> reader,
                                        uint64_t fileSize);
  static bool IsFinalFrameTrailerNeeded(const std::string& path, uint64_t fileSize);

  /// Finishes a capture of `fileSize` bytes in place: writes frame count and file size into the
  /// header, makes the last frame, whose `BlockHeader` stands at `lastFrameOffset`, run to the end,
  /// and appends its trailer when `trailerNeeded`. A `frameCount` of 0 writes the header alone.
  /// Refuses a last frame too large for its 32-bit size before anything is written; any other
  /// failure may leave some of this done.
  static void FinalizeFile(std::shared_ptr<Core::DataWriter> writer, uint64_t fileSize,
                           uint32_t frameCount, uint64_t lastFrameOffset, bool trailerNeeded);
  static void FinalizeFile(const std::string& path, uint64_t fileSize, uint32_t frameCount,
                           uint64_t lastFrameOffset, bool trailerNeeded);

  /// Appends one entry for each frame to `index`, in file order. A block of size 0 ends the index,
  /// which still has that block if it is a frame: in an unfinished capture it is the last.
  static void GenerateFrameIndex(std::shared_ptr<Core::DataReader> reader,
                                 std::vector<FrameEntry>* index);
  static void GenerateFrameIndex(const std::string& path, std::vector<FrameEntry>* index);

  /// Finalises the file. Writes nothing when it is finalised already.
  static void EnsureFinalization(const std::string& path);
};

}  // namespace Data

#endif  // DCAPKIT_DATA_CAPTUREFILEUTIL_H
