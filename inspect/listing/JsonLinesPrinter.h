// JSON Lines, one object an event; docs/jsonl.md defines them.
#ifndef DCAP_INSPECT_JSONLINESPRINTER_H
#define DCAP_INSPECT_JSONLINESPRINTER_H

#include <charconv>
#include <string>

#include <rapidjson/writer.h>

#include "inspect/listing/CallLines.h"
#include "inspect/listing/JsonStream.h"
#include "inspect/listing/Printer.h"
#include "inspect/listing/RepeatedCalls.h"

namespace Inspect {

class JsonLinesPrinter final : public Printer {
 public:
  /// With `numeric`, values that have names are written as numbers.
  JsonLinesPrinter(TextSink* sink, bool numeric);

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
  // RapidJSON's writer, with faster ways for text that needs no escapes and for numbers.
  class Writer : public rapidjson::Writer<JsonStream> {
   public:
    explicit Writer(JsonStream* stream) : rapidjson::Writer<JsonStream>(*stream) {}
    // A key or a string without escapes.
    void Name(std::string_view text) {
      Prefix(rapidjson::kStringType);
      os_->out->Char('"');
      os_->out->Text(text);
      os_->out->Char('"');
    }
    template <typename Number>
    void Decimal(Number value) {
      Prefix(rapidjson::kNumberType);
      os_->out->Number(value);
    }
    // A value whose JSON is given.
    void Raw(std::string_view text) {
      Prefix(rapidjson::kNumberType);
      os_->out->Text(text);
    }
  };

  // The beginning of the lines of calls, up to the index within the frame.
  struct LineStart {
    char* To(char* out, const EventContext& context) {
      if (frame != context.frameOrdinal || thread != context.threadId) [[unlikely]] {
        Change(context);
      }
      out = PaddedText{text.data(), size}.CopyTo(out);
      return std::to_chars(out, out + TextBuffer::kNumberRoom, context.callIndex).ptr;
    }
    void Change(const EventContext& context);

    std::string_view type;
    uint64_t frame = UINT64_MAX;
    uint32_t thread = 0;
    std::string text = {};  // and padding
    size_t size = 0;
  };

  void Begin(std::string_view type);
  void End();
  void Member(std::string_view name, uint64_t value);
  void Member(std::string_view name, std::string_view text);

  void Place(const EventContext& context);
  void Line(LineStart* start, const EventContext& context, CallLines* lines,
            const Data::CallDesc& call, std::span<const Data::CallValue> values);
  void Value(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value);
  template <typename Integer32>
  void Integer(Data::Api api, const Data::TypeDesc& type, Integer32 value);
  void Float(float value);
  void Pointer(Data::Api api, const Data::TypeDesc& type, const Data::PointerData& pointer);
  void Address(uint64_t address);
  void Content(Data::Api api, const Data::TypeDesc& type, const Data::PointerData& pointer);
  void Element(Data::Api api, const Data::TypeDesc& type, const uint8_t* element);
  void Strings(const Data::PointerData& pointer);
  void StringEntry(const Data::PointerData& pointer, uint32_t index);
  void String(std::string_view bytes);
  void Bytes(std::span<const uint8_t> bytes);
  void MissingBytes(uint64_t size);
  void Fields(std::span<const MetaField> fields);
  void Field(const MetaField& field);

  const bool numeric_;
  JsonStream stream_;
  Writer writer_;
  std::string scratch_;
  LineStart callStart_{"call"};
  LineStart clientDataStart_{"client-data"};
  CallLines calls_;
  CallLines clientData_;  // its operations share identifiers with calls
  NamedValues named_;
  RepeatedCalls repeated_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_JSONLINESPRINTER_H
