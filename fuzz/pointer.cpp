// Pointer blocks: decoded twice into one object, then resized.
#include <cstring>
#include <new>

#include "Data/PointerData.h"

#include "PrintedEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  if (size < 4) {
    return 0;
  }
  static constexpr uint32_t kElementSizes[] = {0, 1, 4, 8};
  const uint32_t elementSize = kElementSizes[data[0] % 4];
  const uint32_t offset = data[1];
  const uint32_t grown = data[2] * 1000u;
  const auto payloadSize = static_cast<uint32_t>(size - 3);
  Data::PointerData pointer;
  try {
    pointer.Decode(data + 3, payloadSize, 0, elementSize);
    const uint32_t consumed = pointer.Decode(data + 3, payloadSize, offset, elementSize);
    if (consumed > payloadSize) {
      __builtin_trap();
    }
    const uint32_t before = pointer.count;
    if (pointer.ResizeArray(grown) == Data::PointerData::kResized && grown > before &&
        pointer.arrayData != nullptr) {
      std::memset(pointer.arrayData, 0, size_t{pointer.count} * pointer.elementSize);
    }
    if (pointer.ResizeString(grown) == Data::PointerData::kResized &&
        pointer.stringData[pointer.count] != '\0') {
      __builtin_trap();
    }
  } catch (const std::bad_alloc&) {
    pointer.Clear();
  }
  static const Data::CallDesc& call = *Data::FindCall("glMapBufferRange");
  const Data::CallValue values[] = {uint32_t{0}, uint32_t{0}, uint32_t{0}, uint32_t{0}, &pointer};
  AllPrinters::Shared().Call({}, call, values);
  AllPrinters::Shared().Flush();
  return 0;
}
