// What the library allocates at most on the word of a file alone.
#ifndef DCAPKIT_DATA_LIMITS_H
#define DCAPKIT_DATA_LIMITS_H

#include <cstdint>
#include <new>

namespace Data {

/// Largest sum of bytes, per decoded block, in buffers whose size a file merely claims: contents
/// that were not recorded, or that the payload is too short for. Contents that the payload holds
/// are not limited, their size is proven.
inline constexpr uint64_t kMaxUnbackedBytes = uint64_t{256} << 20;

/// Throws std::bad_alloc when `bytes` of claimed size are beyond `kMaxUnbackedBytes`.
inline void RequireUnbackedSize(uint64_t bytes) {
  if (bytes > kMaxUnbackedBytes) throw std::bad_alloc();
}

}  // namespace Data

#endif  // DCAPKIT_DATA_LIMITS_H
