// LZ4 compression.
#ifndef DCAPKIT_UTIL_LZ4COMPRESSOR_H
#define DCAPKIT_UTIL_LZ4COMPRESSOR_H

#include <memory>

#include "Util/Compressor.h"

namespace Util {

/// A `Compressor` for LZ4 data.
///
/// `Compress` makes raw blocks. `Decompress` takes a raw block or, when the input begins with the
/// bytes 04 22 4D 18 (which no raw block can begin with), one LZ4 frame; a frame must end where the
/// input ends. Input and output sizes above INT_MAX fail.
class DCAPKIT_API LZ4Compressor : public Compressor {
 public:
  /// `acceleration`: 1 makes the smallest output; each step up is some percent faster and makes
  /// larger output; 0 counts as 1. `kFastest` multiplies it by 8. `kSmallest` ignores it and uses
  /// LZ4's slow high-compression mode.
  LZ4Compressor(CompressorQuality quality, unsigned int acceleration);
  LZ4Compressor(const LZ4Compressor&) = delete;
  LZ4Compressor& operator=(const LZ4Compressor&) = delete;
  ~LZ4Compressor() override;

  [[nodiscard]] unsigned int CompressBound(unsigned int inputSize) const override;
  bool Compress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                unsigned int* outputSize) override;
  bool Decompress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                  unsigned int* outputSize) override;

  /// Returns 255 times the input: a match grows by at most 255 bytes for each byte of its length,
  /// and a frame only adds headers to blocks.
  [[nodiscard]] uint64_t MaxDecompressedSize(unsigned int inputSize) const override;

 private:
  class FrameDecoder;

  CompressorQuality quality_;
  int acceleration_;
  std::unique_ptr<FrameDecoder> frameDecoder_;  // made when the first frame comes
};

}  // namespace Util

#endif  // DCAPKIT_UTIL_LZ4COMPRESSOR_H
