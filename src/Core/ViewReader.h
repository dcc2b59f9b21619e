// A stream that can show its bytes without copying them.
#ifndef DCAPKIT_CORE_VIEWREADER_H
#define DCAPKIT_CORE_VIEWREADER_H

#include <span>

#include "Core/DataReader.h"
#include "Core/Export.h"

namespace Core {

/// The base of the library's readers, in whose memory captures are walked without a copy. Derived
/// classes are read through `Read`, which they may override.
class DCAPKIT_API ViewReader : public DataReader {
 public:
  /// Shows the bytes at the current position, at least `atLeast`, which is not 0, and at most
  /// `atMost`, and advances past them. They stay where they are until the next `Read`, `Seek` or
  /// `View`; `AtEof`, `Tell` and `Close` leave them alone. Empty, with the position where it was,
  /// when so many cannot be shown at once: `Read` tells why.
  virtual std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) = 0;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_VIEWREADER_H
