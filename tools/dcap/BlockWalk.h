// Walking a capture by its headers alone, without reading payloads.
#ifndef DCAP_BLOCKWALK_H
#define DCAP_BLOCKWALK_H

#include <cstdint>

#include "Core/DataReader.h"
#include "Data/DCAPFormat.h"

/// Walks the blocks of a capture, and on demand the sub-blocks of each. Takes one short read for a
/// block and one for a sub-block, wherever they lie:
///
///     BlockWalk walk(reader);
///     while (walk.NextBlock())
///       while (walk.NextSubBlock()) ...
///
/// Throws `DamageError` where sizes do not fit.
class BlockWalk {
 public:
  /// Reads the file header. Borrows the reader of a finished capture, which knows its size.
  explicit BlockWalk(Core::DataReader* reader);

  [[nodiscard]] const Data::FileHeader& Header() const { return header_; }

  /// Goes to the next block. False at the end.
  bool NextBlock();

  [[nodiscard]] const Data::BlockHeader& Block() const { return block_; }
  [[nodiscard]] uint64_t BlockPosition() const { return position_; }
  /// Bytes of the block, its header included.
  [[nodiscard]] uint64_t BlockBytes() const { return sizeof(block_) + block_.size; }
  [[nodiscard]] bool HasSubBlocks() const {
    return block_.type == Data::kBlockFrame || block_.type == Data::kBlockType2;
  }
  /// Sequence number of a block that has sub-blocks.
  [[nodiscard]] uint32_t Number() const { return number_; }

  struct SubBlock {
    Data::SubBlockHeader header{};
    uint16_t callId = 0;        ///< 0 for anything but a call
    uint32_t payloadSize = 0;   ///< as stored
    uint32_t inflatedSize = 0;  ///< the same when decompressed
  };

  /// Goes to the next sub-block of the block. False at its end, and in blocks without any.
  bool NextSubBlock();
  [[nodiscard]] const SubBlock& Sub() const { return sub_; }

 private:
  [[noreturn]] void FailInBlock(const char* trouble) const;
  [[noreturn]] void FailInSubBlock(const char* trouble) const;
  unsigned long ReadAt(uint64_t position, void* buffer, unsigned long size);

  Core::DataReader* reader_;
  uint64_t size_;
  Data::FileHeader header_{};
  Data::BlockHeader block_{};
  uint64_t position_ = 0;
  uint64_t nextBlock_ = sizeof(Data::FileHeader);
  uint32_t number_ = 0;
  uint32_t frames_ = 0;  // so far
  uint32_t frameNumber_ = 0;
  uint64_t nextSub_ = 0;
  uint64_t subEnd_ = 0;  // of the last sub-block
  SubBlock sub_;
};

#endif  // DCAP_BLOCKWALK_H
