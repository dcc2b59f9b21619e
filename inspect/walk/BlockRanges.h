// Where the selected blocks of a capture lie, found without reading them.
#ifndef DCAP_INSPECT_BLOCKRANGES_H
#define DCAP_INSPECT_BLOCKRANGES_H

#include <cstdint>
#include <memory>
#include <optional>

#include "Core/DataReader.h"
#include "Core/Exceptions.h"
#include "Data/Capture/DCAPBlockReader.h"

#include "inspect/events/Selection.h"

namespace Inspect {

/// Blocks of a capture that lie one behind the other, and what a walk must know to begin there.
struct BlockRange {
  uint64_t begin = 0;         ///< of the first block in the file
  uint64_t end = 0;           ///< behind the last; `kToTheEnd` when nobody can tell
  uint32_t framesBefore = 0;  ///< how many frames come before
  uint32_t numberBefore = 0;  ///< the sequence number of the last of them; 0 when there is none
  uint32_t largestBlock = 0;  ///< size of the largest block

  static constexpr uint64_t kToTheEnd = UINT64_MAX;

  /// The whole capture.
  static BlockRange All() { return {sizeof(Data::FileHeader), kToTheEnd, 0, 0, UINT32_MAX}; }
};

/// Has `reader` fetch a range, which will be read from its start to its end, at once and no more
/// than that, if it knows how to. Leaves it anywhere.
void ExpectToRead(const BlockRange& range, Core::DataReader* reader);

/// Reads the headers of a finished capture in a file, not its payloads. Throws `DamageError` where
/// sizes do not fit.
class BlockWalk {
 public:
  /// Reads the file header. Leaves the reader anywhere.
  explicit BlockWalk(const std::shared_ptr<Core::DataReader>& capture,
                     const BlockRange& range = BlockRange::All());

  /// Goes to the next block of the range. False at its end.
  bool NextBlock();
  /// Goes to the next sub-block of the block, whose description alone is there. False at its end.
  bool NextSubBlock(Data::StoredSubBlock* subBlock);
  [[nodiscard]] uint32_t InflatedSize(const Data::StoredSubBlock& subBlock) const;

  /// The file header and the block at hand.
  [[nodiscard]] const Data::DCAPBlockReader& Reader() const { return reader_; }
  /// How many frames have begun, the one at hand included.
  [[nodiscard]] uint32_t Frames() const { return frames_; }
  /// The sequence number of the last of them; 0 when there is none.
  [[nodiscard]] uint32_t FrameNumber() const { return number_; }

 private:
  [[noreturn]] void Fail(const Core::BasicException& error) const;

  Data::DCAPBlockReader reader_;
  uint64_t end_;
  uint32_t frames_;
  uint32_t number_;
  bool inFrame_ = false;
};

/// Cuts what is selected of a capture into ranges, by one short read for each block of the file. A
/// block that is no frame goes with the frame before it. Where blocks do not fit into the file, the
/// last range begins, so that whoever works on it meets the damage; nothing is thrown.
class BlockRanges {
 public:
  /// Ranges have as many whole blocks as fit into `size` bytes, or one that does not, where the
  /// selection does not end them earlier. Throws `Core::BasicException` when the file header cannot
  /// be read.
  BlockRanges(const std::shared_ptr<Core::DataReader>& reader, Ranges frames, uint64_t size);

  /// The next range in the order of the file. False when nothing more is selected.
  bool Next(BlockRange* range);

 private:
  BlockWalk walk_;
  Ranges frames_;
  uint64_t size_;
  bool ended_ = false;
  std::optional<BlockRange> next_;  // the block that did not fit into the last range
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_BLOCKRANGES_H
