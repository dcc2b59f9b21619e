#include "Uploads.h"

#include "Data/ApiCallType.h"
#include "Data/PointerData.h"

#include "support/PayloadBuilder.h"

namespace {

std::vector<uint8_t> TextureBytes(size_t count, uint32_t seed) {
  std::vector<uint8_t> bytes(count);
  uint32_t noise = seed * 2 + 1;
  for (size_t i = 0; i < count; ++i) {
    noise = noise * 1664525 + 1013904223;
    const size_t pixel = i / 4;
    const size_t x = pixel % 256;
    const size_t y = pixel / 256;
    const bool noisy = noise >> 27 == 0;
    bytes[i] = static_cast<uint8_t>(i % 4 == 3 ? 255 : x / 8 + y / 4 + i % 4 * 40 + noisy);
  }
  return bytes;
}

}  // namespace

std::vector<RecordedCall> Uploads(uint32_t size) {
  std::vector<RecordedCall> calls;
  for (uint32_t i = 0; i * size < 4u << 20; ++i) {
    const std::vector<uint8_t> texture = TextureBytes(size, i);
    Bytes payload;
    payload.U32(0x8892).U32(0).U32(size).U32(Data::PointerKindArray).U32(size);
    const uint8_t* head = payload.Data();
    calls.push_back({1,
                     static_cast<uint16_t>(Data::ApiCallType::glBufferSubData),
                     {head, head + payload.Size()}});
    calls.back().payload.insert(calls.back().payload.end(), texture.begin(), texture.end());
  }
  return calls;
}
