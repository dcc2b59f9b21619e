// Caps the memory that the library allocates on the word of a file alone.
#ifndef DCAPKIT_DATA_LIMITS_H
#define DCAPKIT_DATA_LIMITS_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace Data {

/// Largest sum of bytes, per decoded block, in buffers that are written, or handed out as if they
/// were, although the payload does not back their size: arrays of unknown size, names and entries
/// of metadata, client memory. Contents that the payload holds are not limited, as it proves their
/// size; nor are sizes that a program asks for.
inline constexpr uint64_t kMaxUnbackedBytes = uint64_t{256} << 20;

/// The same for contents that are marked as merely claimed (`PointerData::IsClaimed`): they were
/// not recorded, or the payload is too short for them. They are zero and take no memory until they
/// are touched.
inline constexpr uint64_t kMaxClaimedBytes = uint64_t{4} << 30;

/// Throws std::bad_alloc when `bytes` are beyond `kMaxUnbackedBytes`.
inline void RequireUnbackedSize(uint64_t bytes) {
  if (bytes > kMaxUnbackedBytes) throw std::bad_alloc();
}

/// Throws std::bad_alloc when `bytes` are beyond `kMaxClaimedBytes`.
inline void RequireClaimedSize(uint64_t bytes) {
  if (bytes > kMaxClaimedBytes) throw std::bad_alloc();
}

/// Frees memory of std::calloc.
struct FreeMemory {
  void operator()(void* memory) const noexcept { std::free(memory); }
};
template <typename Element>
using ZeroedArray = std::unique_ptr<Element[], FreeMemory>;

/// Returns `count` elements of which all bytes are zero. A large array takes no memory, and hardly
/// any time, until it is written to: a file that claims much and holds little costs little. Throws
/// std::bad_alloc when memory is short.
template <typename Element>
ZeroedArray<Element> MakeZeroed(uint64_t count) {
  ZeroedArray<Element> array(static_cast<Element*>(std::calloc(count, sizeof(Element))));
  if (array == nullptr && count != 0) throw std::bad_alloc();
  return array;
}

}  // namespace Data

#endif  // DCAPKIT_DATA_LIMITS_H
