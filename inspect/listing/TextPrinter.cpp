#include "inspect/listing/TextPrinter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "inspect/events/PointerFacts.h"
#include "inspect/listing/Checksum.h"

namespace Inspect {

namespace {

// The most elements of an array that are listed. The number of the others follows.
constexpr uint32_t kListedElements = 16;

// More bytes than a thread and the escape sequences around it take.
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

template <typename Integer>
std::string Digits(Integer value, int base = 10) {
  char digits[32];
  return {digits, std::to_chars(digits, std::end(digits), value, base).ptr};
}

// Four hexadecimal digits at least, as in the headers of Khronos.
std::string HexOf(uint32_t value) {
  std::string digits = Digits(value, 16);
  if (digits.size() < 4) digits.insert(0, 4 - digits.size(), '0');
  return "0x" + digits;
}

std::string BitsOf(const Data::TypeDesc& type, uint32_t value) {
  std::string text;
  const auto add = [&text](std::string_view name) {
    if (!text.empty()) text += '|';
    text += name;
  };
  const uint32_t rest = ForEachBitName(type, value, add);
  if (rest != 0) add("0x" + Digits(rest, 16));
  return text.empty() ? "0" : text;
}

std::string TextOf(Data::Api api, const Data::TypeDesc& type, uint32_t value) {
  const auto asSigned = static_cast<int32_t>(value);
  if (type.element == Data::ValueType::kInt32 && asSigned < 0) return Digits(asSigned);
  switch (type.format) {
    case Data::ValueFormat::kBoolean: {
      const std::string_view prefix = api == Data::Api::kEGL ? "EGL_" : "GL_";
      if (value > 1) return Digits(value);
      return std::string(prefix) + (value == 1 ? "TRUE" : "FALSE");
    }
    case Data::ValueFormat::kBits:
      return BitsOf(type, value);
    case Data::ValueFormat::kEnum:
      if (const char* name = NameIfEnum(api, type, value)) return name;
      break;
    case Data::ValueFormat::kHex:
      break;
    default:
      return Digits(value);
  }
  return IsPlainNumber(type, value) ? Digits(value) : HexOf(value);
}

// The texts between the values: "glBindBuffer(target=", ", buffer=", ")\n".
std::vector<std::string> TextsOf(const Data::CallDesc& call, bool coloured) {
  std::vector<std::string> texts(1);
  texts[0].append(coloured ? kBold : "").append(call.name).append(coloured ? kPlain : "") += '(';
  for (size_t i = 0; i < call.parameterCount; ++i) {
    if (i != 0) texts.emplace_back(", ");
    (texts.back() += call.values[i].name) += '=';
  }
  if (call.parameterCount != 0) texts.emplace_back();
  texts.back() += ')';
  if (call.hasResult) {
    texts.back() += " = ";
    texts.emplace_back();
  }
  texts.back() += '\n';
  return texts;
}

CallLines LinesOfCalls(bool numeric, bool coloured) {
  return {[coloured](const Data::CallDesc& call) { return TextsOf(call, coloured); }, numeric};
}

}  // namespace

TextPrinter::TextPrinter(TextSink* sink, bool numeric, bool coloured)
    : Printer(sink),
      numeric_(numeric),
      coloured_(coloured),
      calls_(LinesOfCalls(numeric, coloured)),
      clientData_(LinesOfCalls(numeric, coloured)),
      named_(TextOf) {}

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
  repeated_.End(out_);
}

bool TextPrinter::HandleUndecoded(const EventContext& context, Data::ApiCallType id,
                                  std::span<const unsigned char> payload) {
  const auto start = [&](char* out) { return LineStart(context).CopyTo(out); };
  return repeated_.Write(&out_, kLineStartRoom, start, id, payload);
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
  WriteLine(
      &out_, kLineStartRoom,
      [&](char* out) {
        out = LineStart(context).CopyTo(out);
        repeated_.BeginLine(out_.PositionOf(out));
        return out;
      },
      lines.Of(call), call.api, values, &named_, TextBuffer::FloatTo,
      [&](const Data::TypeDesc& type, const Data::CallValue& value) {
        Value(call.api, type, value);
      });
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

}  // namespace Inspect
