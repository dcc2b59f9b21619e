#include "inspect/listing/CallLines.h"

namespace Inspect {

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

}  // namespace

CallLine::CallLine(const Data::CallDesc& call, std::span<const std::string> texts, bool numeric) {
  for (const std::string& text : texts) {
    text_ += text;
  }
  text_.append(PaddedText::kPadding, '\0');

  const auto values = call.Values();
  room_ = text_.size() + values.size() * kValueRoom;
  const char* next = text_.data();
  for (size_t i = 0; i < texts.size(); ++i) {
    Part part{{next, texts[i].size()}};
    next += texts[i].size();
    if (i < values.size()) {
      part.type = values[i].type;
      part.form = FormOf(*part.type, numeric);
    }
    parts_.push_back(part);
  }
}

void CallLines::Add(size_t index, const Data::CallDesc& call) {
  if (index >= lines_.size()) lines_.resize(index + 1);
  lines_[index] = std::make_unique<CallLine>(call, texts_(call), numeric_);
}

void NamedValues::Find(Data::Api api, const Data::TypeDesc& type, uint32_t value,
                       Entry* entry) const {
  entry->type = &type;
  entry->value = value;
  entry->api = api;
  entry->text = textOf_(api, type, value);
  entry->size = entry->text.size();
  entry->text.append(PaddedText::kPadding, '\0');
}

}  // namespace Inspect
