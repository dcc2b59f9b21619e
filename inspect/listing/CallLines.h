// The lines of calls, put together from texts that are made once for each call and each value.
#ifndef DCAP_INSPECT_CALLLINES_H
#define DCAP_INSPECT_CALLLINES_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Data/Calls/CallTable.h"
#include "Data/Calls/GenericAdapter.h"

#include "inspect/listing/TextBuffer.h"

namespace Inspect {

/// True when values of a type may be shown as anything but decimal numbers.
inline bool HasNames(const Data::TypeDesc& type) {
  return type.format != Data::ValueFormat::kNumber && type.format != Data::ValueFormat::kObject;
}

/// The line of a call without its values: "glBindBuffer(target=", ", buffer=", ")\n".
class CallLine {
 public:
  /// The way in which a value is written.
  enum class Form : uint8_t { kUnsigned, kSigned, kFloat, kUint64, kNamed, kOther };

  struct Part {
    PaddedText before{};  ///< the text between the last value and this one
    Form form = Form::kOther;
    const Data::TypeDesc* type = nullptr;  ///< of the value; null at the end of the line
  };

  /// `texts` are the texts before each value of the call and the one after the last. With
  /// `numeric`, no value is `kNamed`.
  CallLine(const Data::CallDesc& call, std::span<const std::string> texts, bool numeric);

  /// A part for each value, and one for the end of the line.
  [[nodiscard]] const Part* Parts() const { return parts_.data(); }
  /// Bytes that are enough for the line while no value takes more than `kValueRoom`.
  [[nodiscard]] size_t Room() const { return room_; }

  static constexpr size_t kValueRoom = 2 * PaddedText::kPadding;

 private:
  std::string text_;
  std::vector<Part> parts_;
  size_t room_;
};

/// The `CallLine` of each call, made when it is first asked for.
class CallLines {
 public:
  /// Gives the texts that a `CallLine` is made of.
  using Texts = std::function<std::vector<std::string>(const Data::CallDesc&)>;

  CallLines(Texts texts, bool numeric) : texts_(std::move(texts)), numeric_(numeric) {}

  const CallLine& Of(const Data::CallDesc& call) {
    const size_t index = static_cast<uint16_t>(call.id) - kFirstId;
    if (index >= lines_.size() || lines_[index] == nullptr) [[unlikely]] {
      Add(index, call);
    }
    return *lines_[index];
  }

 private:
  static constexpr size_t kFirstId = 0x8000;  // the lowest identifier of a call

  void Add(size_t index, const Data::CallDesc& call);

  Texts texts_;
  bool numeric_;
  std::vector<std::unique_ptr<CallLine>> lines_;  // by identifier
};

/// The texts of 32-bit values that may have names: enumerants, bits, booleans. Keeps recent ones,
/// which saves most searches of the tables.
class NamedValues {
 public:
  /// Gives the text of a value. A signed value comes as the unsigned one with the same bits.
  using TextOf = std::string (*)(Data::Api, const Data::TypeDesc&, uint32_t value);

  explicit NamedValues(TextOf textOf) : textOf_(textOf) {}

  /// The text; valid until the next use.
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

  void Find(Data::Api api, const Data::TypeDesc& type, uint32_t value, Entry* entry) const;

  TextOf textOf_;
  std::vector<Entry> entries_ = std::vector<Entry>(size_t{1} << kIndexBits);
};

/// Writes the line of a call. `start(out)` writes its beginning, of up to `startRoom` bytes, and
/// returns the end; `floatTo(out, value)` does the same for a float, within `CallLine::kValueRoom`;
/// `other(type, value)` writes to the buffer any value that has no simpler form.
template <typename Start, typename FloatTo, typename Other>
void WriteLine(TextBuffer* buffer, size_t startRoom, Start start, const CallLine& line,
               Data::Api api, std::span<const Data::CallValue> values, NamedValues* named,
               FloatTo floatTo, Other other) {
  using Form = CallLine::Form;
  // Most lines are written from end to end without asking the buffer for room again: to ask costs
  // as much as a short value.
  char* out = start(buffer->Room(startRoom + line.Room()));
  const auto number = [&out](auto value) {
    out = std::to_chars(out, out + TextBuffer::kNumberRoom, value).ptr;
  };
  const CallLine::Part* part = line.Parts();
  for (const Data::CallValue& value : values) {
    out = part->before.CopyTo(out);
    Form form = part->form;
    PaddedText name{};
    if (form == Form::kNamed) {
      name = named->Of(api, *part->type, value.u32);
      if (name.size > PaddedText::kPadding) form = Form::kOther;
    }
    switch (form) {
      case Form::kUnsigned:
        number(value.u32);
        break;
      case Form::kSigned:
        number(value.i32);
        break;
      case Form::kFloat:
        out = floatTo(out, value.f32);
        break;
      case Form::kUint64:
        number(value.u64);
        break;
      case Form::kNamed:
        out = name.CopyTo(out);
        break;
      case Form::kOther:
        buffer->Commit(out);
        other(*part->type, value);
        out = buffer->Room(line.Room());
        break;
    }
    ++part;
  }
  buffer->Commit(part->before.CopyTo(out));
}

}  // namespace Inspect

#endif  // DCAP_INSPECT_CALLLINES_H
