#include "JsonLinesPrinter.h"

#include <bit>
#include <charconv>
#include <cmath>

#include <rapidjson/memorystream.h>

#include "Capture.h"
#include "Checksum.h"

namespace {

std::string_view ApiName(Data::Api api) { return api == Data::Api::kEGL ? "EGL" : "GLES"; }

// Where the validator of encodings writes to.
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

std::string_view View(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

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
  CallLine("call", context, call, values);
}

void JsonLinesPrinter::ClientData(const EventContext& context, const Data::CallDesc& operation,
                                  std::span<const Data::CallValue> values) {
  CallLine("client-data", context, operation, values);
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

void JsonLinesPrinter::CallLine(std::string_view type, const EventContext& context,
                                const Data::CallDesc& call,
                                std::span<const Data::CallValue> values) {
  Begin(type);
  Place(context);
  Member("api", ApiName(call.api));
  Member("id", static_cast<uint64_t>(call.id));
  Member("name", call.name);
  writer_.Name("args");
  writer_.StartObject();
  for (size_t i = 0; i < call.parameterCount; ++i) {
    writer_.Name(call.values[i].name);
    Value(call.api, *call.values[i].type, values[i]);
  }
  writer_.EndObject();
  if (call.hasResult) {
    writer_.Name("result");
    Value(call.api, *call.values[call.parameterCount].type, values[call.parameterCount]);
  }
  End();
}

// Values -----------------------------------------------------------------------------------------

void JsonLinesPrinter::Value(Data::Api api, const Data::TypeDesc& type,
                             const Data::CallValue& value) {
  switch (value.type) {
    case Data::ValueType::kInt32:
      return Signed(api, type, value.i32);
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
      return Unsigned(api, type, value.u32);
  }
}

void JsonLinesPrinter::Signed(Data::Api api, const Data::TypeDesc& type, int32_t value) {
  if (type.format == Data::ValueFormat::kNumber || value < 0) {
    writer_.Decimal(value);
  } else {
    Unsigned(api, type, static_cast<uint32_t>(value));
  }
}

void JsonLinesPrinter::Unsigned(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  if (!numeric_) {
    switch (type.format) {
      case Data::ValueFormat::kEnum:
        if (const char* name = EnumName(api, type, value)) {
          return writer_.Name(name);
        }
        break;
      case Data::ValueFormat::kBoolean:
        if (value <= 1) {
          writer_.Bool(value == 1);
          return;
        }
        break;
      case Data::ValueFormat::kBits:
        return Bits(type, value);
      default:
        break;
    }
  }
  writer_.Decimal(value);
}

void JsonLinesPrinter::Bits(const Data::TypeDesc& type, uint32_t value) {
  scratch_.clear();
  const uint32_t rest = ForEachBitName(type, value, [this](const char* name) {
    scratch_ += scratch_.empty() ? "" : "|";
    scratch_ += name;
  });
  if (scratch_.empty()) {
    writer_.Decimal(value);
    return;
  }
  if (rest != 0) {
    scratch_ += "|0x";
    AppendHex(&scratch_, rest);
  }
  writer_.Name(scratch_);
}

void JsonLinesPrinter::Float(float value) {
  if (std::isfinite(value)) [[likely]] {
    writer_.Float(value);
  } else if (std::isinf(value)) {
    writer_.Name(value > 0 ? "Infinity" : "-Infinity");
  } else {
    constexpr uint32_t kUsualNaN = 0x7FC00000;
    const auto bits = std::bit_cast<uint32_t>(value);
    scratch_ = "NaN";
    if (bits != kUsualNaN) {
      scratch_ += "(0x";
      AppendHex(&scratch_, bits);
      scratch_ += ")";
    }
    writer_.Name(scratch_);
  }
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
      return Signed(api, type, Load<int32_t>(element));
    case Data::ValueType::kUint32:
      return Unsigned(api, type, Load<uint32_t>(element));
    case Data::ValueType::kInt64: {
      const auto value = Load<int64_t>(element);
      if (MayBeEnum(type, value)) {
        return Unsigned(api, type, static_cast<uint32_t>(value));
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

// JSON text is Unicode. Other bytes are told as the characters of the same numbers.
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
