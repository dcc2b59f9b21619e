// The receiver of block boundaries.
#ifndef DCAPKIT_DATA_BLOCKEVENTHANDLER_H
#define DCAPKIT_DATA_BLOCKEVENTHANDLER_H

#include <cstdint>

#include "Core/Export.h"

namespace Data {

/// Hears from a `DCAPDecodeConsumer` where the blocks of a capture begin and end, frames above all.
///
/// Override what is of interest; the defaults do nothing. The order of the operations is part of
/// the interface. `blockType` is a `BlockType` or, for a block that is skipped, any other value.
class DCAPKIT_API BlockEventHandler {
 public:
  virtual ~BlockEventHandler() = default;

  /// Before every block, skipped ones included.
  virtual void ProcessBlockStart(uint32_t /*blockType*/) {}

  /// After the last call and record of a block. A skipped block, and a frame cut short, have none.
  virtual void ProcessBlockEnd(uint32_t /*blockType*/) {}
};

}  // namespace Data

#endif  // DCAPKIT_DATA_BLOCKEVENTHANDLER_H
