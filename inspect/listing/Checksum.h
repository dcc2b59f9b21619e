// The checksum that listings show of byte data.
#ifndef DCAP_INSPECT_CHECKSUM_H
#define DCAP_INSPECT_CHECKSUM_H

#include <algorithm>
#include <cstdint>
#include <span>

#include <libdeflate.h>

namespace Inspect {

/// CRC-32 as gzip and zlib compute it.
inline uint32_t Crc32(std::span<const uint8_t> bytes) {
  return libdeflate_crc32(0, bytes.data(), bytes.size());
}

/// The CRC-32 of `count` zero bytes.
inline uint32_t Crc32OfZeros(uint64_t count) {
  static constexpr uint8_t kZeros[16384] = {};
  uint32_t crc = 0;
  for (uint64_t step = 0; count != 0; count -= step) {
    step = std::min<uint64_t>(count, sizeof(kZeros));
    crc = libdeflate_crc32(crc, kZeros, step);
  }
  return crc;
}

}  // namespace Inspect

#endif  // DCAP_INSPECT_CHECKSUM_H
