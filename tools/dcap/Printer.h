// What the printers of all formats share: a buffer of lines and where full buffers go.
#ifndef DCAP_PRINTER_H
#define DCAP_PRINTER_H

#include <memory>

#include "Data/PointerData.h"

#include "Events.h"
#include "TextBuffer.h"

/// Receives finished lines. Borrowed by printers.
class LineSink {
 public:
  virtual ~LineSink() = default;
  virtual void Write(std::string_view lines) = 0;
};

/// Turns events into lines.
class Printer : public EventHandler {
 public:
  explicit Printer(LineSink* sink) : sink_(sink) {}

  /// Hands on what is still buffered.
  void Flush() {
    sink_->Write(out_.View());
    out_.Clear();
  }

 protected:
  /// Ends a line; many lines go to the sink at once.
  void EndLine() {
    out_.Char('\n');
    if (out_.Size() >= kFlushSize) {
      Flush();
    }
  }

  TextBuffer out_;

 private:
  static constexpr size_t kFlushSize = size_t{64} << 10;
  LineSink* sink_;
};

/// The printers of `dcap dump`, by the name of their format: "text", "canonical". Null for others.
std::unique_ptr<Printer> MakePrinter(std::string_view format, LineSink* sink);

// What a pointer holds, in one place for all formats.

inline bool HasAddress(const Data::PointerData& pointer) {
  return (pointer.flags & Data::PointerFlagAddress) != 0;
}

inline bool HasContent(const Data::PointerData& pointer) {
  return (pointer.flags & (Data::PointerKindMask | Data::PointerFlagValue)) != 0;
}

/// True when sizes alone are recorded.
inline bool ContentIsMissing(const Data::PointerData& pointer) {
  return (pointer.flags & (Data::PointerFlagNoContent | Data::PointerFlagSizeOnly)) != 0 ||
         pointer.data == nullptr;
}

/// The bytes of an array or of a single value.
inline std::span<const uint8_t> ArrayBytes(const Data::PointerData& pointer) {
  return {pointer.arrayData, pointer.arrayData == nullptr
                                 ? 0
                                 : static_cast<size_t>(pointer.count) * pointer.elementSize};
}

#endif  // DCAP_PRINTER_H
