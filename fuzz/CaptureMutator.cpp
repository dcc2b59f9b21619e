#include "CaptureMutator.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "Data/Calls/CallTable.h"
#include "Data/DCAPFormat.h"

namespace {

template <typename T>
T Load(const uint8_t* from) {
  T value{};
  std::memcpy(&value, from, sizeof(value));
  return value;
}

template <typename T>
void Store(uint8_t* to, const T& value) {
  std::memcpy(to, &value, sizeof(value));
}

uint16_t AnyCall(std::minstd_rand& random) {
  const auto calls = Data::AllCalls(random() % 4 == 0 ? Data::Api::kEGL : Data::Api::kGLES);
  return static_cast<uint16_t>(calls[random() % calls.size()].id);
}

// Makes the sub-blocks from `at` to `end` follow one another without a gap.
void RepairSubBlocks(uint8_t* data, size_t at, size_t end, size_t headerSize,
                     std::minstd_rand& random) {
  while (end - at >= headerSize) {
    if (random() % 16 == 0) {
      Store<uint16_t>(data + at, static_cast<uint16_t>(random() % 7));
    }
    const size_t room = end - at - headerSize;
    uint32_t size = Load<uint32_t>(data + at + 2);
    if (size > room || room - size < headerSize) {
      size = static_cast<uint32_t>(room);
      Store(data + at + 2, size);
    }
    if (size >= 2 && Load<uint16_t>(data + at) == Data::kSubBlockFunctionCall &&
        random() % 8 == 0) {
      Store(data + at + headerSize, AnyCall(random));
    }
    at += headerSize + size;
  }
}

void Repair(uint8_t* data, size_t size, std::minstd_rand& random) {
  auto header = Load<Data::FileHeader>(data);
  header.fourCC = Data::kDCAPFourCC;
  header.fileSize = size;
  if (header.optionMask >> 13 > 2) {
    header.optionMask &= 0x5FFF;
  }
  const bool trailers = (header.optionMask & Data::kOptionNoTrailers) == 0;
  const size_t subHeader = (header.optionMask & Data::kOptionThreadIds) != 0 ? 10 : 6;
  const size_t trailer = trailers ? sizeof(Data::DCAPFrameTrailer) : 0;
  size_t at = sizeof(header);
  while (size - at >= sizeof(Data::BlockHeader) + sizeof(uint32_t) + trailer) {
    auto block = Load<Data::BlockHeader>(data + at);
    const size_t room = size - at - sizeof(block);
    if (block.type > 3) {
      block.type = Data::kBlockFrame;
    }
    if (block.size > room || block.size < sizeof(uint32_t) + trailer) {
      block.size = static_cast<uint32_t>(room);
    }
    Store(data + at, block);
    at += sizeof(block);
    RepairSubBlocks(data, at + sizeof(uint32_t), at + block.size - trailer, subHeader, random);
    at += block.size;
    if (trailers) {
      Store(data + at - trailer, Data::DCAPFrameTrailer);
    }
  }
  Store(data, header);
}

}  // namespace

size_t MutateCapture(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
  std::minstd_rand random(seed + 1);
  size = LLVMFuzzerMutate(data, size, maxSize);
  if (size >= sizeof(Data::FileHeader) && random() % 4 != 0) {
    Repair(data, size, random);
  }
  return size;
}
