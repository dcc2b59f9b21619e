// The bounded copy beneath every read of a recorded payload.
#ifndef DCAPKIT_DATA_BOUNDEDREAD_H
#define DCAPKIT_DATA_BOUNDEDREAD_H

#include <cstdint>
#include <cstring>

#include "Core/Export.h"

namespace Data {

/// Copies `count` bytes, however many; the ranges must not overlap.
DCAPKIT_API void CopyContent(void* to, const void* from, uint32_t count);

/// Copies `width` bytes at `offset` of a payload of `size` bytes to `dest`, byte for byte, and
/// returns `width`. Returns 0 and leaves `dest` untouched when the payload does not hold the whole
/// value: silently when it starts at or beyond the end, after calling `onCut` when the payload ends
/// inside it.
///
/// Where `width` is a constant this is one comparison and one move, so it is always inlined.
[[gnu::always_inline]] inline uint32_t BoundedRead(const uint8_t* payload, uint32_t size,
                                                   uint32_t offset, uint32_t width, void* dest,
                                                   void (*onCut)()) {
  constexpr uint32_t kShort = 2048;
  if (uint64_t{offset} + width <= size) [[likely]] {
    if (width > kShort) {
      CopyContent(dest, payload + offset, width);
    } else if (width != 0) {
      std::memcpy(dest, payload + offset, width);
    }
    return width;
  }
  if (offset < size) onCut();
  return 0;
}

}  // namespace Data

#endif  // DCAPKIT_DATA_BOUNDEDREAD_H
