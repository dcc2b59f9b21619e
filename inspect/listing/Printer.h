// What the printers of all formats share.
#ifndef DCAP_INSPECT_PRINTER_H
#define DCAP_INSPECT_PRINTER_H

#include <span>
#include <string_view>

#include "inspect/events/Events.h"
#include "inspect/listing/TextBuffer.h"
#include "inspect/listing/TextSink.h"

namespace Inspect {

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

// The names of values, in one place for all formats.

/// An integer that may be an enumerant is a plain number when it is small: a level, a count.
inline bool IsPlainNumber(const Data::TypeDesc& type, uint32_t value) {
  return type.element == Data::ValueType::kInt32 && value < 0x100;
}

/// The name of an enumerant; null when it has none or is a plain number.
inline const char* NameIfEnum(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
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

}  // namespace Inspect

#endif  // DCAP_INSPECT_PRINTER_H
