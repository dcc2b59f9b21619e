// Finishes unfinished and cut captures.
#ifndef DCAPKIT_DATA_CAPTURERECOVERY_H
#define DCAPKIT_DATA_CAPTURERECOVERY_H

#include <cstdint>

#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Export.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Compares a capture as it lies in its file with the finished capture that it should be.
///
/// A recorder that dies leaves frame count and file size 0 in the header, the last block with size
/// 0 and without its trailer, and its last sub-block cut anywhere. A copy that stopped half-way
/// lacks its end. An interrupted finalisation leaves some of the fields written. Finished, all of
/// them become the same kind of capture: it ends after the last complete sub-block, and its sizes,
/// its frame count and its trailer agree with that end.
///
/// Examining takes one short read for each block, and for each sub-block of the last one. It reads
/// no payloads. In detail:
/// - A frame or type-2 block of size 0, or one that claims more bytes than the file has, is the
///   last. Its complete sub-blocks are kept; without any it is an empty frame.
/// - A block cut in its header or its frame number is left out, and so is a block of another type
///   that is not there whole. The size 0 of a block of another type counts as real if the blocks
///   after it lead to a frame, to a type-2 block or to the very end of the file; otherwise the
///   recorder died before filling it in, and the block is left out.
/// - The last block is checked even when header and trailer look finished: finalising a capture
///   that ended in the middle of a sub-block makes them so.
/// - A file that is as large as its header says, and in which a block still runs past the end, is
///   `damaged` and not cut. Nothing in it is changed or left out.
struct DCAPKIT_API CaptureRecovery {
  FileHeader storedHeader{};  ///< as it lies in the file
  FileHeader header{};        ///< the same, with frame count and file size of the kept part
  uint64_t storedSize = 0;    ///< bytes in the file
  /// Bytes from the start of the file that are kept. Bytes behind them are not part of the finished
  /// capture, or are the beginning of a trailer.
  uint64_t keptSize = 0;
  bool appendsTrailer = false;       ///< the trailer follows the kept bytes
  bool damaged = false;              ///< a block runs past the end of a file of the right size
  uint64_t lastBlock = 0;            ///< position of the last kept block's header; 0 without blocks
  uint32_t storedLastBlockSize = 0;  ///< its size as it lies in the file
  uint32_t lastBlockSize = 0;        ///< its size when finished
  /// Bytes of a broken block or sub-block that are dropped, and where they begin.
  uint64_t leftOutSize = 0;
  uint64_t leftOutStart = 0;
  bool leftOutIsBlock = false;  ///< they are a whole block

  /// Examines a capture of `fileSize` bytes, which must be its true size. Leaves `reader` anywhere.
  /// Throws `Core::BasicException` when the reader is null or invalid, when the file has fewer than
  /// 32 bytes, when they are not the header of a capture, and when reading fails.
  static CaptureRecovery Examine(Core::DataReader* reader, uint64_t fileSize);

  /// True when finishing would change nothing: the file is finished, or it is damaged.
  [[nodiscard]] bool IsComplete() const;

  /// True when bytes are left out, or when the file itself says that more were recorded.
  [[nodiscard]] bool IsCut() const;

  /// Finishes the file behind `writer` in place. If bytes are left out, the caller must have
  /// shortened the file to `keptSize` bytes before.
  ///
  /// Writes only fields that differ: the last block's size, the trailer, and the header at the very
  /// last. Examining the file again and finishing it gives the same bytes wherever this was
  /// interrupted, even inside a field, and whatever part of `CaptureFileUtil::FinalizeFile` was
  /// done before. Throws what `CaptureFileUtil::FinalizeFile` throws.
  void Finish(Core::DataWriter* writer) const;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_CAPTURERECOVERY_H
