// What stays the same in the lines of calls, put together once: names, and values that have names.
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

/// Whether values of a type are shown as anything but decimal numbers.
inline bool HasNames(const Data::TypeDesc& type) {
  return type.format != Data::ValueFormat::kNumber && type.format != Data::ValueFormat::kObject;
}

/// How the text form shows names.
struct NameStyle {
  bool numeric = false;        ///< values that have names as numbers
  std::string_view callStart;  ///< what stands before the name of a call
  std::string_view callEnd;    ///< and behind it
};

/// The line of a call without its values: "glBindBuffer(target=", ", buffer=", ")\n".
class CallLine {
 public:
  /// What writing a value takes.
  enum class Form : uint8_t { kUnsigned, kSigned, kFloat, kUint64, kNamed, kOther };

  struct Part {
    PaddedText before;  ///< the text between the last value and this one
    Form form = Form::kOther;
    const Data::TypeDesc* type = nullptr;  ///< of the value; null at the end of the line
  };

  CallLine(const Data::CallDesc& call, const NameStyle& style);

  /// A part for each value, and one for the end of the line.
  [[nodiscard]] const Part* Parts() const { return parts_.data(); }
  /// Bytes that the line takes at most as long as no value takes more than `kValueRoom`.
  [[nodiscard]] size_t Room() const { return room_; }

  static constexpr size_t kValueRoom = 2 * PaddedText::kPadding;

 private:
  std::string text_;
  std::vector<Part> parts_;
  size_t room_;
};

/// The lines of calls met so far.
class CallLines {
 public:
  const CallLine& Of(const Data::CallDesc& call, const NameStyle& style) {
    const size_t index = static_cast<uint16_t>(call.id) - kFirstId;
    if (index >= lines_.size()) [[unlikely]] {
      lines_.resize(index + 1);
    }
    if (lines_[index] == nullptr) [[unlikely]] {
      lines_[index] = std::make_unique<CallLine>(call, style);
    }
    return *lines_[index];
  }

 private:
  static constexpr size_t kFirstId = 0x8000;  // of all calls

  std::vector<std::unique_ptr<CallLine>> lines_;  // by identifier
};

/// The texts of 32-bit values that may have names: enumerants, bits, booleans. Those met lately are
/// kept, which saves most searches of the tables.
class NamedValues {
 public:
  /// The name or names, or the number when there is none. A value of a signed type is given as the
  /// unsigned one with the same bits. Valid until the next use.
  PaddedText Of(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
    const auto types = reinterpret_cast<uintptr_t>(&type) / alignof(Data::TypeDesc);
    constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;  // spreads values that lie close together
    Entry& entry = entries_[(((types << 32) ^ value) * kGoldenRatio) >> (64 - kIndexBits)];
    if (entry.type != &type || entry.value != value || entry.api != api) [[unlikely]] {
      Find(api, type, value, &entry);
    }
    return {entry.text.data(), entry.size};
  }

 private:
  static constexpr int kIndexBits = 9;
  struct Entry {
    const Data::TypeDesc* type = nullptr;
    uint32_t value = 0;
    Data::Api api{};
    size_t size = 0;
    std::string text;  // and padding
  };

  static void Find(Data::Api api, const Data::TypeDesc& type, uint32_t value, Entry* entry);

  std::vector<Entry> entries_ = std::vector<Entry>(size_t{1} << kIndexBits);
};

#endif  // DCAP_CALLLINES_H
