#include "Core/MemoryReader.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Core/Detail/CopyBytes.h"

namespace Core {

MemoryReader::MemoryReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

MemoryReader::MemoryReader(std::vector<uint8_t> bytes) : owned_(std::move(bytes)), bytes_(owned_) {}

MemoryReader::~MemoryReader() = default;

bool MemoryReader::IsValid() const { return valid_; }

void MemoryReader::Close() {
  bytes_ = {};
  position_ = 0;
  valid_ = false;
}

unsigned long MemoryReader::Read(void* buffer, unsigned long size) {
  if (position_ >= bytes_.size() || size == 0) {
    return 0;
  }
  const unsigned long count = std::min(size, bytes_.size() - position_);
  CopyBytes(buffer, bytes_.data() + position_, count);
  position_ += count;
  return count;
}

uint64_t MemoryReader::Size() const { return bytes_.size(); }

bool MemoryReader::AtEof() const { return position_ >= bytes_.size(); }

int MemoryReader::Seek(int origin, int64_t offset) {
  uint64_t base = 0;
  if (origin == SEEK_CUR) {
    base = position_;
  } else if (origin == SEEK_END) {
    base = bytes_.size();
  } else if (origin != SEEK_SET) {
    return -1;
  }
  int64_t target = 0;
  if (!valid_ || __builtin_add_overflow(base, offset, &target) || target < 0) {
    return -1;
  }
  position_ = static_cast<uint64_t>(target);
  return 0;
}

uint64_t MemoryReader::Tell() const { return position_; }

std::span<const unsigned char> MemoryReader::View(unsigned long atLeast, unsigned long atMost) {
  const uint64_t left = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
  if (left < atLeast) {
    return {};
  }
  const auto bytes = bytes_.subspan(bytes_.size() - left, std::min(left, atMost));
  position_ += bytes.size();
  return bytes;
}

}  // namespace Core
