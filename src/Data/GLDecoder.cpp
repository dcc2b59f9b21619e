// The decoder itself and the calls that carry client memory; all other handlers are in the
// generated GLHandlers*.cpp, their dispatch in GLDispatch.cpp.
#include "Data/GLDecoder.h"

#include <cstdlib>
#include <cstring>

#include "Core/Log.h"
#include "Data/Detail/Parameters.h"
#include "Data/Limits.h"
#include "Data/PointerData.h"

namespace Data {

namespace {

[[gnu::cold]] void LogUnrecognizedAttribFunction() {
  constexpr int kSite = 1648;
  Core::Log::Print(
      Core::Log::LogLevel::kNotice, Core::Log::LogZone::kProcessing, kSite, "src/Data/GLDecoder",
      true,
      "GL decoder encountered an unrecognized function ID when processing vertex attrib data.");
}

// Takes the places of removed adapters (`Data/Registry.h`).
GLAdapter nobody;

// The bytes of an array, or null for every other pointer.
unsigned char* ArrayBytes(const PointerData& pointer) {
  return (pointer.flags & PointerKindMask) == PointerKindArray ? pointer.arrayData : nullptr;
}

}  // namespace

GLDecoder::GLDecoder() : adapters_(&nobody) {}
GLDecoder::~GLDecoder() = default;

void GLDecoder::AddAdapter(GLAdapter* adapter) { adapters_.Add(adapter); }

void GLDecoder::RemoveAdapter(GLAdapter* adapter) { adapters_.Remove(adapter); }

bool GLDecoder::SupportsId(ApiCallType id) {
  return static_cast<uint32_t>(id) - kFirstGLCall < kGLCallIds;
}

void GLDecoder::ProcessThreadChange(uint32_t threadId) {
  for (GLAdapter* adapter : adapters_) {
    adapter->ProcessThreadChange(threadId);
  }
}

// Vertex arrays in client memory ------------------------------------------------------------------

// Adapters receive the arrays record by record and the draw operation after the last. So the bytes
// belong to the decoder and live until the handler has called the draw operation. When an adapter
// throws, its caller decides what becomes of them (`DestroyVertexAttribArrayData`).

uint32_t GLDecoder::ProcessVertexAttribArrayData(uint32_t count, const uint8_t* data, uint32_t size,
                                                 uint32_t offset) {
  // Set once for the whole block: a field that cannot be read keeps the previous record's value.
  uint32_t function = 0;
  uint32_t index = 0;
  int32_t components = 0;
  uint32_t type = 0;
  uint32_t normalized = 0;
  int32_t stride = 0;
  uint32_t dataOffset = 0;
  uint32_t pointerFlags = 0;
  uint32_t dataLength = 0;

  // 64 bits wide, since skipped pointer values may carry it past the end.
  uint64_t position = offset;
  const auto read = [&](auto* field) {
    if (position < size) {
      position += ExtractValue(data, size, static_cast<uint32_t>(position), sizeof(*field), field);
    }
  };

  // Allocated on the word of this block, without bytes in the payload. One sum for all records, as
  // their buffers live together.
  uint64_t unbacked = 0;
  for (uint32_t record = 0; record < count; ++record) {
    if (count > size && position + sizeof(function) > size) {
      break;  // such a count cannot be honest, and no further record begins
    }
    read(&function);
    read(&index);
    read(&components);
    read(&type);
    if (function == static_cast<uint32_t>(ApiCallType::glVertexAttribPointer)) {
      read(&normalized);
    }
    read(&stride);
    read(&dataOffset);
    read(&pointerFlags);
    if (pointerFlags == 0) {
      continue;
    }
    if ((pointerFlags & PointerFlagAddress) != 0) {
      // Skipped unread, perhaps past the end: no adapter receives it.
      position += sizeof(uint64_t);
    }
    read(&dataLength);

    // The client's array begins `dataOffset` bytes before the recorded ones. The buffer has those
    // bytes too, unset, so that indices count from its start as they did from the array's.
    uint8_t* buffer = nullptr;
    if (dataLength != 0) {
      const uint64_t left = position < size ? size - position : 0;
      const bool isClaimed = dataLength > left;
      unbacked += uint64_t{dataOffset} + (isClaimed ? dataLength : 0);
      RequireUnbackedSize(unbacked);
      // Listed before it is made and filled, so that it is freed whatever happens.
      const uint64_t bytes = uint64_t{dataOffset} + dataLength;
      vertexAttribBuffers_.push_back({nullptr, isClaimed});
      buffer = isClaimed ? MakeZeroed<uint8_t>(bytes).release() : new uint8_t[bytes];
      vertexAttribBuffers_.back().bytes = buffer;
      if (left != 0) {
        position += ExtractValue(data, size, static_cast<uint32_t>(position), dataLength,
                                 buffer + dataOffset);
      }
    }

    for (GLAdapter* adapter : adapters_) {
      if (function == static_cast<uint32_t>(ApiCallType::glVertexAttribPointer)) {
        adapter->VertexAttribPointerData(index, components, type, normalized, stride, buffer,
                                         dataLength, dataOffset);
      } else if (function == static_cast<uint32_t>(ApiCallType::glVertexAttribIPointer)) {
        adapter->VertexAttribIPointerData(index, components, type, stride, buffer, dataLength,
                                          dataOffset);
      } else {
        LogUnrecognizedAttribFunction();
      }
    }
  }
  return static_cast<uint32_t>(position - offset);
}

uint32_t GLDecoder::ProcessDrawArraysData(const uint8_t* data, uint32_t size, uint32_t offset) {
  uint32_t count = 0;
  const uint32_t consumed = ExtractValue(data, size, offset, sizeof(count), &count);
  return count == 0 ? consumed
                    : consumed + ProcessVertexAttribArrayData(count, data, size, offset + consumed);
}

uint32_t GLDecoder::ProcessDrawElementsData(const uint8_t* data, uint32_t size, uint32_t offset) {
  return ProcessDrawArraysData(data, size, offset);
}

void GLDecoder::DestroyVertexAttribArrayData() {
  for (const auto& [bytes, isClaimed] : vertexAttribBuffers_) {
    if (isClaimed) {
      std::free(bytes);
    } else {
      delete[] bytes;
    }
  }
  vertexAttribBuffers_.clear();
}

// The draw calls that carry client memory follow one pattern: parameters, vertex records, the draw
// operation, and then nobody needs the bytes any more.

void GLDecoder::Process_glDrawArrays(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t first = 0;
  int32_t count = 0;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &first, &count);
  ProcessDrawArraysData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawArrays(mode, first, count);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawArraysInstanced(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t first = 0;
  int32_t count = 0;
  int32_t instancecount = 0;
  const uint32_t offset =
      ExtractParameters(payload, payloadSize, &mode, &first, &count, &instancecount);
  ProcessDrawArraysData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawArraysInstanced(mode, first, count, instancecount);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawElements(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  const uint32_t offset =
      ExtractParameters(payload, payloadSize, &mode, &count, &type, Elements{&indices, 1});
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawElements(mode, count, type, &indices);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawElementsInstanced(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  int32_t instancecount = 0;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &count, &type,
                                            Elements{&indices, 1}, &instancecount);
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawElementsInstanced(mode, count, type, &indices, instancecount);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawRangeElements(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  uint32_t start = 0;
  uint32_t end = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &start, &end, &count,
                                            &type, Elements{&indices, 1});
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawRangeElements(mode, start, end, count, type, &indices);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawElementsBaseVertex(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  int32_t basevertex = 0;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &count, &type,
                                            Elements{&indices, 1}, &basevertex);
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawElementsBaseVertex(mode, count, type, &indices, basevertex);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawRangeElementsBaseVertex(const uint8_t* payload,
                                                      uint32_t payloadSize) {
  uint32_t mode = 0;
  uint32_t start = 0;
  uint32_t end = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  int32_t basevertex = 0;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &start, &end, &count,
                                            &type, Elements{&indices, 1}, &basevertex);
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawRangeElementsBaseVertex(mode, start, end, count, type, &indices, basevertex);
  }
  DestroyVertexAttribArrayData();
}

void GLDecoder::Process_glDrawElementsInstancedBaseVertex(const uint8_t* payload,
                                                          uint32_t payloadSize) {
  uint32_t mode = 0;
  int32_t count = 0;
  uint32_t type = 0;
  PointerData indices;
  int32_t instancecount = 0;
  int32_t basevertex = 0;
  const uint32_t offset = ExtractParameters(payload, payloadSize, &mode, &count, &type,
                                            Elements{&indices, 1}, &instancecount, &basevertex);
  ProcessDrawElementsData(payload, payloadSize, offset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glDrawElementsInstancedBaseVertex(mode, count, type, &indices, instancecount,
                                               basevertex);
  }
  DestroyVertexAttribArrayData();
}

// Mapped buffer ranges ----------------------------------------------------------------------------

uint32_t GLDecoder::ProcessFlushMappedBufferRangeData(uint32_t target, uint32_t offset,
                                                      uint32_t length, const uint8_t* data,
                                                      uint32_t size, uint32_t dataOffset) {
  PointerData flushed;
  const uint32_t consumed = ExtractPointerData(data, size, dataOffset, 1, &flushed);
  unsigned char* bytes = ArrayBytes(flushed);
  // Adapters are told `length`, not the count of the array: make sure that they may read as much.
  ZeroedArray<uint8_t> extended;
  if (bytes != nullptr && flushed.count < length) {
    RequireUnbackedSize(length);
    extended = MakeZeroed<uint8_t>(length);
    if (!flushed.IsClaimed()) std::memcpy(extended.get(), bytes, flushed.count);
    bytes = extended.get();
  }
  for (GLAdapter* adapter : adapters_) {
    adapter->FlushMappedBufferRangeData(target, offset, length, bytes);
  }
  return consumed;
}

void GLDecoder::Process_glFlushMappedBufferRange(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t target = 0;
  uint32_t offset = 0;
  uint32_t length = 0;
  const uint32_t dataOffset = ExtractParameters(payload, payloadSize, &target, &offset, &length);
  // The bytes come first: an adapter that forwards the call has them then.
  ProcessFlushMappedBufferRangeData(target, offset, length, payload, payloadSize, dataOffset);
  for (GLAdapter* adapter : adapters_) {
    adapter->glFlushMappedBufferRange(target, offset, length);
  }
}

uint32_t GLDecoder::ProcessUnmapBufferData(uint32_t target, const uint8_t* data, uint32_t size,
                                           uint32_t offset) {
  PointerData mapped;
  const uint32_t consumed = ExtractPointerData(data, size, offset, 1, &mapped);
  for (GLAdapter* adapter : adapters_) {
    // The length is the size of the content, whatever its kind; only an array has bytes to show.
    adapter->UnmapBufferData(target, mapped.elementSize * mapped.count, ArrayBytes(mapped));
  }
  return consumed;
}

void GLDecoder::Process_glUnmapBuffer(const uint8_t* payload, uint32_t payloadSize) {
  uint32_t target = 0;
  uint32_t result = 0;
  uint32_t offset = ExtractParameters(payload, payloadSize, &target);
  offset += ProcessUnmapBufferData(target, payload, payloadSize, offset);
  ExtractValue(payload, payloadSize, offset, sizeof(result), &result);
  for (GLAdapter* adapter : adapters_) {
    adapter->glUnmapBuffer(result, target);
  }
}

// Adapters that do not care about client memory.
void GLAdapter::VertexAttribPointerData(uint32_t, int32_t, uint32_t, uint32_t, int32_t,
                                        unsigned char*, uint32_t, uint32_t) {}
void GLAdapter::VertexAttribIPointerData(uint32_t, int32_t, uint32_t, int32_t, unsigned char*,
                                         uint32_t, uint32_t) {}
void GLAdapter::FlushMappedBufferRangeData(uint32_t, uint32_t, uint32_t, unsigned char*) {}
void GLAdapter::UnmapBufferData(uint32_t, uint32_t, unsigned char*) {}

}  // namespace Data
