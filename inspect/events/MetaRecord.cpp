#include "inspect/events/MetaRecord.h"

#include <string>

namespace Inspect {

namespace {

MetaField Unsigned(const char* name, uint64_t value) { return {name, MetaField::kUnsigned, value}; }

MetaField Signed(const char* name, int32_t value) {
  return {name, MetaField::kSigned, static_cast<uint64_t>(int64_t{value})};
}

MetaField Bytes(const char* name, const uint8_t* data, uint64_t size) {
  return {name, MetaField::kBytes, 0, {data, data != nullptr ? size : 0}};
}

MetaField Text(const char* name, const char* text, uint64_t size) {
  return {name, MetaField::kText, 0, {reinterpret_cast<const uint8_t*>(text), text ? size : 0}};
}

// A whole payload, which is not null even when it is empty.
MetaField Payload(const char* name, MetaField::Kind kind, const uint8_t* data, uint32_t size) {
  static constexpr uint8_t kEmpty[1] = {};
  return {name, kind, 0, {size != 0 ? data : kEmpty, size}};
}

// `values` may lie at any address of a payload, so that nobody may read them as uint32_t.
MetaField Numbers(const char* name, const void* values, uint64_t count) {
  return {name,
          MetaField::kNumbers,
          0,
          {static_cast<const uint8_t*>(values), values != nullptr ? count * sizeof(uint32_t) : 0}};
}

MetaField Name(const char* name, int32_t nameLength) {
  return Text("name", name, nameLength > 0 ? static_cast<uint64_t>(nameLength) : 0);
}

uint64_t Positive(int32_t length) { return length > 0 ? static_cast<uint64_t>(length) : 0; }

template <typename Entry, typename Fields>
MetaField Entries(const Entry* entries, uint32_t count, Fields fieldsOf) {
  MetaField field{"entries", MetaField::kEntries, entries != nullptr ? count : 0};
  field.entry = [entries, fieldsOf](uint64_t index) { return fieldsOf(entries[index]); };
  return field;
}

std::vector<MetaField> ResourceFields(const Data::GLResourceDesc& entry) {
  return {Unsigned("e0", entry.e0), Unsigned("e1", entry.e1), Unsigned("e2", entry.e2),
          Unsigned("e3", entry.e3), Name(entry.name, entry.nameLength)};
}

MetaRecord Resources(const char* name, uint32_t program, uint32_t count,
                     const Data::GLResourceDesc* entries) {
  return {name,
          {Unsigned("program", program), Unsigned("count", count),
           Entries(entries, count, ResourceFields)}};
}

MetaRecord Attributes(const char* name, uint32_t a0, uint32_t a1, const uint32_t* values,
                      uint32_t count) {
  return {name,
          {Unsigned("a0", a0), Unsigned("a1", a1), Unsigned("count", count),
           Numbers("values", values, count)}};
}

// `size` is that of the whole record: the pixels come after its seven fields.
MetaRecord DefaultBuffer(const char* name, const uint32_t (&a)[6], uint32_t size,
                         const uint8_t* pixels) {
  constexpr uint32_t kFieldBytes = 28;
  MetaRecord record{name, {}};
  static constexpr const char* kNames[] = {"a0", "a1", "a2", "a3", "a4", "a5"};
  for (int i = 0; i < 6; ++i) {
    record.fields.push_back(Unsigned(kNames[i], a[i]));
  }
  record.fields.push_back(Unsigned("size", size));
  record.fields.push_back(Bytes("pixels", pixels, size - kFieldBytes));
  return record;
}

std::vector<MetaField> PlaneFields(const Data::EglImagePlane& plane) {
  return {Unsigned("p0", plane.p0), Unsigned("size", plane.size), Unsigned("p1", plane.p1),
          Bytes("data", plane.data, plane.size)};
}

}  // namespace

void MetaFlattener::ProcessTextMetadata1(const uint8_t* data, uint32_t size) {
  Record({"ProcessTextMetadata1", {Payload("text", MetaField::kText, data, size)}});
}

void MetaFlattener::ProcessTextMetadata2(const uint8_t* data, uint32_t size) {
  Record({"ProcessTextMetadata2", {Payload("text", MetaField::kText, data, size)}});
}

void MetaFlattener::ProcessTextMetadata3(const uint8_t* data, uint32_t size) {
  Record({"ProcessTextMetadata3", {Payload("text", MetaField::kText, data, size)}});
}

void MetaFlattener::DisplayMessage(const std::string& message) {
  Record({"DisplayMessage", {Text("message", message.data(), message.size())}});
}

void MetaFlattener::SetWindowSize(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3) {
  Record({"SetWindowSize",
          {Unsigned("a0", a0), Unsigned("a1", a1), Unsigned("a2", a2), Unsigned("a3", a3)}});
}

void MetaFlattener::CreateEglImageBuffer(uint32_t a0, uint32_t a1,
                                         const Data::EglImageBufferDesc* desc) {
  Record({"CreateEglImageBuffer",
          {Unsigned("a0", a0), Unsigned("a1", a1), Unsigned("f0", desc->f0),
           Unsigned("f1", desc->f1), Unsigned("f2", desc->f2), Unsigned("f3", desc->f3)}});
}

void MetaFlattener::SetEglImageContent(uint32_t image, const Data::EglImageBufferDesc* desc) {
  Record({"SetEglImageContent",
          {Unsigned("image", image), Unsigned("f0", desc->f0), Unsigned("f1", desc->f1),
           Unsigned("f2", desc->f2), Unsigned("f3", desc->f3),
           Unsigned("planeCount", desc->planeCount),
           Entries(desc->planes, desc->planeCount, PlaneFields)}});
}

void MetaFlattener::EGLConfigStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values,
                                       uint32_t count) {
  Record(Attributes("EGLConfigStateDesc", a0, a1, values, count));
}

void MetaFlattener::EGLSurfaceStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values,
                                        uint32_t count) {
  Record(Attributes("EGLSurfaceStateDesc", a0, a1, values, count));
}

void MetaFlattener::GLUniformsStateDesc(uint32_t program, uint32_t count,
                                        const Data::GLResourceDesc* entries) {
  Record(Resources("GLUniformsStateDesc", program, count, entries));
}

void MetaFlattener::GLAttributesStateDesc(uint32_t program, uint32_t count,
                                          const Data::GLResourceDesc* entries) {
  Record(Resources("GLAttributesStateDesc", program, count, entries));
}

void MetaFlattener::GLUniformBlocksStateDesc(uint32_t program, uint32_t count,
                                             const Data::GLUniformBlockDesc* entries) {
  const auto fieldsOf = [](const Data::GLUniformBlockDesc& entry) {
    std::vector<MetaField> fields = {
        Unsigned("e0", entry.e0),           Unsigned("e1", entry.e1),
        Name(entry.name, entry.nameLength), Unsigned("e3", entry.e3),
        Unsigned("e4", entry.e4),           Unsigned("e5", entry.e5),
        Unsigned("e6", entry.e6),           Signed("arrayLength", entry.arrayLength)};
    static constexpr const char* kNames[] = {"array0", "array1", "array2", "array3",
                                             "array4", "array5", "array6", "array7"};
    for (int i = 0; entry.arrayLength > 0 && i < 8; ++i) {
      fields.push_back(Numbers(kNames[i], entry.arrays[i], Positive(entry.arrayLength)));
    }
    return fields;
  };
  Record({"GLUniformBlocksStateDesc",
          {Unsigned("program", program), Unsigned("count", count),
           Entries(entries, count, fieldsOf)}});
}

void MetaFlattener::GLAtomicCounterBufferStateDesc(uint32_t program, uint32_t count,
                                                   const Data::GLAtomicCounterBufferDesc* entries) {
  const auto fieldsOf = [](const Data::GLAtomicCounterBufferDesc& entry) {
    std::vector<MetaField> fields = {Unsigned("e0", entry.e0),
                                     Unsigned("e1", entry.e1),
                                     Unsigned("e2", entry.e2),
                                     Unsigned("e3", entry.e3),
                                     Unsigned("e4", entry.e4),
                                     Unsigned("e5", entry.e5),
                                     Signed("arrayLength", entry.arrayLength)};
    if (entry.arrayLength > 0) {
      fields.push_back(Numbers("array", entry.array, Positive(entry.arrayLength)));
    }
    return fields;
  };
  Record({"GLAtomicCounterBufferStateDesc",
          {Unsigned("program", program), Unsigned("count", count),
           Entries(entries, count, fieldsOf)}});
}

void MetaFlattener::GLBufferVariablesStateDesc(uint32_t program, uint32_t count,
                                               const Data::GLBufferVariableDesc* entries) {
  const auto fieldsOf = [](const Data::GLBufferVariableDesc& entry) {
    return std::vector<MetaField>{
        Unsigned("e0", entry.e0),   Unsigned("e1", entry.e1),          Unsigned("e2", entry.e2),
        Unsigned("e3", entry.e3),   Unsigned("e4", entry.e4),          Unsigned("e5", entry.e5),
        Unsigned("e6", entry.e6),   Unsigned("e7", entry.e7),          Unsigned("e8", entry.e8),
        Unsigned("e9", entry.e9),   Unsigned("e10", entry.e10),        Unsigned("e11", entry.e11),
        Unsigned("e12", entry.e12), Name(entry.name, entry.nameLength)};
  };
  Record({"GLBufferVariablesStateDesc",
          {Unsigned("program", program), Unsigned("count", count),
           Entries(entries, count, fieldsOf)}});
}

void MetaFlattener::GLStorageBlocksStateDesc(uint32_t program, uint32_t count,
                                             const Data::GLStorageBlockDesc* entries) {
  const auto fieldsOf = [](const Data::GLStorageBlockDesc& entry) {
    std::vector<MetaField> fields = {
        Unsigned("e0", entry.e0), Name(entry.name, entry.nameLength),
        Unsigned("e2", entry.e2), Unsigned("e3", entry.e3),
        Unsigned("e4", entry.e4), Unsigned("e5", entry.e5),
        Unsigned("e6", entry.e6), Signed("arrayLength", entry.arrayLength)};
    if (entry.arrayLength > 0) {
      fields.push_back(Numbers("array", entry.array, Positive(entry.arrayLength)));
    }
    return fields;
  };
  Record({"GLStorageBlocksStateDesc",
          {Unsigned("program", program), Unsigned("count", count),
           Entries(entries, count, fieldsOf)}});
}

void MetaFlattener::ProcessRawMetadata(uint32_t subtype, const uint8_t* data, uint32_t size) {
  Record({"ProcessRawMetadata",
          {Unsigned("subtype", subtype), Payload("data", MetaField::kBytes, data, size)}});
}

void MetaFlattener::GLLimitsDesc(uint32_t count, const Data::GLLimitPair* pairs) {
  static_assert(sizeof(Data::GLLimitPair) == 2 * sizeof(uint32_t));
  Record(
      {"GLLimitsDesc", {Unsigned("count", count), Numbers("pairs", pairs, uint64_t{count} * 2)}});
}

void MetaFlattener::DefaultColorBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3,
                                       uint32_t a4, uint32_t a5, uint32_t size,
                                       const uint8_t* pixels) {
  Record(DefaultBuffer("DefaultColorBuffer", {a0, a1, a2, a3, a4, a5}, size, pixels));
}

void MetaFlattener::DefaultDepthBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3,
                                       uint32_t a4, uint32_t a5, uint32_t size,
                                       const uint8_t* pixels) {
  Record(DefaultBuffer("DefaultDepthBuffer", {a0, a1, a2, a3, a4, a5}, size, pixels));
}

void MetaFlattener::DefaultStencilBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3,
                                         uint32_t a4, uint32_t a5, uint32_t size,
                                         const uint8_t* pixels) {
  Record(DefaultBuffer("DefaultStencilBuffer", {a0, a1, a2, a3, a4, a5}, size, pixels));
}

void MetaFlattener::MultiSampleTexture(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3,
                                       uint32_t a4, uint32_t a5, uint32_t a6, uint32_t a7,
                                       int32_t a8, int32_t length, const uint8_t* data) {
  Record({"MultiSampleTexture",
          {Unsigned("a0", a0), Unsigned("a1", a1), Unsigned("a2", a2), Unsigned("a3", a3),
           Unsigned("a4", a4), Unsigned("a5", a5), Unsigned("a6", a6), Unsigned("a7", a7),
           Signed("a8", a8), Signed("length", length),
           Bytes("data", data, static_cast<uint32_t>(length))}});
}

}  // namespace Inspect
