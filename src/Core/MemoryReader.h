// Reads bytes in memory.
#ifndef DCAPKIT_CORE_MEMORYREADER_H
#define DCAPKIT_CORE_MEMORYREADER_H

#include <cstdint>
#include <span>
#include <vector>

#include "Core/ViewReader.h"

namespace Core {

/// A `DataReader` over bytes in memory. It is valid until it is closed, even without a byte.
///
/// Seeking past the end succeeds, as in a file: `Read` then returns nothing and `AtEof` is true.
class DCAPKIT_API MemoryReader : public ViewReader {
 public:
  /// Borrows `bytes`, which must outlive the reader and must not move.
  explicit MemoryReader(std::span<const uint8_t> bytes);

  /// Owns `bytes`: pass them with `std::move`, or pass a span to borrow from a vector.
  explicit MemoryReader(std::vector<uint8_t> bytes);

  MemoryReader(const MemoryReader&) = delete;
  MemoryReader& operator=(const MemoryReader&) = delete;
  ~MemoryReader() override;

  [[nodiscard]] bool IsValid() const override;
  void Close() override;
  unsigned long Read(void* buffer, unsigned long size) override;
  [[nodiscard]] uint64_t Size() const override;
  [[nodiscard]] bool AtEof() const override;
  int Seek(int origin, int64_t offset) override;
  [[nodiscard]] uint64_t Tell() const override;
  std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) override;

 protected:
  /// Replaces the bytes by the borrowed `bytes`. The position stays.
  void Show(std::span<const uint8_t> bytes) { bytes_ = bytes; }

 private:
  std::vector<uint8_t> owned_;
  std::span<const uint8_t> bytes_;
  uint64_t position_ = 0;
  bool valid_ = true;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_MEMORYREADER_H
