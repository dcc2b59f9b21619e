// The canonical form of a capture, one line an event; docs/canonical.md defines it.
#ifndef DCAP_INSPECT_CANONICALPRINTER_H
#define DCAP_INSPECT_CANONICALPRINTER_H

#include "inspect/listing/Printer.h"

namespace Inspect {

class CanonicalPrinter final : public Printer {
 public:
  using Printer::Printer;

  void FileStart(const Data::FileHeader& header) override;
  void Block(const EventContext& context, const Data::BlockHeader& header) override;
  void Call(const EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override;
  void ClientData(const EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override;
  void Metadata(const EventContext& context, const MetaRecord& record) override;

 private:
  void LineStart(const EventContext& context);
  void Value(const Data::CallValue& value);
  void Pointer(const Data::PointerData& pointer);
  void Strings(const Data::PointerData& pointer);
  void Field(const MetaField& field);
  void Bytes(std::span<const uint8_t> bytes);
  void Checksum(std::span<const uint8_t> bytes, bool claimed = false);
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_CANONICALPRINTER_H
