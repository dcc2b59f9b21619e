// The client-data operations; the calls themselves are in the generated GLForwarder*.cpp.
#include "Data/Generated/GLForwarder.h"

#include "Data/Generated/CallTypes.h"

namespace Data {

namespace {

constexpr TypeDesc kClientBytes = {
    "bytes", ValueType::kBytes, ValueFormat::kBytes, ValueType::kUint8, 1, {}};

constexpr ParameterDesc kVertexAttribPointerValues[] = {
    {"index", &kUint}, {"size", &kInt},           {"type", &kEnum},       {"normalized", &kBool},
    {"stride", &kInt}, {"buffer", &kClientBytes}, {"dataLength", &kUint}, {"dataOffset", &kUint}};
constexpr ParameterDesc kVertexAttribIPointerValues[] = {
    {"index", &kUint},         {"size", &kInt},        {"type", &kEnum},      {"stride", &kInt},
    {"buffer", &kClientBytes}, {"dataLength", &kUint}, {"dataOffset", &kUint}};
constexpr ParameterDesc kFlushValues[] = {
    {"target", &kEnum}, {"offset", &kUint}, {"length", &kUint}, {"data", &kClientBytes}};
constexpr ParameterDesc kUnmapValues[] = {
    {"target", &kEnum}, {"length", &kUint}, {"data", &kClientBytes}};

template <size_t kCount>
constexpr CallDesc ClientData(ApiCallType id, const char* name,
                              const ParameterDesc (&values)[kCount]) {
  return {id, Api::kGLES, CallClass::kUpload, name, values, kCount, false};
}

constexpr CallDesc kVertexAttribPointerData = ClientData(
    ApiCallType::glVertexAttribPointer, "VertexAttribPointerData", kVertexAttribPointerValues);
constexpr CallDesc kVertexAttribIPointerData = ClientData(
    ApiCallType::glVertexAttribIPointer, "VertexAttribIPointerData", kVertexAttribIPointerValues);
constexpr CallDesc kFlushMappedBufferRangeData =
    ClientData(ApiCallType::glFlushMappedBufferRange, "FlushMappedBufferRangeData", kFlushValues);
constexpr CallDesc kUnmapBufferData =
    ClientData(ApiCallType::glUnmapBuffer, "UnmapBufferData", kUnmapValues);

// The recorded bytes of a rebuilt client array, without the unset ones before them.
CallValue Recorded(const unsigned char* buffer, uint32_t dataLength, uint32_t dataOffset) {
  return {buffer != nullptr ? buffer + dataOffset : nullptr, dataLength};
}

}  // namespace

void GLForwarder::VertexAttribPointerData(uint32_t index, int32_t size, uint32_t type,
                                          uint32_t normalized, int32_t stride,
                                          unsigned char* buffer, uint32_t dataLength,
                                          uint32_t dataOffset) {
  ForwardClientData(kVertexAttribPointerData, index, size, type, normalized, stride,
                    Recorded(buffer, dataLength, dataOffset), dataLength, dataOffset);
}

void GLForwarder::VertexAttribIPointerData(uint32_t index, int32_t size, uint32_t type,
                                           int32_t stride, unsigned char* buffer,
                                           uint32_t dataLength, uint32_t dataOffset) {
  ForwardClientData(kVertexAttribIPointerData, index, size, type, stride,
                    Recorded(buffer, dataLength, dataOffset), dataLength, dataOffset);
}

void GLForwarder::FlushMappedBufferRangeData(uint32_t target, uint32_t offset, uint32_t length,
                                             unsigned char* data) {
  ForwardClientData(kFlushMappedBufferRangeData, target, offset, length, CallValue(data, length));
}

void GLForwarder::UnmapBufferData(uint32_t target, uint32_t length, unsigned char* data) {
  ForwardClientData(kUnmapBufferData, target, length, CallValue(data, length));
}

}  // namespace Data
