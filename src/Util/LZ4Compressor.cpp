#include "Util/LZ4Compressor.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include <lz4.h>
#include <lz4frame.h>
#include <lz4hc.h>

namespace Util {

namespace {

constexpr unsigned char kFrameMagic[4] = {0x04, 0x22, 0x4D, 0x18};
constexpr unsigned int kMaxAcceleration = 65537;  // what LZ4 itself cuts it down to

}  // namespace

class LZ4Compressor::FrameDecoder {
 public:
  FrameDecoder() {
    if (LZ4F_isError(LZ4F_createDecompressionContext(&context_, LZ4F_VERSION)) != 0) {
      throw std::bad_alloc();
    }
  }
  FrameDecoder(const FrameDecoder&) = delete;
  FrameDecoder& operator=(const FrameDecoder&) = delete;
  ~FrameDecoder() { LZ4F_freeDecompressionContext(context_); }

  bool Decode(const unsigned char* input, size_t inputSize, unsigned char* output,
              unsigned int* outputSize) {
    LZ4F_resetDecompressionContext(context_);
    LZ4F_decompressOptions_t options{};
    options.stableDst = 1;  // all output stays where it is, so no history is copied aside
    size_t consumed = 0;
    size_t produced = 0;
    while (true) {
      size_t inputStep = inputSize - consumed;
      size_t outputStep = *outputSize - produced;
      const size_t hint = LZ4F_decompress(context_, output + produced, &outputStep,
                                          input + consumed, &inputStep, &options);
      if (LZ4F_isError(hint) != 0) {
        return false;
      }
      consumed += inputStep;
      produced += outputStep;
      if (hint == 0) {
        break;
      }
      if (inputStep == 0 && outputStep == 0) {
        return false;  // the frame goes on, but the input or the capacity does not
      }
    }
    *outputSize = static_cast<unsigned int>(produced);
    return consumed == inputSize;
  }

 private:
  LZ4F_dctx* context_ = nullptr;
};

LZ4Compressor::LZ4Compressor(CompressorQuality quality, unsigned int acceleration)
    : quality_(quality),
      acceleration_(static_cast<int>(std::clamp(acceleration, 1u, kMaxAcceleration))) {
  if (quality_ == kFastest) {
    acceleration_ *= 8;
  }
}

LZ4Compressor::~LZ4Compressor() = default;

unsigned int LZ4Compressor::CompressBound(unsigned int inputSize) const {
  return inputSize > INT_MAX
             ? 0
             : static_cast<unsigned int>(LZ4_compressBound(static_cast<int>(inputSize)));
}

bool LZ4Compressor::Compress(const unsigned char* input, unsigned int inputSize,
                             unsigned char* output, unsigned int* outputSize) {
  if (inputSize > LZ4_MAX_INPUT_SIZE || *outputSize > INT_MAX) {
    return false;
  }
  // The high-compression way does not bear a null input, as an empty one may be.
  const char* source = inputSize == 0 ? "" : reinterpret_cast<const char*>(input);
  auto* destination = reinterpret_cast<char*>(output);
  const int size = static_cast<int>(inputSize);
  const int capacity = static_cast<int>(*outputSize);
  const int produced = quality_ == kSmallest
                           ? LZ4_compress_HC(source, destination, size, capacity, LZ4HC_CLEVEL_MAX)
                           : LZ4_compress_fast(source, destination, size, capacity, acceleration_);
  if (produced <= 0) {
    return false;
  }
  *outputSize = static_cast<unsigned int>(produced);
  return true;
}

bool LZ4Compressor::Decompress(const unsigned char* input, unsigned int inputSize,
                               unsigned char* output, unsigned int* outputSize) {
  if (inputSize > INT_MAX || *outputSize > INT_MAX) {
    return false;
  }
  if (inputSize >= sizeof(kFrameMagic) && std::memcmp(input, kFrameMagic, sizeof(kFrameMagic)) == 0)
      [[unlikely]] {
    if (!frameDecoder_) {
      frameDecoder_ = std::make_unique<FrameDecoder>();
    }
    return frameDecoder_->Decode(input, inputSize, output, outputSize);
  }
  const int produced =
      LZ4_decompress_safe(reinterpret_cast<const char*>(input), reinterpret_cast<char*>(output),
                          static_cast<int>(inputSize), static_cast<int>(*outputSize));
  if (produced < 0) {
    return false;
  }
  *outputSize = static_cast<unsigned int>(produced);
  return true;
}

uint64_t LZ4Compressor::MaxDecompressedSize(unsigned int inputSize) const {
  return uint64_t{255} * inputSize;
}

}  // namespace Util
