#include "inspect/listing/JsonLinesPrinter.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

#include <rapidjson/memorystream.h>

#include "inspect/events/CompressionName.h"
#include "inspect/events/PointerFacts.h"
#include "inspect/listing/Checksum.h"

namespace Inspect {

namespace {

std::string_view ApiName(Data::Api api) { return api == Data::Api::kEGL ? "EGL" : "GLES"; }

// Drops the output of the validator of encodings.
struct Nowhere {
  void Put(char /*c*/) {}
};

bool IsUtf8(std::string_view text) {
  Nowhere nowhere;
  rapidjson::MemoryStream stream(text.data(), text.size());
  bool valid = true;
  while (valid && stream.Tell() < text.size()) {
    valid = rapidjson::UTF8<>::Validate(stream, nowhere);
  }
  return valid;
}

void AppendHex(std::string* text, uint64_t value) {
  char digits[16];
  text->append(digits, std::to_chars(digits, std::end(digits), value, 16).ptr);
}

// The JSON of a 32-bit value that may have a name, several names, or be true or false.
std::string TextOf(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  const auto asSigned = static_cast<int32_t>(value);
  if (type.element == Data::ValueType::kInt32 && asSigned < 0) return std::to_string(asSigned);
  std::string names;
  switch (type.format) {
    case Data::ValueFormat::kEnum:
      if (const char* name = NameIfEnum(api, type, value)) names = name;
      break;
    case Data::ValueFormat::kBoolean:
      if (value <= 1) return value == 1 ? "true" : "false";
      break;
    case Data::ValueFormat::kBits: {
      const uint32_t rest = ForEachBitName(type, value, [&names](const char* name) {
        names += names.empty() ? "" : "|";
        names += name;
      });
      if (!names.empty() && rest != 0) {
        names += "|0x";
        AppendHex(&names, rest);
      }
      break;
    }
    default:
      break;
  }
  return names.empty() ? std::to_string(value) : '"' + names + '"';
}

// The texts between the values of a call, from the index on.
std::vector<std::string> TextsOf(const Data::CallDesc& call) {
  std::vector<std::string> texts(1);
  texts[0].append(R"(,"api":")").append(ApiName(call.api));
  texts[0].append(R"(","id":)").append(std::to_string(static_cast<uint16_t>(call.id)));
  texts[0].append(R"(,"name":")").append(call.name).append(R"(","args":{)");
  for (size_t i = 0; i < call.parameterCount; ++i) {
    if (i != 0) texts.emplace_back(",");
    texts.back().append("\"").append(call.values[i].name).append("\":");
  }
  if (call.parameterCount != 0) texts.emplace_back();
  texts.back() += '}';
  if (call.hasResult) {
    texts.back() += R"(,"result":)";
    texts.emplace_back();
  }
  texts.back() += "}\n";
  return texts;
}

std::string NotFinite(float value) {
  if (std::isinf(value)) return value > 0 ? R"("Infinity")" : R"("-Infinity")";
  constexpr uint32_t kUsualNaN = 0x7FC00000;
  const auto bits = std::bit_cast<uint32_t>(value);
  std::string text = "\"NaN";
  if (bits != kUsualNaN) {
    text += "(0x";
    AppendHex(&text, bits);
    text += ")";
  }
  return text + '"';
}

// Writes `TextBuffer::kNumberRoom` bytes at most.
char* FloatTo(char* out, float value) {
  if (!std::isfinite(value)) [[unlikely]] {
    const std::string text = NotFinite(value);
    return std::ranges::copy(text, out).out;
  }
  char* end = TextBuffer::FloatTo(out, value);
  // It must not look like an integer: readers would take it for one, and lose the sign of -0.
  const auto isDigit = [](char c) { return c == '-' || (c >= '0' && c <= '9'); };
  if (std::all_of(out, end, isDigit)) {
    *end++ = '.';
    *end++ = '0';
  }
  return end;
}

// More bytes than the beginning of a line takes.
constexpr size_t kLineStartRoom = 256;

std::string_view View(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

JsonLinesPrinter::JsonLinesPrinter(TextSink* sink, bool numeric)
    : Printer(sink),
      numeric_(numeric),
      stream_{&out_},
      writer_(&stream_),
      calls_(TextsOf, numeric),
      clientData_(TextsOf, numeric),
      named_(TextOf) {}

void JsonLinesPrinter::FileStart(const Data::FileHeader& header) {
  Begin("capture");
  scratch_ = std::to_string(header.versionMajor) + "." + std::to_string(header.versionMinor) + "." +
             std::to_string(header.versionLow);
  Member("version", scratch_);
  Member("options", header.optionMask);
  Member("compression", CompressionName(header.optionMask));
  writer_.Name("threads");
  writer_.Bool((header.optionMask & Data::kOptionThreadIds) != 0);
  writer_.Name("trailers");
  writer_.Bool((header.optionMask & Data::kOptionNoTrailers) == 0);
  scratch_.clear();
  for (const uint8_t byte : header.reserved) {
    scratch_ += "0123456789abcdef"[byte >> 4];
    scratch_ += "0123456789abcdef"[byte & 15];
  }
  Member("reserved", scratch_);
  Member("frames", header.frameCount);
  Member("bytes", header.fileSize);
  End();
}

void JsonLinesPrinter::Block(const EventContext& context, const Data::BlockHeader& header) {
  Begin("frame");
  Member("frame", context.frameOrdinal);
  if (context.setUp) {
    writer_.Name("setup");
    writer_.Bool(true);
  }
  Member("number", context.blockNumber);
  Member("bytes", header.size);
  End();
}

void JsonLinesPrinter::Call(const EventContext& context, const Data::CallDesc& call,
                            std::span<const Data::CallValue> values) {
  Line(&callStart_, context, &calls_, call, values);
  repeated_.End(out_);
}

bool JsonLinesPrinter::HandleUndecoded(const EventContext& context, Data::ApiCallType id,
                                       std::span<const unsigned char> payload) {
  const auto start = [&](char* out) { return callStart_.To(out, context); };
  return repeated_.Write(&out_, kLineStartRoom, start, id, payload);
}

void JsonLinesPrinter::ClientData(const EventContext& context, const Data::CallDesc& operation,
                                  std::span<const Data::CallValue> values) {
  Line(&clientDataStart_, context, &clientData_, operation, values);
}

void JsonLinesPrinter::Metadata(const EventContext& context, const MetaRecord& record) {
  Begin("metadata");
  Place(context);
  Member("name", record.name);
  writer_.Name("fields");
  Fields(record.fields);
  End();
}

// Lines and members ------------------------------------------------------------------------------

void JsonLinesPrinter::Begin(std::string_view type) {
  writer_.Reset(stream_);
  writer_.StartObject();
  Member("type", type);
}

void JsonLinesPrinter::End() {
  writer_.EndObject();
  out_.Char('\n');
}

void JsonLinesPrinter::Member(std::string_view name, uint64_t value) {
  writer_.Name(name);
  writer_.Decimal(value);
}

void JsonLinesPrinter::Member(std::string_view name, std::string_view text) {
  writer_.Name(name);
  writer_.Name(text);
}

void JsonLinesPrinter::Place(const EventContext& context) {
  Member("frame", context.frameOrdinal);
  if (context.hasThread) {
    Member("thread", context.threadId);
  }
  Member("index", context.callIndex);
}

void JsonLinesPrinter::LineStart::Change(const EventContext& context) {
  frame = context.frameOrdinal;
  thread = context.threadId;
  text = R"({"type":")";
  text.append(type).append(R"(","frame":)").append(std::to_string(frame));
  if (context.hasThread) text.append(R"(,"thread":)").append(std::to_string(thread));
  text += R"(,"index":)";
  size = text.size();
  text.append(PaddedText::kPadding, '\0');
}

void JsonLinesPrinter::Line(LineStart* start, const EventContext& context, CallLines* lines,
                            const Data::CallDesc& call, std::span<const Data::CallValue> values) {
  const auto startTo = [&](char* out) {
    out = start->To(out, context);
    repeated_.BeginLine(out_.PositionOf(out));
    return out;
  };
  WriteLine(&out_, kLineStartRoom, startTo, lines->Of(call), call.api, values, &named_, FloatTo,
            [&](const Data::TypeDesc& type, const Data::CallValue& value) {
              writer_.Reset(stream_);  // a value by itself, as the texts around it are written
              Value(call.api, type, value);
            });
}

// Values -----------------------------------------------------------------------------------------

void JsonLinesPrinter::Value(Data::Api api, const Data::TypeDesc& type,
                             const Data::CallValue& value) {
  switch (value.type) {
    case Data::ValueType::kInt32:
      return Integer(api, type, value.i32);
    case Data::ValueType::kFloat:
      return Float(value.f32);
    case Data::ValueType::kUint64:
      writer_.Decimal(value.u64);
      return;
    case Data::ValueType::kPointer:
      return Pointer(api, type, *value.pointer);
    case Data::ValueType::kBytes:
      return Bytes({value.bytes, value.bytes != nullptr ? value.byteCount : 0});
    default:
      return Integer(api, type, value.u32);
  }
}

// A 32-bit integer of either sign, by its name if it has one.
template <typename Integer32>
void JsonLinesPrinter::Integer(Data::Api api, const Data::TypeDesc& type, Integer32 value) {
  if (numeric_ || !HasNames(type)) {
    return writer_.Decimal(value);
  }
  const PaddedText name = named_.Of(api, type, static_cast<uint32_t>(value));
  writer_.Raw({name.text, name.size});
}

void JsonLinesPrinter::Float(float value) {
  char text[TextBuffer::kNumberRoom];
  writer_.Raw({text, static_cast<size_t>(FloatTo(text, value) - text)});
}

void JsonLinesPrinter::Pointer(Data::Api api, const Data::TypeDesc& type,
                               const Data::PointerData& pointer) {
  const bool hasContent = HasContent(pointer);
  if (!HasAddress(pointer)) {
    if (hasContent) {
      Content(api, type, pointer);
    } else {
      writer_.Null();
    }
    return;
  }
  writer_.StartObject();
  Address(pointer.pointerValue);
  if (hasContent) {
    writer_.Name("data");
    Content(api, type, pointer);
  }
  writer_.EndObject();
}

void JsonLinesPrinter::Address(uint64_t address) {
  scratch_ = "0x";
  AppendHex(&scratch_, address);
  Member("address", scratch_);
}

void JsonLinesPrinter::Content(Data::Api api, const Data::TypeDesc& type,
                               const Data::PointerData& pointer) {
  const uint32_t kind = pointer.flags & Data::PointerKindMask;
  if (kind == Data::PointerKindStringArray) {
    return Strings(pointer);
  }
  if (ContentIsMissing(pointer)) {
    return MissingBytes(ContentSize(pointer));
  }
  if (kind == Data::PointerKindString) {
    return String({pointer.stringData, pointer.count});
  }
  if (IsByteData(type, pointer)) {
    return Bytes(ArrayBytes(pointer));
  }
  if (kind != Data::PointerKindArray) {
    return Element(api, type, pointer.arrayData);
  }
  writer_.StartArray();
  for (size_t i = 0; i < pointer.count; ++i) {
    Element(api, type, pointer.arrayData + i * pointer.elementSize);
  }
  writer_.EndArray();
}

void JsonLinesPrinter::Element(Data::Api api, const Data::TypeDesc& type, const uint8_t* element) {
  switch (type.element) {
    case Data::ValueType::kFloat:
      return Float(Load<float>(element));
    case Data::ValueType::kInt32:
      return Integer(api, type, Load<int32_t>(element));
    case Data::ValueType::kUint32:
      return Integer(api, type, Load<uint32_t>(element));
    case Data::ValueType::kInt64: {
      const auto value = Load<int64_t>(element);
      if (MayBeEnum(type, value)) {
        return Integer(api, type, static_cast<uint32_t>(value));
      }
      writer_.Decimal(value);
      return;
    }
    default:
      writer_.Decimal(Load<uint64_t>(element));
  }
}

void JsonLinesPrinter::Strings(const Data::PointerData& pointer) {
  writer_.StartArray();
  for (uint32_t i = 0; i < pointer.count; ++i) {
    if (pointer.strings[i] == nullptr) {
      writer_.Null();
    } else if ((pointer.stringFlags[i] & Data::PointerFlagAddress) != 0) {
      writer_.StartObject();
      Address(pointer.stringPointerValues[i]);
      writer_.Name("data");
      StringEntry(pointer, i);
      writer_.EndObject();
    } else {
      StringEntry(pointer, i);
    }
  }
  writer_.EndArray();
}

void JsonLinesPrinter::StringEntry(const Data::PointerData& pointer, uint32_t index) {
  const uint32_t length = pointer.stringLengths[index];
  if (pointer.IsClaimed(index)) {
    MissingBytes(length);
  } else {
    String({pointer.strings[index], length});
  }
}

// JSON text is Unicode. In bytes that are no UTF-8, each stands for the character of its number.
void JsonLinesPrinter::String(std::string_view bytes) {
  const auto write = [this](std::string_view text) {
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  };
  if (IsUtf8(bytes)) {
    return write(bytes);
  }
  scratch_.clear();
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte >= 0x80) {
      scratch_ += static_cast<char>(0xC0 | (byte >> 6));
      scratch_ += static_cast<char>(0x80 | (byte & 0x3F));
    } else {
      scratch_ += c;
    }
  }
  writer_.StartObject();
  writer_.Name("latin1");
  write(scratch_);
  writer_.EndObject();
}

void JsonLinesPrinter::Bytes(std::span<const uint8_t> bytes) {
  if (bytes.data() == nullptr) {
    writer_.Null();
    return;
  }
  char crc[8];
  for (uint32_t rest = Crc32(bytes), i = 8; i-- > 0; rest >>= 4) {
    crc[i] = "0123456789abcdef"[rest & 15];
  }
  writer_.StartObject();
  Member("bytes", bytes.size());
  Member("crc32", std::string_view(crc, sizeof(crc)));
  writer_.EndObject();
}

void JsonLinesPrinter::MissingBytes(uint64_t size) {
  writer_.StartObject();
  Member("bytes", size);
  writer_.Name("content");
  writer_.Bool(false);
  writer_.EndObject();
}

// Metadata ---------------------------------------------------------------------------------------

void JsonLinesPrinter::Fields(std::span<const MetaField> fields) {
  writer_.StartObject();
  for (const MetaField& field : fields) {
    writer_.Name(field.name);
    Field(field);
  }
  writer_.EndObject();
}

void JsonLinesPrinter::Field(const MetaField& field) {
  switch (field.kind) {
    case MetaField::kUnsigned:
      writer_.Decimal(field.number);
      break;
    case MetaField::kSigned:
      writer_.Decimal(static_cast<int64_t>(field.number));
      break;
    case MetaField::kText:
      if (field.bytes.data() == nullptr) {
        writer_.Null();
      } else {
        String(View(field.bytes));
      }
      break;
    case MetaField::kBytes:
      Bytes(field.bytes);
      break;
    case MetaField::kNumbers:
      if (field.bytes.data() == nullptr) {
        writer_.Null();
        break;
      }
      writer_.StartArray();
      for (size_t i = 0; i < field.bytes.size(); i += sizeof(uint32_t)) {
        writer_.Decimal(Load<uint32_t>(&field.bytes[i]));
      }
      writer_.EndArray();
      break;
    case MetaField::kEntries:
      writer_.StartArray();
      for (uint64_t i = 0; i < field.number; ++i) {
        Fields(field.entry(i));
      }
      writer_.EndArray();
      break;
  }
}

}  // namespace Inspect
