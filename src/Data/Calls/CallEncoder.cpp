#include "Data/Calls/CallEncoder.h"

#include <algorithm>

#include "Core/Exceptions.h"
#include "Data/PointerData.h"

namespace Data {

const std::string CallEncoder::PointerFailMsg =
    "Call encoding failed: A pointer does not hold what its flags and its parameter ask for.";
const std::string CallEncoder::PayloadTooLargeMsg =
    "Call encoding failed: The payload would be larger than 4 GiB.";

namespace {

uint64_t AddressSize(uint32_t flags) {
  return (flags & PointerFlagAddress) != 0 ? sizeof(uint64_t) : 0;
}

// Returns the bytes of `size` that are recorded; `content` must be there for them.
uint64_t Recorded(uint32_t flags, const void* content, uint64_t size) {
  if ((flags & PointerFlagNoContent) != 0) return 0;
  if (content == nullptr && size != 0) throw Core::BasicException(CallEncoder::PointerFailMsg);
  return size;
}

uint64_t ArraySize(const PointerData& array, uint32_t elementSize) {
  if (array.elementSize != elementSize) throw Core::BasicException(CallEncoder::PointerFailMsg);
  return Recorded(array.flags, array.arrayData, uint64_t{array.count} * elementSize);
}

// Visits the parts of a pointer block: `put(bytes, size)` measures or stores each. One place says
// which parts there are, so that size and content cannot differ.
template <typename Put>
void ForEachPart(const PointerData& pointer, uint32_t elementSize, Put put) {
  const uint32_t flags = pointer.flags;
  put(&flags, sizeof(flags));
  if (flags == 0) return;
  put(&pointer.pointerValue, AddressSize(flags));
  switch (flags & PointerKindMask) {
    case PointerKindStringArray:
      put(&pointer.count, sizeof(pointer.count));
      for (uint32_t i = 0; i < pointer.count; ++i) {
        const uint32_t entryFlags = pointer.stringFlags[i];
        put(&entryFlags, sizeof(entryFlags));
        if (entryFlags == 0) continue;
        put(&pointer.stringPointerValues[i], AddressSize(entryFlags));
        put(&pointer.stringLengths[i], sizeof(uint32_t));
        put(pointer.strings[i], Recorded(entryFlags, pointer.strings[i], pointer.stringLengths[i]));
      }
      break;
    case PointerKindString:
      put(&pointer.count, sizeof(pointer.count));
      put(pointer.stringData, Recorded(flags, pointer.stringData, pointer.count));
      break;
    case PointerKindArray:
      put(&pointer.count, sizeof(pointer.count));
      if ((flags & PointerFlagSizeOnly) == 0)
        put(pointer.arrayData, ArraySize(pointer, elementSize));
      break;
    default:
      if ((flags & PointerFlagValue) != 0) put(pointer.arrayData, ArraySize(pointer, elementSize));
  }
}

}  // namespace

uint64_t CallEncoder::EncodedSize(const Elements& elements) {
  uint64_t size = 0;
  ForEachPart(*elements.pointer, elements.elementSize,
              [&](const void* /*bytes*/, uint64_t count) { size += count; });
  return size;
}

uint8_t* CallEncoder::Store(uint8_t* out, const Elements& elements) {
  ForEachPart(*elements.pointer, elements.elementSize, [&](const void* bytes, uint64_t count) {
    if (count != 0) std::memcpy(out, bytes, count);
    out += count;
  });
  return out;
}

void CallEncoder::Buffer::Grow(uint64_t size) {
  const uint64_t capacity = std::max<uint64_t>(2 * capacity_, size_ + size);
  auto grown = std::make_unique_for_overwrite<uint8_t[]>(capacity);
  if (size_ != 0) std::memcpy(grown.get(), bytes_.get(), size_);
  bytes_ = std::move(grown);
  capacity_ = capacity;
}

void CallEncoder::FailTooLarge() { throw Core::BasicException(PayloadTooLargeMsg); }

}  // namespace Data
