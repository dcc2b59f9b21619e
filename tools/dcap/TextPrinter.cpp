#include "TextPrinter.h"

#include <algorithm>

#include "Checksum.h"

namespace {

// Elements of an array that are listed; of the others only the number.
constexpr uint32_t kListedElements = 16;

constexpr std::string_view kDim = "\033[2m";
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kPlain = "\033[0m";

const char* BooleanName(Data::Api api, uint32_t value) {
  if (value > 1) {
    return nullptr;
  }
  if (api == Data::Api::kEGL) {
    return value == 1 ? "EGL_TRUE" : "EGL_FALSE";
  }
  return value == 1 ? "GL_TRUE" : "GL_FALSE";
}

}  // namespace

void TextPrinter::FileStart(const Data::FileHeader& header) {
  Style(kDim);
  out_.Text("# DCAP ");
  out_.Number(unsigned{header.versionMajor});
  out_.Char('.');
  out_.Number(unsigned{header.versionMinor});
  out_.Text(", ");
  out_.Number(uint32_t{header.frameCount});
  out_.Text(" frames, ");
  out_.Number(uint64_t{header.fileSize});
  out_.Text(" bytes");
  Style(kPlain);
  out_.Char('\n');
}

void TextPrinter::Block(const EventContext& context, const Data::BlockHeader& header) {
  Style(kDim);
  if (context.setUp) {
    out_.Text("# set-up block ");
  } else {
    out_.Text("# frame ");
    out_.Number(context.frameOrdinal);
    out_.Text(", number ");
  }
  out_.Number(context.blockNumber);
  out_.Text(", ");
  out_.Number(uint32_t{header.size});
  out_.Text(" bytes");
  Style(kPlain);
  out_.Char('\n');
}

void TextPrinter::Call(const EventContext& context, const Data::CallDesc& call,
                       std::span<const Data::CallValue> values) {
  Line(context, calls_, call, values);
}

void TextPrinter::ClientData(const EventContext& context, const Data::CallDesc& operation,
                             std::span<const Data::CallValue> values) {
  Line(context, clientData_, operation, values);
}

void TextPrinter::Line(const EventContext& context, CallLines& lines, const Data::CallDesc& call,
                       std::span<const Data::CallValue> values) {
  LineStart(context);
  const CallLine& line = coloured_ ? lines.Of(call, kBold, kPlain) : lines.Of(call, "", "");
  for (size_t i = 0; i < values.size(); ++i) {
    out_.Padded(line.Before(i));
    Value(call.api, *call.values[i].type, values[i]);
  }
  out_.Padded(line.Before(values.size()));
}

void TextPrinter::Metadata(const EventContext& context, const MetaRecord& record) {
  LineStart(context);
  Name("meta.", record.name);
  out_.Char('(');
  const char* gap = "";
  for (const MetaField& field : record.fields) {
    out_.Text(gap);
    gap = ", ";
    out_.Text(field.name);
    out_.Char('=');
    Field(field);
  }
  out_.Char(')');
  out_.Char('\n');
}

void TextPrinter::LineStart(const EventContext& context) {
  Style(kDim);
  if (context.hasThread) {
    out_.Number(context.threadId);
  } else {
    out_.Char('-');
  }
  Style(kPlain);
  out_.Char(' ');
}

void TextPrinter::Name(std::string_view prefix, std::string_view name) {
  Style(kBold);
  out_.Text(prefix);
  out_.Text(name);
  Style(kPlain);
}

void TextPrinter::Value(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value) {
  switch (value.type) {
    case Data::ValueType::kInt32:
      if (type.format == Data::ValueFormat::kNumber || value.i32 < 0) {
        return out_.Number(value.i32);
      }
      return Unsigned(api, type, static_cast<uint32_t>(value.i32));
    case Data::ValueType::kFloat:
      return out_.Float(value.f32);
    case Data::ValueType::kUint64:
      return out_.Number(value.u64);
    case Data::ValueType::kPointer:
      return Pointer(api, type, *value.pointer);
    case Data::ValueType::kBytes:
      return Bytes({value.bytes, value.bytes != nullptr ? value.byteCount : 0});
    default:
      return Unsigned(api, type, value.u32);
  }
}

void TextPrinter::Unsigned(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  switch (numeric_ ? Data::ValueFormat::kNumber : type.format) {
    case Data::ValueFormat::kEnum:
      if (const PaddedText name = names_.Of(api, type, value); name.size != 0) {
        return out_.Padded(name);
      }
      break;
    case Data::ValueFormat::kBoolean:
      if (const char* name = BooleanName(api, value)) {
        return out_.Text(name);
      }
      return out_.Number(value);
    case Data::ValueFormat::kBits:
      return Bits(type, value);
    case Data::ValueFormat::kHex:
      break;
    default:
      return out_.Number(value);
  }
  if (IsPlainNumber(type, value)) {
    out_.Number(value);
  } else {
    out_.Text("0x");
    out_.Hex(value, 4);
  }
}

void TextPrinter::Bits(const Data::TypeDesc& type, uint32_t value) {
  const char* gap = "";
  const uint32_t rest = ForEachBitName(type, value, [&](const char* name) {
    out_.Text(gap);
    out_.Text(name);
    gap = "|";
  });
  if (rest != 0 || *gap == '\0') {
    out_.Text(gap);
    out_.Text(rest != 0 ? "0x" : "");
    out_.Hex(rest);
  }
}

void TextPrinter::Pointer(Data::Api api, const Data::TypeDesc& type,
                          const Data::PointerData& pointer) {
  if (HasAddress(pointer)) {
    out_.Text("0x");
    out_.Hex(pointer.pointerValue);
  }
  if (!HasContent(pointer)) {
    return out_.Text(HasAddress(pointer) ? "" : "NULL");
  }
  if (HasAddress(pointer)) {
    out_.Char(':');
  }
  const uint32_t kind = pointer.flags & Data::PointerKindMask;
  if (kind == Data::PointerKindStringArray) {
    return Strings(pointer);
  }
  if (ContentIsMissing(pointer)) {
    out_.Char('<');
    out_.Number(ContentSize(pointer));
    return out_.Text(" bytes, not recorded>");
  }
  if (kind == Data::PointerKindString) {
    return Quoted(pointer.stringData, pointer.count);
  }
  if (IsByteData(type, pointer)) {
    return Bytes(ArrayBytes(pointer));
  }
  Elements(api, type, pointer);
}

void TextPrinter::Elements(Data::Api api, const Data::TypeDesc& type,
                           const Data::PointerData& pointer) {
  if ((pointer.flags & Data::PointerKindMask) != Data::PointerKindArray) {
    out_.Char('&');
    return Element(api, type, pointer.arrayData);
  }
  out_.Char('[');
  const uint32_t listed = std::min(pointer.count, kListedElements);
  for (uint32_t i = 0; i < listed; ++i) {
    if (i != 0) {
      out_.Text(", ");
    }
    Element(api, type, pointer.arrayData + size_t{i} * pointer.elementSize);
  }
  if (listed < pointer.count) {
    out_.Text(", ... ");
    out_.Number(pointer.count - listed);
    out_.Text(" more");
  }
  out_.Char(']');
}

void TextPrinter::Element(Data::Api api, const Data::TypeDesc& type, const uint8_t* element) {
  switch (type.element) {
    case Data::ValueType::kFloat:
      return out_.Float(Load<float>(element));
    case Data::ValueType::kInt32:
      return Value(api, type, Load<int32_t>(element));
    case Data::ValueType::kUint32:
      return Unsigned(api, type, Load<uint32_t>(element));
    case Data::ValueType::kInt64: {
      const auto value = Load<int64_t>(element);
      return MayBeEnum(type, value) ? Unsigned(api, type, static_cast<uint32_t>(value))
                                    : out_.Number(value);
    }
    default:
      if (type.format == Data::ValueFormat::kHex) {
        out_.Text("0x");
        return out_.Hex(Load<uint64_t>(element));
      }
      return out_.Number(Load<uint64_t>(element));
  }
}

void TextPrinter::Strings(const Data::PointerData& pointer) {
  out_.Char('[');
  for (uint32_t i = 0; i < pointer.count; ++i) {
    if (i != 0) {
      out_.Text(", ");
    }
    if (pointer.strings[i] == nullptr) {
      out_.Text("NULL");
    } else if (pointer.IsClaimed(i)) {
      out_.Char('<');
      out_.Number(pointer.stringLengths[i]);
      out_.Text(" bytes, not recorded>");
    } else {
      Quoted(pointer.strings[i], pointer.stringLengths[i]);
    }
  }
  out_.Char(']');
}

void TextPrinter::Quoted(const char* text, size_t size) {
  out_.Char('"');
  for (size_t i = 0; i < size; ++i) {
    const char c = text[i];
    switch (c) {
      case '\n':
        out_.Text("\\n");
        break;
      case '\t':
        out_.Text("\\t");
        break;
      case '\r':
        out_.Text("\\r");
        break;
      case '"':
      case '\\':
        out_.Char('\\');
        out_.Char(c);
        break;
      default:
        // Other control characters and all bytes outside ASCII: a terminal must not act on them.
        if (c >= ' ' && c <= '~') {
          out_.Char(c);
        } else {
          out_.Text("\\x");
          out_.Hex(static_cast<uint8_t>(c), 2);
        }
    }
  }
  out_.Char('"');
}

void TextPrinter::Bytes(std::span<const uint8_t> bytes) {
  if (bytes.data() == nullptr) {
    return out_.Text("NULL");
  }
  out_.Char('<');
  out_.Number(bytes.size());
  out_.Text(" bytes, crc32 ");
  out_.Hex(Crc32(bytes), 8);
  out_.Char('>');
}

void TextPrinter::Field(const MetaField& field) {
  switch (field.kind) {
    case MetaField::kUnsigned:
      return out_.Number(field.number);
    case MetaField::kSigned:
      return out_.Number(static_cast<int64_t>(field.number));
    case MetaField::kText:
      return field.bytes.data() == nullptr
                 ? out_.Text("NULL")
                 : Quoted(reinterpret_cast<const char*>(field.bytes.data()), field.bytes.size());
    case MetaField::kBytes:
      return Bytes(field.bytes);
    case MetaField::kNumbers:
      out_.Char('[');
      for (size_t i = 0; i < field.bytes.size(); i += sizeof(uint32_t)) {
        out_.Text(i != 0 ? ", " : "");
        out_.Number(Load<uint32_t>(&field.bytes[i]));
      }
      return out_.Char(']');
    case MetaField::kEntries:
      out_.Char('[');
      for (uint64_t i = 0; i < field.number; ++i) {
        out_.Text(i != 0 ? ", {" : "{");
        const char* gap = "";
        for (const MetaField& part : field.entry(i)) {
          out_.Text(gap);
          gap = ", ";
          out_.Text(part.name);
          out_.Char('=');
          Field(part);
        }
        out_.Char('}');
      }
      return out_.Char(']');
  }
}
