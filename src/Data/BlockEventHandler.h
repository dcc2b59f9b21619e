// The receiver of block boundaries.
#ifndef DCAPKIT_DATA_BLOCKEVENTHANDLER_H
#define DCAPKIT_DATA_BLOCKEVENTHANDLER_H

#include <cstdint>

#include "Core/Export.h"

namespace Data {

/// Hears from a `DCAPDecodeConsumer` where the blocks of a capture begin and end, above all frames.
///
/// Override the operations of interest; the defaults do nothing. The order of the operations is
/// part of the interface. `blockType` is a `BlockType` or, for a block that is skipped, any other
/// value. The consumer borrows the handler.
class DCAPKIT_API BlockEventHandler {
 public:
  virtual ~BlockEventHandler() = default;

  /// Comes before every block, skipped ones included.
  virtual void ProcessBlockStart(uint32_t /*blockType*/) {}

  /// Comes after the last call and record of a block. Does not come for a skipped block, nor for a
  /// frame cut short.
  virtual void ProcessBlockEnd(uint32_t /*blockType*/) {}
};

}  // namespace Data

#endif  // DCAPKIT_DATA_BLOCKEVENTHANDLER_H
