// How the library uses a `DataReader` that need not keep its promises. Private to the library.
#ifndef DCAPKIT_CORE_DETAIL_READING_H
#define DCAPKIT_CORE_DETAIL_READING_H

#include <cstdint>

#include "Core/DataReader.h"

namespace Core {

/// Reads up to `size` bytes. A count beyond `size`, such as the -1 of a wrapper around read(2),
/// stands for a failure: 0 then.
inline unsigned long ReadUpTo(DataReader* reader, void* buffer, unsigned long size) {
  const unsigned long count = reader->Read(buffer, size);
  return count > size ? 0 : count;
}

/// Leaves out the next `count` bytes. Where the reader cannot seek, as on a pipe, it reads them.
void LeaveOut(DataReader* reader, uint64_t count);

/// Leaves out all that is left, likewise.
void LeaveOutRest(DataReader* reader);

}  // namespace Core

#endif  // DCAPKIT_CORE_DETAIL_READING_H
