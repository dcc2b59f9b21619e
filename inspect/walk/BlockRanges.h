// The places of the selected blocks of a capture, found without reading payloads.
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

/// Consecutive blocks of a capture, and the numbers that a walk needs to begin there.
struct BlockRange {
  uint64_t begin = 0;         ///< offset of the first block in the file
  uint64_t end = 0;           ///< offset behind the last; `kToTheEnd` when it is not known
  uint32_t framesBefore = 0;  ///< number of frames before
  uint32_t numberBefore = 0;  ///< sequence number of the last of them; 0 without any
  uint32_t largestBlock = 0;  ///< its size

  static constexpr uint64_t kToTheEnd = UINT64_MAX;

  /// The whole capture.
  static BlockRange All() { return {sizeof(Data::FileHeader), kToTheEnd, 0, 0, UINT32_MAX}; }
};

/// Hints to `reader` that exactly this range will be read. The position afterwards is unspecified.
void ExpectToRead(const BlockRange& range, Core::DataReader* reader);

/// Reads the headers of a finished capture in a file, not its payloads. All operations throw
/// `DamageError` where sizes do not fit.
class BlockWalk {
 public:
  /// Reads the file header of `capture`, which nobody else may use meanwhile. Throws
  /// `Core::BasicException`.
  explicit BlockWalk(const std::shared_ptr<Core::DataReader>& capture,
                     const BlockRange& range = BlockRange::All());

  /// Goes to the next block of the range. False at its end.
  bool NextBlock();
  /// Goes to the next sub-block of the block, and reads its description alone. False at the end of
  /// the block.
  bool NextSubBlock(Data::StoredSubBlock* subBlock);
  /// Bytes of its payload when it is decompressed.
  [[nodiscard]] uint32_t InflatedSize(const Data::StoredSubBlock& subBlock) const;

  /// The file header and the block at hand.
  [[nodiscard]] const Data::DCAPBlockReader& Reader() const { return reader_; }
  /// The number of frames so far, the one at hand included.
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

/// Cuts the selected frames of a capture into ranges, by one short read for each block of the file.
/// A block that is no frame goes with the frame before it; the last selected frame ends the last
/// range. Where sizes stop fitting, the last range starts; its worker reports the damage.
class BlockRanges {
 public:
  /// Ranges have as many whole blocks as fit into `size` bytes, at least one, and end earlier where
  /// the selection does. Throws `Core::BasicException` when the file header cannot be read.
  BlockRanges(const std::shared_ptr<Core::DataReader>& reader, Ranges frames, uint64_t size);

  /// Gives the next range in the order of the file. False when nothing more is selected. Does not
  /// throw on damage.
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
