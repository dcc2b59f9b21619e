// A stream of any size that costs nothing.
#ifndef DCAPKIT_TESTS_SPARSEREADER_H
#define DCAPKIT_TESTS_SPARSEREADER_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "Core/DataReader.h"

/// Zeros, but for the pieces laid on them.
class SparseReader : public Core::DataReader {
 public:
  explicit SparseReader(uint64_t size) : size_(size) {}
  void Lay(uint64_t offset, std::vector<uint8_t> bytes) {
    pieces_.emplace_back(offset, std::move(bytes));
  }
  bool IsValid() const override { return true; }
  unsigned long Read(void* buffer, unsigned long size) override {
    size = std::min(size, position_ < size_ ? size_ - position_ : 0);
    auto* bytes = static_cast<uint8_t*>(buffer);
    std::fill_n(bytes, size, uint8_t{0});
    for (const auto& [offset, piece] : pieces_) {
      const uint64_t begin = std::max(offset, position_);
      const uint64_t end = std::min(offset + piece.size(), position_ + size);
      if (begin < end)
        std::memcpy(bytes + (begin - position_), &piece[begin - offset], end - begin);
    }
    position_ += size;
    bytesRead += size;
    return size;
  }
  uint64_t Size() const override { return size_; }
  bool AtEof() const override { return position_ >= size_; }
  int Seek(int origin, int64_t offset) override {
    const uint64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? position_ : size_;
    position_ = base + static_cast<uint64_t>(offset);
    return 0;
  }
  uint64_t Tell() const override { return position_; }

  uint64_t bytesRead = 0;

 private:
  uint64_t size_;
  uint64_t position_ = 0;
  std::vector<std::pair<uint64_t, std::vector<uint8_t>>> pieces_;
};

#endif  // DCAPKIT_TESTS_SPARSEREADER_H
