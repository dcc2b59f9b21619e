#include "TextPrinter.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "Checksum.h"

namespace {

// Elements of an array that are listed; of the others only the number.
constexpr uint32_t kListedElements = 16;

// More than a thread and the sequences of a terminal around it take.
constexpr size_t kLineStartRoom = 2 * PaddedText::kPadding;

constexpr uint64_t kNoThread = UINT64_MAX - 1;

// Characters that stand for themselves between quotation marks.
constexpr std::array<bool, 256> kIsPlain = [] {
  std::array<bool, 256> isPlain{};
  for (size_t c = ' '; c <= '~'; ++c) {
    isPlain[c] = c != '"' && c != '\\';
  }
  return isPlain;
}();

constexpr std::string_view kDim = "\033[2m";
constexpr std::string_view kBold = "\033[1m";
constexpr std::string_view kPlain = "\033[0m";

}  // namespace

TextPrinter::TextPrinter(TextSink* sink, bool numeric, bool coloured)
    : Printer(sink),
      numeric_(numeric),
      coloured_(coloured),
      style_{numeric, coloured ? kBold : "", coloured ? kPlain : ""} {}

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

inline PaddedText TextPrinter::LineStart(const EventContext& context) {
  const uint64_t thread = context.hasThread ? context.threadId : kNoThread;
  if (lineStartThread_ != thread) [[unlikely]] {
    ChangeThread(thread);
  }
  return {lineStart_.data(), lineStartSize_};
}

[[gnu::noinline]] void TextPrinter::ChangeThread(uint64_t thread) {
  lineStartThread_ = thread;
  lineStart_ = coloured_ ? kDim : "";
  lineStart_ += thread != kNoThread ? std::to_string(thread) : "-";
  lineStart_ += coloured_ ? kPlain : "";
  lineStart_ += ' ';
  lineStartSize_ = lineStart_.size();
  lineStart_.append(PaddedText::kPadding, '\0');
}

void TextPrinter::Line(const EventContext& context, CallLines& lines, const Data::CallDesc& call,
                       std::span<const Data::CallValue> values) {
  using Form = CallLine::Form;
  const CallLine& line = lines.Of(call, style_);
  const PaddedText start = LineStart(context);
  // Most lines are written from end to end without a look at the buffer, which costs as much as
  // a short value.
  char* out = start.CopyTo(out_.Room(kLineStartRoom + line.Room()));
  const auto number = [&out](auto value) {
    out = std::to_chars(out, out + TextBuffer::kNumberRoom, value).ptr;
  };
  const CallLine::Part* part = line.Parts();
  for (const Data::CallValue& value : values) {
    out = part->before.CopyTo(out);
    Form form = part->form;
    PaddedText name{};
    if (form == Form::kNamed) {
      name = named_.Of(call.api, *part->type, value.u32);
      if (name.size > PaddedText::kPadding) form = Form::kOther;
    }
    switch (form) {
      case Form::kUnsigned:
        number(value.u32);
        break;
      case Form::kSigned:
        number(value.i32);
        break;
      case Form::kFloat:
        out = TextBuffer::FloatTo(out, value.f32);
        break;
      case Form::kUint64:
        number(value.u64);
        break;
      case Form::kNamed:
        out = name.CopyTo(out);
        break;
      case Form::kOther:
        out_.Commit(out);
        Value(call.api, *part->type, value);
        out = out_.Room(line.Room());
        break;
    }
    ++part;
  }
  out_.Commit(part->before.CopyTo(out));
}

void TextPrinter::Metadata(const EventContext& context, const MetaRecord& record) {
  const PaddedText start = LineStart(context);
  out_.Text({start.text, start.size});
  Style(kBold);
  out_.Text("meta.");
  out_.Text(record.name);
  Style(kPlain);
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

void TextPrinter::Value(Data::Api api, const Data::TypeDesc& type, const Data::CallValue& value) {
  switch (value.type) {
    case Data::ValueType::kInt32:
      return Integer(api, type, value.i32);
    case Data::ValueType::kFloat:
      return out_.Float(value.f32);
    case Data::ValueType::kUint64:
      return out_.Number(value.u64);
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
void TextPrinter::Integer(Data::Api api, const Data::TypeDesc& type, Integer32 value) {
  if (numeric_ || !HasNames(type)) {
    return out_.Number(value);
  }
  const PaddedText name = named_.Of(api, type, static_cast<uint32_t>(value));
  out_.Text({name.text, name.size});
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
    return Quoted({pointer.stringData, pointer.count});
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
      return Integer(api, type, Load<int32_t>(element));
    case Data::ValueType::kUint32:
      return Integer(api, type, Load<uint32_t>(element));
    case Data::ValueType::kInt64: {
      const auto value = Load<int64_t>(element);
      return MayBeEnum(type, value) ? Integer(api, type, static_cast<uint32_t>(value))
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
      Quoted({pointer.strings[i], pointer.stringLengths[i]});
    }
  }
  out_.Char(']');
}

void TextPrinter::Quoted(std::string_view text) {
  out_.Char('"');
  while (!text.empty()) {
    // Control characters and all bytes outside ASCII are escaped: a terminal must not act on them.
    size_t plain = 0;
    while (plain < text.size() && kIsPlain[static_cast<uint8_t>(text[plain])]) ++plain;
    out_.Text(text.substr(0, plain));
    if (plain == text.size()) break;
    const char c = text[plain];
    text.remove_prefix(plain + 1);
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
        out_.Text("\\x");
        out_.Hex(static_cast<uint8_t>(c), 2);
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
                 : Quoted({reinterpret_cast<const char*>(field.bytes.data()), field.bytes.size()});
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
