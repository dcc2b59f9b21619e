// Guards against a `DataReader` that does not keep its promises. Private to the library.
#ifndef DCAPKIT_CORE_DETAIL_READING_H
#define DCAPKIT_CORE_DETAIL_READING_H

#include <cstdint>

#include "Core/DataReader.h"

namespace Core {

/// Reads up to `size` bytes and returns how many. Returns 0 for a count beyond `size`, such as the
/// -1 of a wrapper around read(2).
inline unsigned long ReadUpTo(DataReader* reader, void* buffer, unsigned long size) {
  const unsigned long count = reader->Read(buffer, size);
  return count > size ? 0 : count;
}

/// Leaves out the next `count` bytes. Reads and drops them where the reader cannot seek.
void LeaveOut(DataReader* reader, uint64_t count);

/// Leaves out the rest of the stream, likewise.
void LeaveOutRest(DataReader* reader);

}  // namespace Core

#endif  // DCAPKIT_CORE_DETAIL_READING_H
