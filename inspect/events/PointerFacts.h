// Facts about a recorded pointer, for listings, counts and extracted files alike.
#ifndef DCAP_INSPECT_POINTERFACTS_H
#define DCAP_INSPECT_POINTERFACTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "Data/Calls/CallTable.h"
#include "Data/PointerData.h"

namespace Inspect {

inline bool HasAddress(const Data::PointerData& pointer) {
  return (pointer.flags & Data::PointerFlagAddress) != 0;
}

inline bool HasContent(const Data::PointerData& pointer) {
  return (pointer.flags & (Data::PointerKindMask | Data::PointerFlagValue)) != 0;
}

/// True when the recorder left the content out and stored its size alone.
inline bool ContentIsUnrecorded(const Data::PointerData& pointer) {
  return pointer.data == nullptr || (pointer.flags & Data::PointerFlagNoContent) != 0;
}

/// True when the content is unrecorded, or the payload is too short for it.
inline bool ContentIsMissing(const Data::PointerData& pointer) {
  return ContentIsUnrecorded(pointer) || pointer.IsClaimed();
}

/// The recorded size of an array, a single value or a string, in bytes.
inline uint64_t ContentSize(const Data::PointerData& pointer) {
  return uint64_t{pointer.count} * pointer.elementSize;
}

/// The bytes of an array or of a single value. Borrowed from `pointer`.
inline std::span<const uint8_t> ArrayBytes(const Data::PointerData& pointer) {
  return {pointer.arrayData, pointer.arrayData == nullptr
                                 ? 0
                                 : static_cast<size_t>(pointer.count) * pointer.elementSize};
}

/// True when an array or a single value is a run of bytes, not of elements of `type`: listings show
/// a checksum of it.
inline bool IsByteData(const Data::TypeDesc& type, const Data::PointerData& pointer) {
  return pointer.elementSize <= 1 || pointer.elementSize != type.elementSize;
}

/// Reads an element, which may lie at any address.
template <typename T>
T Load(const uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

}  // namespace Inspect

#endif  // DCAP_INSPECT_POINTERFACTS_H
