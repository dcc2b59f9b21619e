// Reads the parameters of a call. Private to the library.
#ifndef DCAPKIT_DATA_PARAMETERS_H
#define DCAPKIT_DATA_PARAMETERS_H

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "Data/Decoder.h"
#include "Data/PointerData.h"

namespace Data {

/// The default of object names, locations and indices: it names nothing.
inline constexpr uint32_t kUnnamed = 0xFFFFFFFF;

/// A pointer parameter and the size of the elements that it points to.
struct Elements {
  PointerData* pointer;
  uint32_t elementSize;
};

template <typename Scalar>
uint32_t ExtractParameter(const uint8_t* data, uint32_t size, uint32_t offset, Scalar* scalar) {
  return Decoder::ExtractValue(data, size, offset, sizeof(Scalar), scalar);
}

inline uint32_t ExtractParameter(const uint8_t* data, uint32_t size, uint32_t offset,
                                 Elements elements) {
  return Decoder::ExtractPointerData(data, size, offset, elements.elementSize, elements.pointer);
}

template <typename... Parameters>
uint32_t ExtractEach(const uint8_t* data, uint32_t size, Parameters... parameters) {
  uint32_t offset = 0;
  ((offset += ExtractParameter(data, size, offset, parameters)), ...);
  return offset;
}

/// Reads a payload that is shorter than its scalars: rare, so kept out of the handlers.
template <typename... Scalars>
[[gnu::cold, gnu::noinline]] uint32_t ExtractShort(const uint8_t* data, uint32_t size,
                                                   Scalars*... scalars) {
  return ExtractEach(data, size, scalars...);
}

/// Reads the parameters of a call one after another, each where the one before it ended, and
/// returns the bytes consumed. Takes scalars by address, pointers as `Elements`. A value that the
/// payload does not hold keeps its default, and the next read starts where it would have stood.
template <typename... Parameters>
uint32_t ExtractParameters(const uint8_t* data, uint32_t size, Parameters... parameters) {
  if constexpr ((std::is_pointer_v<Parameters> && ...)) {
    // Scalars alone have a constant width: one comparison serves them all.
    constexpr uint32_t kWidth = (sizeof(std::remove_pointer_t<Parameters>) + ...);
    if (size < kWidth) [[unlikely]] {
      return ExtractShort(data, size, parameters...);
    }
    ((std::memcpy(parameters, data, sizeof(*parameters)), data += sizeof(*parameters)), ...);
    return kWidth;
  } else {
    return ExtractEach(data, size, parameters...);
  }
}

}  // namespace Data

#endif  // DCAPKIT_DATA_PARAMETERS_H
