// What stays the same in the line of a call, put together once.
#ifndef DCAP_CALLLINES_H
#define DCAP_CALLLINES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Data/CallTable.h"

#include "TextBuffer.h"

/// The line of a call without its values: "glBindBuffer(target=", ", buffer=", ")\n".
class CallLine {
 public:
  /// Names stand between `nameStart` and `nameEnd`.
  CallLine(const Data::CallDesc& call, std::string_view nameStart, std::string_view nameEnd);

  /// What stands before value `index`; behind the last one, what ends the line.
  [[nodiscard]] PaddedText Before(size_t index) const {
    return {text_.data() + starts_[index], starts_[index + 1] - starts_[index]};
  }

 private:
  std::string text_;
  std::vector<uint32_t> starts_;
};

/// The lines of calls met so far.
class CallLines {
 public:
  const CallLine& Of(const Data::CallDesc& call, std::string_view nameStart,
                     std::string_view nameEnd) {
    const size_t index = static_cast<uint16_t>(call.id) - kFirstId;
    if (index >= lines_.size()) [[unlikely]] {
      lines_.resize(index + 1);
    }
    if (lines_[index] == nullptr) [[unlikely]] {
      lines_[index] = std::make_unique<CallLine>(call, nameStart, nameEnd);
    }
    return *lines_[index];
  }

 private:
  static constexpr size_t kFirstId = 0x8000;  // of all calls

  std::vector<std::unique_ptr<CallLine>> lines_;  // by identifier
};

/// The names of enumerants met lately, which saves most searches of the tables.
class EnumNames {
 public:
  /// The name; empty when there is none.
  PaddedText Of(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
    Entry& entry = entries_[(value ^ reinterpret_cast<uintptr_t>(&type) / sizeof(type)) % kEntries];
    if (entry.type != &type || entry.value != value || entry.api != api) [[unlikely]] {
      Find(api, type, value, &entry);
    }
    return {entry.name.data(), entry.size};
  }

 private:
  static constexpr size_t kEntries = 256;
  struct Entry {
    const Data::TypeDesc* type = nullptr;
    uint32_t value = 0;
    Data::Api api{};
    size_t size = 0;
    std::string name;  // and padding
  };

  static void Find(Data::Api api, const Data::TypeDesc& type, uint32_t value, Entry* entry);

  std::vector<Entry> entries_ = std::vector<Entry>(kEntries);
};

#endif  // DCAP_CALLLINES_H
