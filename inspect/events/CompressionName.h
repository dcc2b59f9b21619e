// The name of the compression of a capture.
#ifndef DCAP_INSPECT_COMPRESSIONNAME_H
#define DCAP_INSPECT_COMPRESSIONNAME_H

#include <cstdint>

#include "Data/DCAPFormat.h"

namespace Inspect {

/// "none", "lz4" or "lz77" by the option mask of a file header; "unknown" for other types.
inline const char* CompressionName(uint32_t optionMask) {
  switch ((optionMask & Data::kOptionCompressionMask) >> Data::kOptionCompressionShift) {
    case Data::kCompressionNone:
      return "none";
    case Data::kCompressionLZ4:
      return "lz4";
    case Data::kCompressionLZ77:
      return "lz77";
    default:
      return "unknown";
  }
}

}  // namespace Inspect

#endif  // DCAP_INSPECT_COMPRESSIONNAME_H
