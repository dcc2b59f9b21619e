// A stream that can show its bytes without copying them.
#ifndef DCAPKIT_CORE_VIEWREADER_H
#define DCAPKIT_CORE_VIEWREADER_H

#include <span>

#include "Core/DataReader.h"
#include "Core/Export.h"

namespace Core {

/// Base of the library's readers, which show bytes where they lie, so that a walk over a capture
/// copies none. The library calls `View` only on objects of exactly its own classes. It reads
/// derived classes through `Read`, which they may override.
class DCAPKIT_API ViewReader : public DataReader {
 public:
  /// Returns the bytes at the current position, at least `atLeast`, which is not 0, and at most
  /// `atMost`, and advances past them. They stay in place until the next `Read`, `Seek` or `View`;
  /// `AtEof`, `Tell` and `Close` leave them alone. Returns an empty span and keeps the position
  /// when it cannot show so many at once: `Read` then tells whether the stream has them.
  virtual std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) = 0;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_VIEWREADER_H
