// The base of the printers of all formats.
#ifndef DCAP_INSPECT_PRINTER_H
#define DCAP_INSPECT_PRINTER_H

#include <span>
#include <string_view>

#include "inspect/events/Events.h"
#include "inspect/listing/TextBuffer.h"
#include "inspect/listing/TextSink.h"

namespace Inspect {

/// Turns events into lines of text. Buffers them: call `Flush` at the end.
class Printer : public EventHandler {
 public:
  /// Borrows `sink`.
  explicit Printer(TextSink* sink) : out_(sink) {}

  /// Hands buffered text to the sink.
  void Flush() { out_.Flush(); }

 protected:
  TextBuffer out_;
};

// The names of values, for all formats.

/// True for a small value of a type that holds enumerants and numbers: it is a level, a count.
inline bool IsPlainNumber(const Data::TypeDesc& type, uint32_t value) {
  return type.element == Data::ValueType::kInt32 && value < 0x100;
}

/// The name of an enumerant; null when it has none or is a plain number.
inline const char* NameIfEnum(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  return IsPlainNumber(type, value) ? nullptr : Data::EnumerantName(api, type, value);
}

/// True when a 64-bit element of an array of enumerants may be one.
inline bool MayBeEnum(const Data::TypeDesc& type, int64_t value) {
  return type.format == Data::ValueFormat::kEnum && value >= 0x100 && value <= int64_t{UINT32_MAX};
}

/// Calls `handle` with the name of each bit that is set and has a name, or with the name of the
/// whole value if there is one. Returns the bits without a name.
template <typename Handle>
uint32_t ForEachBitName(const Data::TypeDesc& type, uint32_t value, Handle handle) {
  // The name of all bits together, if there is one, stands last.
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

}  // namespace Inspect

#endif  // DCAP_INSPECT_PRINTER_H
