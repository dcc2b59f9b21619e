// Writes into memory.
#ifndef DCAPKIT_TESTS_MEMORYWRITER_H
#define DCAPKIT_TESTS_MEMORYWRITER_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "Core/DataWriter.h"

/// A `DataWriter` whose bytes can be looked at.
class MemoryWriter : public Core::DataWriter {
 public:
  bool IsValid() const override { return true; }
  uint64_t Write(const void* buffer, uint64_t size) override {
    const auto* first = static_cast<const uint8_t*>(buffer);
    bytes.insert(bytes.end(), first, first + size);
    return size;
  }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    if (offset + size > bytes.size()) bytes.resize(offset + size);
    std::memcpy(bytes.data() + offset, buffer, size);
    return size;
  }

  std::vector<uint8_t> bytes;
};

#endif  // DCAPKIT_TESTS_MEMORYWRITER_H
