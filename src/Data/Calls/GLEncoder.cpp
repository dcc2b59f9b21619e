// Client memory and the calls that take it along; all other calls are in the generated
// GLEncoder*.cpp.
#include "Data/Calls/GLEncoder.h"

#include "Data/PointerData.h"

namespace Data {

// Vertex arrays in client memory ------------------------------------------------------------------

template <typename... Values>
void GLEncoder::AddVertexRecord(const unsigned char* buffer, uint32_t dataLength,
                                uint32_t dataOffset, const Values&... fields) {
  const uint32_t flags = PointerKindArray;
  const std::span<const uint8_t> recorded =
      buffer == nullptr ? std::span<const uint8_t>() : std::span(buffer + dataOffset, dataLength);
  const auto length = static_cast<uint32_t>(recorded.size());
  const auto store = [this](const auto&... values) {
    uint8_t* end = vertexRecords_.Append((EncodedSize(values) + ...));
    ((end = Store(end, values)), ...);
  };
  store(fields..., dataOffset, flags, length, recorded);
  ++vertexRecordCount_;
}

void GLEncoder::VertexAttribPointerData(uint32_t index, int32_t size, uint32_t type,
                                        uint32_t normalized, int32_t stride, unsigned char* buffer,
                                        uint32_t dataLength, uint32_t dataOffset) {
  AddVertexRecord(buffer, dataLength, dataOffset,
                  static_cast<uint32_t>(ApiCallType::glVertexAttribPointer), index, size, type,
                  normalized, stride);
}

void GLEncoder::VertexAttribIPointerData(uint32_t index, int32_t size, uint32_t type,
                                         int32_t stride, unsigned char* buffer, uint32_t dataLength,
                                         uint32_t dataOffset) {
  AddVertexRecord(buffer, dataLength, dataOffset,
                  static_cast<uint32_t>(ApiCallType::glVertexAttribIPointer), index, size, type,
                  stride);
}

template <typename... Values>
void GLEncoder::EncodeDraw(ApiCallType id, const Values&... parameters) {
  // Cleared first, so that a sink that throws does not leave them to the next draw call; the bytes
  // stay until the next record.
  const std::span<const uint8_t> records = vertexRecords_.Bytes();
  const uint32_t count = vertexRecordCount_;
  vertexRecords_.Clear();
  vertexRecordCount_ = 0;
  Encode(id, parameters..., count, records);
}

void GLEncoder::glDrawArrays(uint32_t mode, int32_t first, int32_t count) {
  EncodeDraw(ApiCallType::glDrawArrays, mode, first, count);
}

void GLEncoder::glDrawElements(uint32_t mode, int32_t count, uint32_t type,
                               const PointerData* indices) {
  EncodeDraw(ApiCallType::glDrawElements, mode, count, type, Elements{indices, 1});
}

void GLEncoder::glDrawRangeElements(uint32_t mode, uint32_t start, uint32_t end, int32_t count,
                                    uint32_t type, const PointerData* indices) {
  EncodeDraw(ApiCallType::glDrawRangeElements, mode, start, end, count, type, Elements{indices, 1});
}

void GLEncoder::glDrawArraysInstanced(uint32_t mode, int32_t first, int32_t count,
                                      int32_t instancecount) {
  EncodeDraw(ApiCallType::glDrawArraysInstanced, mode, first, count, instancecount);
}

void GLEncoder::glDrawElementsInstanced(uint32_t mode, int32_t count, uint32_t type,
                                        const PointerData* indices, int32_t instancecount) {
  EncodeDraw(ApiCallType::glDrawElementsInstanced, mode, count, type, Elements{indices, 1},
             instancecount);
}

void GLEncoder::glDrawElementsBaseVertex(uint32_t mode, int32_t count, uint32_t type,
                                         const PointerData* indices, int32_t basevertex) {
  EncodeDraw(ApiCallType::glDrawElementsBaseVertex, mode, count, type, Elements{indices, 1},
             basevertex);
}

void GLEncoder::glDrawRangeElementsBaseVertex(uint32_t mode, uint32_t start, uint32_t end,
                                              int32_t count, uint32_t type,
                                              const PointerData* indices, int32_t basevertex) {
  EncodeDraw(ApiCallType::glDrawRangeElementsBaseVertex, mode, start, end, count, type,
             Elements{indices, 1}, basevertex);
}

void GLEncoder::glDrawElementsInstancedBaseVertex(uint32_t mode, int32_t count, uint32_t type,
                                                  const PointerData* indices, int32_t instancecount,
                                                  int32_t basevertex) {
  EncodeDraw(ApiCallType::glDrawElementsInstancedBaseVertex, mode, count, type,
             Elements{indices, 1}, instancecount, basevertex);
}

// Mapped buffer ranges ----------------------------------------------------------------------------

// Lays down the pointer block: nothing, a size alone, or an array.
void GLEncoder::SetMappedBytes(const unsigned char* data, uint32_t length) {
  mappedBytes_.Clear();
  if (data == nullptr && length == 0) return;
  const uint32_t flags = PointerKindArray | (data == nullptr ? PointerFlagSizeOnly : 0u);
  const auto bytes = data == nullptr ? std::span<const uint8_t>() : std::span(data, length);
  uint8_t* end = mappedBytes_.Append(sizeof(flags) + sizeof(length) + bytes.size());
  Store(Store(Store(end, flags), length), bytes);
}

void GLEncoder::FlushMappedBufferRangeData(uint32_t /*target*/, uint32_t /*offset*/,
                                           uint32_t length, unsigned char* data) {
  SetMappedBytes(data, data == nullptr ? 0 : length);
}

void GLEncoder::UnmapBufferData(uint32_t /*target*/, uint32_t length, unsigned char* data) {
  SetMappedBytes(data, length);
}

// The pointer block for the call at hand, which takes it along: its bytes stay until the next one
// is laid down.
std::span<const uint8_t> GLEncoder::TakeMappedBytes() {
  static constexpr uint8_t kNull[sizeof(uint32_t)] = {};  // flags 0: a pointer to nothing
  const std::span<const uint8_t> bytes = mappedBytes_.Bytes();
  mappedBytes_.Clear();
  return bytes.empty() ? std::span<const uint8_t>(kNull) : bytes;
}

void GLEncoder::glFlushMappedBufferRange(uint32_t target, uint32_t offset, uint32_t length) {
  Encode(ApiCallType::glFlushMappedBufferRange, target, offset, length, TakeMappedBytes());
}

void GLEncoder::glUnmapBuffer(uint32_t result, uint32_t target) {
  Encode(ApiCallType::glUnmapBuffer, target, TakeMappedBytes(), result);
}

}  // namespace Data
