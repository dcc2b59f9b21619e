// The compressors of a capture. Private to the library.
#ifndef DCAPKIT_DATA_DETAIL_COMPRESSION_H
#define DCAPKIT_DATA_DETAIL_COMPRESSION_H

#include <cstdint>
#include <memory>
#include <string>

#include "Util/Compressor.h"

namespace Data {

/// Returns the compressor for a `CompressionType`; null for `kCompressionNone`. Throws
/// `Core::BasicException` with `failure` when `type` is no such type.
std::unique_ptr<Util::Compressor> MakeCompressor(uint32_t type,
                                                 Util::Compressor::CompressorQuality quality,
                                                 const std::string& failure);

/// Decompresses the payloads of a capture, one after the other, into a buffer that only grows.
class Inflater {
 public:
  /// Throws `DCAPFileProcessor::CompressionTypeFailMsg` for an unknown type of compression.
  explicit Inflater(uint32_t optionMask);

  /// False when all payloads of the capture are stored as they are.
  [[nodiscard]] bool IsNeeded() const { return compressor_ != nullptr; }

  /// Decompresses a payload and returns its `inflatedSize` bytes, which stay until the next one.
  /// Throws `DCAPFileProcessor::DecompressFailMsg`; a size that the payload cannot yield is not
  /// allocated.
  const unsigned char* Inflate(const unsigned char* payload, uint32_t size, uint32_t inflatedSize);

 private:
  std::unique_ptr<Util::Compressor> compressor_;
  std::unique_ptr<unsigned char[]> buffer_;
  uint32_t capacity_ = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DETAIL_COMPRESSION_H
