// The checksum under which byte data is listed.
#ifndef DCAP_CHECKSUM_H
#define DCAP_CHECKSUM_H

#include <cstdint>
#include <span>

#include <libdeflate.h>

/// CRC-32 as gzip and zlib compute it.
inline uint32_t Crc32(std::span<const uint8_t> bytes) {
  return libdeflate_crc32(0, bytes.data(), bytes.size());
}

#endif  // DCAP_CHECKSUM_H
