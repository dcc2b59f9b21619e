// The text form, for people: one line an event, values by their names.
#ifndef DCAP_INSPECT_TEXTPRINTER_H
#define DCAP_INSPECT_TEXTPRINTER_H

#include "inspect/listing/CallLines.h"
#include "inspect/listing/Printer.h"
#include "inspect/listing/RepeatedCalls.h"

namespace Inspect {

class TextPrinter final : public Printer {
 public:
  /// With `numeric`, values that have names are written as numbers. With `coloured`, escape
  /// sequences of a terminal set names off.
  TextPrinter(TextSink* sink, bool numeric, bool coloured);

  void FileStart(const Data::FileHeader& header) override;
  void Block(const EventContext& context, const Data::BlockHeader& header) override;
  void Call(const EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override;
  bool HandleUndecoded(const EventContext& context, Data::ApiCallType id,
                       std::span<const unsigned char> payload) override;
  void ClientData(const EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override;
  void Metadata(const EventContext& context, const MetaRecord& record) override;

 private:
  void Line(const EventContext& context, CallLines& lines, const Data::CallDesc& call,
            std::span<const Data::CallValue> values);
  PaddedText LineStart(const EventContext& context);
  void ChangeThread(uint64_t thread);
  void Value(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value);
  template <typename Integer32>
  void Integer(Data::Api api, const Data::TypeDesc& type, Integer32 value);
  void Pointer(Data::Api api, const Data::TypeDesc& type, const Data::PointerData& pointer);
  void Elements(Data::Api api, const Data::TypeDesc& type, const Data::PointerData& pointer);
  void Element(Data::Api api, const Data::TypeDesc& type, const uint8_t* element);
  void Strings(const Data::PointerData& pointer);
  void Quoted(std::string_view text);
  void Bytes(std::span<const uint8_t> bytes);
  void Field(const MetaField& field);

  void Style(std::string_view sequence) {
    if (coloured_) {
      out_.Text(sequence);
    }
  }

  const bool numeric_;
  const bool coloured_;
  CallLines calls_;
  CallLines clientData_;  // its operations share identifiers with calls
  NamedValues named_;
  RepeatedCalls repeated_;
  std::string lineStart_;  // and padding
  size_t lineStartSize_ = 0;
  uint64_t lineStartThread_ = UINT64_MAX;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_TEXTPRINTER_H
