// What the printers of all formats share.
#ifndef DCAP_PRINTER_H
#define DCAP_PRINTER_H

#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "Data/PointerData.h"

#include "inspect/events/Events.h"
#include "inspect/listing/TextBuffer.h"

/// Turns events into lines of text.
class Printer : public EventHandler {
 public:
  /// Borrows `sink`.
  explicit Printer(TextSink* sink) : out_(sink) {}

  /// Hands on what is still buffered; to be called at the end.
  void Flush() { out_.Flush(); }

 protected:
  TextBuffer out_;
};

struct PrinterOptions {
  std::string format = "text";  ///< "text", "jsonl" or "canonical"
  bool numeric = false;         ///< numbers instead of names of enumerants and bits
  bool coloured = false;        ///< escape sequences of terminals in the text form
};

/// A printer of `dcap dump`. Null for an unknown format.
std::unique_ptr<Printer> MakePrinter(const PrinterOptions& options, TextSink* sink);

// What a pointer holds, in one place for all formats.

inline bool HasAddress(const Data::PointerData& pointer) {
  return (pointer.flags & Data::PointerFlagAddress) != 0;
}

inline bool HasContent(const Data::PointerData& pointer) {
  return (pointer.flags & (Data::PointerKindMask | Data::PointerFlagValue)) != 0;
}

/// True when sizes alone are recorded.
inline bool ContentIsUnrecorded(const Data::PointerData& pointer) {
  return pointer.data == nullptr || (pointer.flags & Data::PointerFlagNoContent) != 0;
}

/// True when sizes alone are recorded, or the payload is too short for the content.
inline bool ContentIsMissing(const Data::PointerData& pointer) {
  return ContentIsUnrecorded(pointer) || pointer.IsClaimed();
}

/// The size of an array, a single value or a string, as recorded.
inline uint64_t ContentSize(const Data::PointerData& pointer) {
  return uint64_t{pointer.count} * pointer.elementSize;
}

/// The bytes of an array or of a single value.
inline std::span<const uint8_t> ArrayBytes(const Data::PointerData& pointer) {
  return {pointer.arrayData, pointer.arrayData == nullptr
                                 ? 0
                                 : static_cast<size_t>(pointer.count) * pointer.elementSize};
}

/// Whether an array or single value is listed as a checksum of its bytes, not element by element.
inline bool IsByteData(const Data::TypeDesc& type, const Data::PointerData& pointer) {
  return pointer.elementSize <= 1 || pointer.elementSize != type.elementSize;
}

/// Elements lie at any address.
template <typename T>
T Load(const uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

// The names of values, in one place for all formats.

/// An integer that may be an enumerant is a plain number when it is small: a level, a count.
inline bool IsPlainNumber(const Data::TypeDesc& type, uint32_t value) {
  return type.element == Data::ValueType::kInt32 && value < 0x100;
}

/// The name of an enumerant; null when it has none or is a plain number.
inline const char* EnumName(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  return IsPlainNumber(type, value) ? nullptr : Data::EnumerantName(api, type, value);
}

/// Whether a 64-bit element of an array of enumerants may be one.
inline bool MayBeEnum(const Data::TypeDesc& type, int64_t value) {
  return type.format == Data::ValueFormat::kEnum && value >= 0x100 && value <= int64_t{UINT32_MAX};
}

/// Calls `handle` with the name of each bit that is set and named, or of all at once where they
/// have a name; returns the bits without one.
template <typename Handle>
uint32_t ForEachBitName(const Data::TypeDesc& type, uint32_t value, Handle handle) {
  // All bits at once may have a name of their own, which stands last.
  if (!type.names.empty() && type.names.back().value == value) {
    handle(type.names.back().name);
    return 0;
  }
  for (const Data::EnumName& bit : type.names) {
    if ((value & bit.value) == bit.value) {
      handle(bit.name);
      value &= ~bit.value;
    }
  }
  return value;
}

#endif  // DCAP_PRINTER_H
