// Reads a capture as it lies: every block and sub-block, known or not.
#ifndef DCAPKIT_DATA_DCAPBLOCKREADER_H
#define DCAPKIT_DATA_DCAPBLOCKREADER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "Core/DataReader.h"
#include "Core/Export.h"
#include "Data/ApiCallType.h"
#include "Data/DCAPFormat.h"

namespace Data {

class BlockWindow;
class Inflater;

/// A sub-block as it is stored. `body` is its description and its payload, perhaps compressed; the
/// reader lends it until its next operation. A sub-block read with `NextSubBlockDesc` has the
/// description alone.
struct StoredSubBlock {
  uint16_t type;  ///< `SubBlockType`, or any other value
  uint32_t threadId;
  const uint8_t* body;
  uint32_t size;      ///< of the whole sub-block, in bytes
  uint32_t bodySize;  ///< of `body`: `size`, or less when the description alone is there

  /// True for a function or method call, compressed or not.
  [[nodiscard]] bool IsCall() const {
    return type >= kSubBlockMethodCall && type <= kSubBlockCompressedFunctionCall;
  }
  [[nodiscard]] bool IsMethodCall() const {
    return type == kSubBlockMethodCall || type == kSubBlockCompressedMethodCall;
  }
  [[nodiscard]] bool IsPacked() const {
    return type == kSubBlockCompressedMethodCall || type == kSubBlockCompressedFunctionCall;
  }
  /// Returns the bytes of the description, which `size` may be too small for; 0 for an unknown
  /// type.
  [[nodiscard]] uint32_t DescSize() const {
    if (type == kSubBlockMetadata) return sizeof(MetadataDesc);
    if (!IsCall()) return 0;
    const size_t plainSize = IsMethodCall() ? sizeof(MethodCallDesc) : sizeof(FunctionCallDesc);
    return static_cast<uint32_t>(plainSize + (IsPacked() ? sizeof(uint32_t) : 0));
  }
};

/// A call as consumers receive it. `payload` is lent like the body of a sub-block.
struct StoredCall {
  bool isMethod;
  MethodCallDesc desc;  ///< of a function call, the identifier alone
  const uint8_t* payload;
  uint32_t size;
};

/// Walks a capture and hands out everything in it, known or not, for programs that copy, filter or
/// measure without decoding. `DCAPFileProcessor` calls a consumer and skips blocks of unknown
/// types; a program asks this reader for one piece after the other:
///
///     Data::DCAPBlockReader capture(std::make_shared<Core::StdioReader>(path));
///     while (capture.NextBlock()) {
///       Data::StoredSubBlock subBlock;
///       while (capture.NextSubBlock(&subBlock)) bytesOfThread[subBlock.threadId] += subBlock.size;
///     }
///
/// It skips pieces that a program does not ask for, whole blocks without reading them. It shares
/// the reader, which nobody else may use meanwhile. Errors are those of the processor, thrown as
/// `Core::BasicException` with its texts; after one only destruction is allowed. As there, nothing
/// is allocated on the word of the file alone. Read an unfinished or cut capture through a
/// `RecoveredReader`.
class DCAPKIT_API DCAPBlockReader {
 public:
  /// Reads the file header. Throws `DCAPFileProcessor::InvalidReaderMsg` (also for null),
  /// `FileHeaderFailMsg`, `FourCCFailMsg`, `CompressionTypeFailMsg`.
  explicit DCAPBlockReader(std::shared_ptr<Core::DataReader> reader);
  DCAPBlockReader(const DCAPBlockReader&) = delete;
  DCAPBlockReader& operator=(const DCAPBlockReader&) = delete;
  ~DCAPBlockReader();

  /// The file header, as stored.
  [[nodiscard]] const FileHeader& Header() const noexcept { return header_; }

  /// Goes to the next block. Returns false at the end of the capture, told by the file size in the
  /// header or, when that is 0, by the stream. Throws `BlockHeaderFailMsg`, and for a frame or a
  /// type-2 block `BlockTrailerMissingMsg` and `FrameNumberFailMsg`.
  bool NextBlock();

  /// Makes `NextBlock` go to the block that begins at `position`. Throws `BlockHeaderFailMsg` when
  /// the stream cannot be there.
  void ContinueAt(uint64_t position);

  /// Returns the bytes of the capture that have been handed out or skipped.
  [[nodiscard]] uint64_t Position() const noexcept {
    return nextBlock_ - remaining_ - (trailerDue_ ? sizeof(DCAPFrameTrailer) : 0);
  }

  /// The header of the block at hand, as stored.
  [[nodiscard]] const BlockHeader& Block() const noexcept { return block_; }
  /// The position of its header in the stream, and that of its end, as its size claims.
  [[nodiscard]] uint64_t BlockBegin() const noexcept {
    return nextBlock_ - sizeof(block_) - block_.size;
  }
  [[nodiscard]] uint64_t BlockEnd() const noexcept { return nextBlock_; }
  /// True for a frame or a type-2 block: it has a number and sub-blocks.
  [[nodiscard]] bool IsFramed() const noexcept {
    return block_.type == kBlockFrame || block_.type == kBlockType2;
  }
  /// The sequence number of a frame or a type-2 block.
  [[nodiscard]] uint32_t FrameNumber() const noexcept { return frameNumber_; }

  /// Reads the next sub-block of a frame or a type-2 block. Returns false at its end, and for other
  /// blocks. Throws `SubBlockHeaderFailMsg`, `SubBlockDataFailMsg`, and at the end of the block
  /// `BlockTrailerFailMsg` and `BlockTrailerMissingMsg`.
  bool NextSubBlock(StoredSubBlock* subBlock);

  /// Does the same for programs that look at no payloads: `body` has only the description, while
  /// `size` is that of the whole. Does not read payloads where that saves anything, so a sub-block
  /// that the stream does not hold whole may go unnoticed.
  bool NextSubBlockDesc(StoredSubBlock* subBlock);

  /// Reads the next piece of the body of any other block. Returns an empty piece at its end, or at
  /// the end of the stream if that comes first. A piece is lent until the next operation.
  std::span<const uint8_t> NextPiece();

  /// Returns the identifier of a call; none for other sub-blocks and for calls too short to have
  /// one.
  [[nodiscard]] static std::optional<ApiCallType> CallId(const StoredSubBlock& subBlock);

  /// Returns the bytes of the decompressed payload of a sub-block: all behind its description or,
  /// for a compressed call, the size that the description states. Throws `SubBlockDataFailMsg` when
  /// the sub-block is too small for its description.
  [[nodiscard]] uint32_t InflatedSize(const StoredSubBlock& subBlock) const;

  /// Decompresses a call; `subBlock` must be one. Returns none for a compressed call that states a
  /// size of 0, which readers drop. Takes the bytes as they are in a capture without compression
  /// and for an empty payload. Throws `DecompressFailMsg`, and `SubBlockDataFailMsg`, also for a
  /// sub-block that was read with `NextSubBlockDesc`.
  std::optional<StoredCall> ReadCall(const StoredSubBlock& subBlock);

 private:
  DCAPKIT_HIDDEN bool ReadSubBlockHeader(StoredSubBlock* subBlock);

  std::unique_ptr<BlockWindow> window_;
  std::unique_ptr<Inflater> inflater_;
  FileHeader header_{};
  BlockHeader block_{};
  uint32_t frameNumber_ = 0;
  uint32_t remaining_ = 0;   // bytes of the block that are left for sub-blocks, or of a raw body
  bool trailerDue_ = false;  // a trailer follows them that was not read yet
  uint64_t nextBlock_ = sizeof(FileHeader);  // where the block behind the one at hand begins
  std::array<uint8_t, sizeof(MethodCallDesc) + sizeof(uint32_t)> desc_{};  // of NextSubBlockDesc
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPBLOCKREADER_H
