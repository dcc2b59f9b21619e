// LZ77 compression in a byte-oriented format of its own.
#ifndef DCAPKIT_UTIL_LZ77COMPRESSOR_H
#define DCAPKIT_UTIL_LZ77COMPRESSOR_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Util/Compressor.h"

namespace Util {

/// A `Compressor` for LZ77 units; docs/format.md describes their bytes.
///
/// The format suits recorded call payloads: repeats from 3 bytes on, short distances (vertex
/// strides) in one byte, and a decoder that only copies bytes. Compression time grows linearly with
/// the input, whatever it holds.
class DCAPKIT_API LZ77Compressor : public Compressor {
 public:
  /// The largest window, and the one of DCAP files.
  static constexpr unsigned int kMaxWindow = 32768;

  /// `effort` multiplies the number of earlier places that `Compress` tries for each repeat (4, 16
  /// or 128 by `quality`; at most 1024 in all); 0 counts as 1.
  ///
  /// `window` is the largest distance of a repeat, cut to 1 to `kMaxWindow`. `Decompress` takes a
  /// larger distance for an error.
  LZ77Compressor(CompressorQuality quality, unsigned int effort, unsigned int window);
  LZ77Compressor(const LZ77Compressor&) = delete;
  LZ77Compressor& operator=(const LZ77Compressor&) = delete;
  ~LZ77Compressor() override;

  [[nodiscard]] unsigned int CompressBound(unsigned int inputSize) const override;
  bool Compress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                unsigned int* outputSize) override;
  bool Decompress(const unsigned char* input, unsigned int inputSize, unsigned char* output,
                  unsigned int* outputSize) override;

  /// Returns 255 times the input: a length grows by at most 255 for each byte that codes it.
  [[nodiscard]] uint64_t MaxDecompressedSize(unsigned int inputSize) const override;

 private:
  struct Match {
    size_t length = 0;
    size_t distance = 0;
    [[nodiscard]] size_t Gain() const;
  };

  DCAPKIT_HIDDEN void StartUnit(unsigned int inputSize);
  DCAPKIT_HIDDEN void IndexUpTo(const unsigned char* input, size_t position);
  DCAPKIT_HIDDEN Match FindMatch(const unsigned char* input, size_t size, size_t position);

  size_t depth_;
  size_t niceLength_;
  bool lazy_;
  size_t window_;

  // The position at which each hash of three bytes was last seen, and for each position of the
  // window how far before it its hash was seen last (0: never). The first Compress makes them.
  // Positions count on from unit to unit, so that the tables need no clearing between units.
  std::vector<uint32_t> last_;
  std::vector<uint16_t> back_;
  uint32_t unitStart_ = 1;
  uint32_t nextUnit_ = 1;
  size_t indexed_ = 0;  // positions of the unit that are in the tables
};

}  // namespace Util

#endif  // DCAPKIT_UTIL_LZ77COMPRESSOR_H
