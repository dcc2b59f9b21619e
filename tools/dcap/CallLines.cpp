#include "CallLines.h"

#include <charconv>
#include <iterator>

#include "Printer.h"

namespace {

CallLine::Form FormOf(const Data::TypeDesc& type, bool numeric) {
  const bool isNumber = numeric || !HasNames(type);
  switch (type.type) {
    case Data::ValueType::kUint32:
      return isNumber ? CallLine::Form::kUnsigned : CallLine::Form::kNamed;
    case Data::ValueType::kInt32:
      return isNumber ? CallLine::Form::kSigned : CallLine::Form::kNamed;
    case Data::ValueType::kFloat:
      return CallLine::Form::kFloat;
    case Data::ValueType::kUint64:
      return CallLine::Form::kUint64;
    default:
      return CallLine::Form::kOther;
  }
}

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
      if (const char* name = EnumName(api, type, value)) return name;
      break;
    case Data::ValueFormat::kHex:
      break;
    default:
      return Digits(value);
  }
  return IsPlainNumber(type, value) ? Digits(value) : HexOf(value);
}

}  // namespace

CallLine::CallLine(const Data::CallDesc& call, const NameStyle& style) {
  std::vector<size_t> starts;
  const auto start = [&] { starts.push_back(text_.size()); };
  start();
  text_.append(style.callStart).append(call.name).append(style.callEnd) += '(';
  for (size_t i = 0; i < call.parameterCount; ++i) {
    if (i != 0) {
      start();
      text_ += ", ";
    }
    (text_ += call.values[i].name) += '=';
  }
  if (call.parameterCount != 0) start();
  text_ += ')';
  if (call.hasResult) {
    text_ += " = ";
    start();
  }
  text_ += '\n';
  const size_t size = text_.size();
  text_.append(PaddedText::kPadding, '\0');

  const auto values = call.Values();
  room_ = text_.size() + values.size() * kValueRoom;
  for (size_t i = 0; i < starts.size(); ++i) {
    const size_t end = i + 1 < starts.size() ? starts[i + 1] : size;
    Part part{{text_.data() + starts[i], end - starts[i]}, {}, nullptr};
    if (i < values.size()) {
      part.type = values[i].type;
      part.form = FormOf(*part.type, style.numeric);
    }
    parts_.push_back(part);
  }
}

void NamedValues::Find(Data::Api api, const Data::TypeDesc& type, uint32_t value, Entry* entry) {
  entry->type = &type;
  entry->value = value;
  entry->api = api;
  entry->text = TextOf(api, type, value);
  entry->size = entry->text.size();
  entry->text.append(PaddedText::kPadding, '\0');
}
