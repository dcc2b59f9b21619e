// Abstract base of the compressors.
#ifndef DCAPKIT_UTIL_COMPRESSOR_H
#define DCAPKIT_UTIL_COMPRESSOR_H

#include <cstdint>

#include "Core/Export.h"

namespace Util {

/// Compresses and decompresses one unit of bytes at a time; every unit stands alone.
///
/// Override `Decompress`; the other operations have defaults. An object keeps no state between
/// units that a caller could see, and serves one thread at a time. The order of the virtual
/// operations is part of the interface.
class DCAPKIT_API Compressor {
 public:
  /// How hard `Compress` tries; decompression does not depend on it.
  enum CompressorQuality : int { kFastest = 0, kDefault = 1, kSmallest = 2 };

  virtual ~Compressor() = default;

  /// Returns the largest size that `Compress` can make of `inputSize` bytes, or 0 when the input is
  /// too large. The default returns 0.
  [[nodiscard]] virtual unsigned int CompressBound(unsigned int inputSize) const {
    static_cast<void>(inputSize);
    return 0;
  }

  /// Compresses `inputSize` bytes. On entry `*outputSize` is the capacity of `output`, on success
  /// the bytes produced. Returns false when they do not fit. The default compresses nothing.
  virtual bool Compress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                        unsigned int* outputSize) {
    static_cast<void>(input);
    static_cast<void>(inputSize);
    static_cast<void>(output);
    static_cast<void>(outputSize);
    return false;
  }

  /// Decompresses one unit of `inputSize` bytes. On entry `*outputSize` is the capacity of
  /// `output`, on success the bytes produced. Returns false on any decoding error, whatever the
  /// input bytes are; `output` then holds unspecified bytes, and nothing beyond its capacity was
  /// written.
  virtual bool Decompress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                          unsigned int* outputSize) = 0;

  /// Returns a bound on the bytes that `Decompress` can yield from any `inputSize` bytes. A caller
  /// checks a size that a file claims against it before allocating an output buffer. The default
  /// knows no bound and returns UINT64_MAX.
  [[nodiscard]] virtual uint64_t MaxDecompressedSize(unsigned int inputSize) const {
    static_cast<void>(inputSize);
    return UINT64_MAX;
  }

 protected:
  Compressor() = default;
  Compressor(const Compressor&) = default;
  Compressor& operator=(const Compressor&) = default;
};

}  // namespace Util

#endif  // DCAPKIT_UTIL_COMPRESSOR_H
