// Calls, client memory and metadata as lines of text.
#ifndef DCAPKIT_TESTS_LISTING_H
#define DCAPKIT_TESTS_LISTING_H

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Data/Calls/CallTable.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/PointerData.h"

#include "inspect/events/MetaRecord.h"

/// Writes down what decoders tell, a line each: names and values, "-" for what is not there, bytes
/// as text, pointers as the size and the number of their elements, entries of records in braces.
/// Vertex arrays are looked at when their draw call comes: until then they have to be there.
class Listing : public Data::GenericAdapter, public Inspect::MetaFlattener {
 public:
  /// The lines since the latest `Take`.
  std::vector<std::string> Take() {
    held_.clear();
    return std::exchange(lines_, {});
  }

 private:
  void ProcessThreadChange(Data::Api api, uint32_t threadId) override {
    lines_.push_back((api == Data::Api::kEGL ? "EGL thread " : "GL thread ") +
                     std::to_string(threadId));
  }
  void ProcessThreadChange(uint32_t threadId) override {
    lines_.push_back("thread " + std::to_string(threadId));
  }
  void ProcessClientData(const Data::CallDesc& operation,
                         std::span<const Data::CallValue> values) override {
    if (operation.id == Data::ApiCallType::glVertexAttribPointer ||
        operation.id == Data::ApiCallType::glVertexAttribIPointer) {
      held_.emplace_back(operation.name, std::vector(values.begin(), values.end()));
    } else {
      Add(operation.name, values);
    }
  }
  void ProcessCall(const Data::CallDesc& call, std::span<const Data::CallValue> values) override {
    ASSERT_EQ(values.size(), call.Values().size()) << call.name;
    for (size_t i = 0; i < values.size(); ++i) {
      EXPECT_EQ(values[i].type, call.values[i].type->type) << call.name << " " << i;
    }
    for (const auto& [name, data] : held_) Add(name, data);
    held_.clear();
    Add(call.name, values);
  }
  void Record(const Inspect::MetaRecord& record) override {
    lines_.push_back(record.name + TextOf(record.fields));
  }

  void Add(const char* name, std::span<const Data::CallValue> values) {
    std::ostringstream line;
    line << name;
    for (const Data::CallValue& value : values) Add(line << " ", value);
    lines_.push_back(line.str());
  }
  static void Add(std::ostream& line, const Data::CallValue& value) {
    switch (value.type) {
      case Data::ValueType::kInt32:
        line << value.i32;
        break;
      case Data::ValueType::kFloat:
        line << value.f32;
        break;
      case Data::ValueType::kUint64:
        line << value.u64;
        break;
      case Data::ValueType::kPointer:
        line << value.pointer->elementSize << "x" << value.pointer->count;
        break;
      case Data::ValueType::kBytes:
        line << TextOf(value.bytes, value.byteCount);
        break;
      default:
        line << value.u32;
    }
  }
  static std::string TextOf(const uint8_t* bytes, uint64_t size) {
    return bytes == nullptr ? "-" : std::string(bytes, bytes + size);
  }
  static std::string TextOf(const std::vector<Inspect::MetaField>& fields) {
    std::string text;
    for (const Inspect::MetaField& field : fields) {
      text += " ";
      switch (field.kind) {
        case Inspect::MetaField::kUnsigned:
          text += std::to_string(field.number);
          break;
        case Inspect::MetaField::kSigned:
          text += std::to_string(static_cast<int64_t>(field.number));
          break;
        case Inspect::MetaField::kText:
        case Inspect::MetaField::kBytes:
          text += TextOf(field.bytes.data(), field.bytes.size());
          break;
        case Inspect::MetaField::kNumbers:
          text += field.bytes.data() == nullptr ? "-" : "";
          for (size_t at = 0; at < field.bytes.size(); at += 4) {
            text += (at == 0 ? "" : ",") +
                    std::to_string(Data::LoadWord(
                        reinterpret_cast<const uint32_t*>(field.bytes.data() + at), 0));
          }
          break;
        case Inspect::MetaField::kEntries:
          for (uint64_t i = 0; i < field.number; ++i) text += "{" + TextOf(field.entry(i)) + " }";
      }
    }
    return text;
  }

  std::vector<std::string> lines_;
  std::vector<std::pair<const char*, std::vector<Data::CallValue>>> held_;
};

#endif  // DCAPKIT_TESTS_LISTING_H
