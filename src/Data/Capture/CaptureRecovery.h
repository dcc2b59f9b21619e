// What an unfinished or cut capture is once it is finished.
#ifndef DCAPKIT_DATA_CAPTURERECOVERY_H
#define DCAPKIT_DATA_CAPTURERECOVERY_H

#include <cstdint>

#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Export.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Compares a capture as it lies in its file with what it has to be when finished.
///
/// A recorder that dies leaves frame count and file size 0 in the header, the last block with size
/// 0 and without its trailer, and its last sub-block cut anywhere; a copy that stopped half-way
/// lacks its end; an interrupted finalisation leaves some of the fields written. All of them become
/// the same kind of capture: it ends after the last complete sub-block, with the sizes, the count
/// and the trailer that belong to that end.
///
/// The end is found by one short read for each block, and for each sub-block of the last one.
/// Payloads are not read. In detail:
/// - A frame or type-2 block of size 0, or one that claims more bytes than the file has, is the
///   last. Its complete sub-blocks are kept; without any it is an empty frame.
/// - A block cut in its header or its frame number and a block of another type that is not there
///   whole are left out. The size 0 of such a block is meant if the blocks behind it lead to a
///   frame, to a type-2 block or to the very end of the file; if not, nobody came to write it.
/// - The last block is checked even when header and trailer look finished: finalising a capture
///   that ended in the middle of a sub-block makes them so.
/// - A file that is as large as its header says, and in which a block still runs past the end, is
///   `damaged` and not cut. Nothing in it is changed or left out.
struct DCAPKIT_API CaptureRecovery {
  FileHeader storedHeader{};  ///< as it lies in the file
  FileHeader header{};        ///< the same, with the frame count and the file size of what is kept
  uint64_t storedSize = 0;    ///< bytes in the file
  /// Bytes from the start of the file that are kept. What follows is not part of the finished
  /// capture, or is the beginning of a trailer.
  uint64_t keptSize = 0;
  bool appendsTrailer = false;       ///< the trailer follows the kept bytes
  bool damaged = false;              ///< see above
  uint64_t lastBlock = 0;            ///< position of the last kept block's header; 0 without blocks
  uint32_t storedLastBlockSize = 0;  ///< its size as it lies in the file
  uint32_t lastBlockSize = 0;        ///< its size when finished
  /// Bytes of a broken block or sub-block that are dropped.
  uint64_t leftOutSize = 0;
  uint64_t leftOutStart = 0;
  bool leftOutIsBlock = false;  ///< they are a whole block

  /// Examines a capture of `fileSize` bytes, which must be its true size. Leaves `reader` anywhere.
  /// Throws `Core::BasicException` when the reader is null or invalid, when fewer than 32 bytes are
  /// there, when they are not the header of a capture, and when reading fails.
  static CaptureRecovery Examine(Core::DataReader* reader, uint64_t fileSize);

  /// True when the file is what it has to be, or is damaged: there is nothing to change.
  [[nodiscard]] bool IsComplete() const;

  /// True when bytes are left out, or when the file itself says that more of them were recorded.
  [[nodiscard]] bool IsCut() const;

  /// Finishes the file behind `writer` in place. If anything is left out, the caller has shortened
  /// the file to `keptSize` bytes before.
  ///
  /// Only fields that differ are written: the last block's size, the trailer, and the header at the
  /// very last. Wherever this is interrupted, be it inside a field, and whatever had been done by
  /// `CaptureFileUtil::FinalizeFile` before, examining the file again and finishing it gives the
  /// same bytes. Throws what `CaptureFileUtil::FinalizeFile` throws.
  void Finish(Core::DataWriter* writer) const;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_CAPTURERECOVERY_H
