#include "CallLines.h"

#include "Printer.h"

CallLine::CallLine(const Data::CallDesc& call, std::string_view nameStart,
                   std::string_view nameEnd) {
  const auto mark = [&] { starts_.push_back(static_cast<uint32_t>(text_.size())); };
  mark();
  text_.append(nameStart).append(call.name).append(nameEnd) += '(';
  for (size_t i = 0; i < call.parameterCount; ++i) {
    if (i != 0) {
      mark();
      text_ += ", ";
    }
    (text_ += call.values[i].name) += '=';
  }
  if (call.parameterCount != 0) {
    mark();
  }
  text_ += ')';
  if (call.hasResult) {
    text_ += " = ";
    mark();
  }
  text_ += '\n';
  mark();
  text_.append(PaddedText::kPadding, '\0');
}

void EnumNames::Find(Data::Api api, const Data::TypeDesc& type, uint32_t value, Entry* entry) {
  const char* name = EnumName(api, type, value);
  entry->type = &type;
  entry->value = value;
  entry->api = api;
  entry->name = name != nullptr ? name : "";
  entry->size = entry->name.size();
  entry->name.append(PaddedText::kPadding, '\0');
}
