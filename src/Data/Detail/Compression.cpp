#include "Data/Detail/Compression.h"

#include "Data/DCAPFileProcessor.h"
#include "Data/Detail/Format.h"
#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

namespace Data {

std::unique_ptr<Util::Compressor> MakeCompressor(uint32_t type,
                                                 Util::Compressor::CompressorQuality quality,
                                                 const std::string& failure) {
  switch (type) {
    case kCompressionNone:
      return nullptr;
    case kCompressionLZ4:
      return std::make_unique<Util::LZ4Compressor>(quality, 1);
    case kCompressionLZ77:
      return std::make_unique<Util::LZ77Compressor>(quality, 1, Util::LZ77Compressor::kMaxWindow);
    default:
      Fail(failure);
  }
}

Inflater::Inflater(uint32_t optionMask)
    : compressor_(MakeCompressor(CompressionOf(optionMask), Util::Compressor::kDefault,
                                 DCAPFileProcessor::CompressionTypeFailMsg)) {}

const unsigned char* Inflater::Inflate(const unsigned char* payload, uint32_t size,
                                       uint32_t inflatedSize) {
  const std::string& failure = DCAPFileProcessor::DecompressFailMsg;
  // Before any memory is made: the file alone says that size.
  if (inflatedSize > compressor_->MaxDecompressedSize(size)) Fail(failure);
  if (capacity_ < inflatedSize) {
    capacity_ = 0;  // stays true when there is no memory
    buffer_.reset();
    buffer_ = std::make_unique_for_overwrite<unsigned char[]>(inflatedSize);
    capacity_ = inflatedSize;
  }
  unsigned int produced = inflatedSize;
  if (!compressor_->Decompress(payload, size, buffer_.get(), &produced) ||
      produced != inflatedSize) {
    Fail(failure);
  }
  return buffer_.get();
}

}  // namespace Data
