// Decompression of anything, and of what the compressors made of it.
#include <cstring>
#include <vector>

#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

#include "PrintedEvents.h"

namespace {

void Check(Util::Compressor& compressor, const uint8_t* data, unsigned int size,
           unsigned int room) {
  std::vector<uint8_t> output(room);
  unsigned int produced = room;
  if (compressor.Decompress(data, size, output.data(), &produced) &&
      (produced > room || produced > compressor.MaxDecompressedSize(size))) {
    __builtin_trap();
  }

  std::vector<uint8_t> packed(compressor.CompressBound(size));
  auto packedSize = static_cast<unsigned int>(packed.size());
  if (!compressor.Compress(data, size, packed.data(), &packedSize)) {
    __builtin_trap();
  }
  output.assign(size, 0);
  produced = size;
  if (!compressor.Decompress(packed.data(), packedSize, output.data(), &produced) ||
      produced != size || (size != 0 && std::memcmp(output.data(), data, size) != 0)) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) {
    return 0;
  }
  using Quality = Util::Compressor::CompressorQuality;
  const auto quality = static_cast<Quality>(data[0] % 3);
  const unsigned int room = data[1] * 257u;
  const auto payloadSize = static_cast<unsigned int>(size - 2);
  Util::LZ4Compressor lz4(quality, 1);
  Util::LZ77Compressor lz77(quality, 1, 32768);
  Check(lz4, data + 2, payloadSize, room);
  Check(lz77, data + 2, payloadSize, room);
  return 0;
}
