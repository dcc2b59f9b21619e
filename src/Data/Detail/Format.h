// Sizes and loads for code that takes captures apart or writes them. Private to the library.
#ifndef DCAPKIT_DATA_DETAIL_FORMAT_H
#define DCAPKIT_DATA_DETAIL_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "Core/Exceptions.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Bytes of the decompressed size, which ends the description of a compressed call.
inline constexpr uint32_t kInflatedSizeSize = sizeof(uint32_t);
/// Bytes of the longest description, that of a compressed method call.
inline constexpr uint32_t kMaxDescSize = sizeof(MethodCallDesc) + kInflatedSizeSize;
inline constexpr uint32_t kTrailerSize = sizeof(DCAPFrameTrailer);
inline constexpr uint32_t kFrameNumberSize = sizeof(uint32_t);

constexpr bool HasThreadIds(uint32_t optionMask) { return (optionMask & kOptionThreadIds) != 0; }

constexpr bool HasTrailers(uint32_t optionMask) { return (optionMask & kOptionNoTrailers) == 0; }

/// Returns a `CompressionType`, or a number that is none.
constexpr uint32_t CompressionOf(uint32_t optionMask) {
  return (optionMask & kOptionCompressionMask) >> kOptionCompressionShift;
}

constexpr uint32_t SubBlockHeaderSize(bool hasThreadIds) {
  return sizeof(SubBlockHeader) - (hasThreadIds ? 0 : sizeof(SubBlockHeader::threadId));
}

/// Loads a value from any address.
template <typename T>
T Load(const unsigned char* bytes) {
  T value{};
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

/// Loads field by field: a load that spans two stores stalls.
inline SubBlockHeader LoadSubBlockHeader(const unsigned char* bytes, bool hasThreadIds) {
  return {Load<uint16_t>(bytes), Load<uint32_t>(bytes + offsetof(SubBlockHeader, size)),
          hasThreadIds ? Load<uint32_t>(bytes + offsetof(SubBlockHeader, threadId)) : uint32_t{0}};
}

[[noreturn, gnu::cold, gnu::noinline]] inline void Fail(const std::string& message) {
  throw Core::BasicException(message);
}

}  // namespace Data

#endif  // DCAPKIT_DATA_DETAIL_FORMAT_H
