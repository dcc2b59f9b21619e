// Lays payloads down byte by byte.
#ifndef DCAPKIT_TESTS_PAYLOADBUILDER_H
#define DCAPKIT_TESTS_PAYLOADBUILDER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <vector>

/// A growing byte string with a verb for everything that stands in a payload:
///
///     Bytes().U32(0x8B31).U32(7)              // two scalars
///     Bytes().U32(5).Array<float>({1, 2})     // a scalar and a pointer block
///
/// The bytes lie in an allocation of just their size, so that sanitizers see every byte read
/// beyond it.
class Bytes {
 public:
  Bytes& U8(uint8_t value) { return Put(&value, sizeof value); }
  Bytes& U16(uint16_t value) { return Put(&value, sizeof value); }
  Bytes& U32(uint32_t value) { return Put(&value, sizeof value); }
  Bytes& I32(int32_t value) { return Put(&value, sizeof value); }
  Bytes& U64(uint64_t value) { return Put(&value, sizeof value); }
  Bytes& F32(float value) { return Put(&value, sizeof value); }
  Bytes& U32s(std::initializer_list<uint32_t> values) { return PutAll(values); }
  Bytes& Raw(std::initializer_list<uint8_t> bytes) { return PutAll(bytes); }
  Bytes& Text(std::string_view text) { return Put(text.data(), text.size()); }
  Bytes& Fill(size_t count, uint8_t value = 0) {
    bytes_.insert(bytes_.end(), count, value);
    return *this;
  }
  Bytes& Append(const Bytes& other) { return Put(other.bytes_.data(), other.bytes_.size()); }

  /// Drops the last `count` bytes.
  Bytes& Cut(size_t count) {
    bytes_.resize(bytes_.size() - count);
    return *this;
  }

  // Pointer blocks: null, an address alone, one value, an array, a string, an array of strings.
  // An address other than 0 is recorded as well.
  Bytes& Null() { return U32(0); }
  Bytes& Address(uint64_t address) { return Begin(0, address); }
  template <typename T>
  Bytes& Value(const T& value, uint64_t address = 0) {
    return Begin(0x1, address).Put(&value, sizeof value);
  }
  template <typename T>
  Bytes& Array(std::initializer_list<T> values, uint64_t address = 0) {
    return Begin(0x2, address).U32(static_cast<uint32_t>(values.size())).PutAll(values);
  }
  Bytes& String(std::string_view text, uint64_t address = 0) {
    return Begin(0x4, address).U32(static_cast<uint32_t>(text.size())).Text(text);
  }
  Bytes& Strings(std::initializer_list<std::string_view> texts, uint64_t address = 0) {
    Begin(0x6, address).U32(static_cast<uint32_t>(texts.size()));
    for (std::string_view text : texts) String(text);
    return *this;
  }
  /// Content that was not recorded: an array (kind 2) or string (kind 4) of which only the size is.
  Bytes& Unrecorded(uint32_t kind, uint32_t count, uint64_t address = 0) {
    return Begin(kind | 0x10, address).U32(count);
  }

  /// The bytes; valid until the next verb.
  const uint8_t* Data() const {
    bytes_.shrink_to_fit();
    return bytes_.data();
  }
  uint32_t Size() const { return static_cast<uint32_t>(bytes_.size()); }

 private:
  Bytes& Put(const void* from, size_t count) {
    const size_t size = bytes_.size();
    bytes_.resize(size + count);
    if (count != 0) std::memcpy(bytes_.data() + size, from, count);
    return *this;
  }
  template <typename T>
  Bytes& PutAll(std::initializer_list<T> values) {
    return Put(values.begin(), values.size() * sizeof(T));
  }
  Bytes& Begin(uint32_t flags, uint64_t address) {
    U32(flags | (address != 0 ? 0x8u : 0u));
    return address != 0 ? U64(address) : *this;
  }

  mutable std::vector<uint8_t> bytes_;
};

#endif  // DCAPKIT_TESTS_PAYLOADBUILDER_H
