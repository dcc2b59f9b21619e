// Abstract base of the compressors.
#ifndef DCAPKIT_UTIL_COMPRESSOR_H
#define DCAPKIT_UTIL_COMPRESSOR_H

#include <cstdint>

#include "Core/Export.h"

namespace Util {

/// Compresses and decompresses one unit of bytes at a time; every unit stands alone.
///
/// The order of the virtual operations is part of the interface; only `Decompress` is required.
/// Objects keep no state between units that a caller could see, but one object serves one thread at
/// a time.
class DCAPKIT_API Compressor {
 public:
  /// How hard `Compress` tries; decompression does not depend on it.
  enum CompressorQuality : int { kFastest = 0, kDefault = 1, kSmallest = 2 };

  virtual ~Compressor() = default;

  /// Largest size that `Compress` can make of `inputSize` bytes; 0 when the input is too large. The
  /// default is 0.
  [[nodiscard]] virtual unsigned int CompressBound(unsigned int inputSize) const {
    static_cast<void>(inputSize);
    return 0;
  }

  /// Compresses `inputSize` bytes. On entry `*outputSize` is the capacity of `output`, on success
  /// the bytes produced. False when they do not fit. The default compresses nothing.
  virtual bool Compress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                        unsigned int* outputSize) {
    static_cast<void>(input);
    static_cast<void>(inputSize);
    static_cast<void>(output);
    static_cast<void>(outputSize);
    return false;
  }

  /// Decompresses one unit of `inputSize` bytes. On entry `*outputSize` is the capacity of
  /// `output`, on success the bytes produced. False on any decoding error, whatever the input bytes
  /// are; `output` then holds unspecified bytes, and nothing beyond its capacity was written.
  virtual bool Decompress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                          unsigned int* outputSize) = 0;

  /// A bound on the bytes that `Decompress` can yield from any `inputSize` bytes. A caller checks a
  /// size that a file claims against it before allocating an output buffer. The default knows none.
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
