// JSON Lines, one object an event; docs/jsonl.md defines them.
#ifndef DCAP_JSONLINESPRINTER_H
#define DCAP_JSONLINESPRINTER_H

#include <algorithm>
#include <charconv>
#include <string>

#include <rapidjson/writer.h>

#include "JsonStream.h"
#include "Printer.h"

class JsonLinesPrinter final : public Printer {
 public:
  /// Values that have names are written as numbers when `numeric`.
  JsonLinesPrinter(TextSink* sink, bool numeric)
      : Printer(sink), numeric_(numeric), stream_{&out_}, writer_(&stream_) {}

  void FileStart(const Data::FileHeader& header) override;
  void Block(const EventContext& context, const Data::BlockHeader& header) override;
  void Call(const EventContext& context, const Data::CallDesc& call,
            std::span<const Data::CallValue> values) override;
  void ClientData(const EventContext& context, const Data::CallDesc& operation,
                  std::span<const Data::CallValue> values) override;
  void Metadata(const EventContext& context, const MetaRecord& record) override;

 private:
  // RapidJSON's writer, with a faster way for what needs no escapes.
  class Writer : public rapidjson::Writer<JsonStream> {
   public:
    explicit Writer(JsonStream* stream) : rapidjson::Writer<JsonStream>(*stream) {}
    // A key, or a string.
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
    // Never looks like an integer: readers would take it for one, and lose the sign of -0.
    void Float(float value) {
      char text[32];
      char* end = std::to_chars(text, text + 24, value).ptr;
      const auto isDigit = [](char c) { return c == '-' || (c >= '0' && c <= '9'); };
      if (std::all_of(text, end, isDigit)) {
        *end++ = '.';
        *end++ = '0';
      }
      Prefix(rapidjson::kNumberType);
      os_->out->Text({text, static_cast<size_t>(end - text)});
    }
  };

  void Begin(std::string_view type);
  void End();
  void Member(std::string_view name, uint64_t value);
  void Member(std::string_view name, std::string_view text);

  void Place(const EventContext& context);
  void CallLine(std::string_view type, const EventContext& context, const Data::CallDesc& call,
                std::span<const Data::CallValue> values);
  void Value(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value);
  void Signed(Data::Api api, const Data::TypeDesc& type, int32_t value);
  void Unsigned(Data::Api api, const Data::TypeDesc& type, uint32_t value);
  void Bits(const Data::TypeDesc& type, uint32_t value);
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
};

#endif  // DCAP_JSONLINESPRINTER_H
