#include "inspect/stats/Statistics.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>

#include "inspect/events/PointerFacts.h"

namespace Inspect {

namespace {

// The kind of the bytes that a call hands over; none for calls of other classes and names.
std::optional<UploadKind> KindOfUpload(const Data::CallDesc& call) {
  const std::string_view name = call.name;
  if (call.callClass == Data::CallClass::kDraw) {
    return UploadKind::kClientIndices;
  }
  if (call.callClass != Data::CallClass::kUpload) {
    return std::nullopt;
  }
  if (name.starts_with("glBuffer")) {
    return UploadKind::kBuffer;
  }
  if (name.starts_with("glTex") || name.starts_with("glCompressedTex")) {
    return UploadKind::kTexture;
  }
  if (name.starts_with("glShader")) {
    return UploadKind::kShader;
  }
  return name.starts_with("glProgram") ? std::optional(UploadKind::kProgram) : std::nullopt;
}

// The recorded bytes of byte data and strings. Arrays of sizes and names do not count.
uint64_t RecordedBytes(const Data::TypeDesc& type, const Data::PointerData& pointer) {
  switch (pointer.flags & Data::PointerKindMask) {
    case Data::PointerKindString:
      return ContentIsMissing(pointer) ? 0 : pointer.count;
    case Data::PointerKindStringArray: {
      uint64_t sum = 0;
      for (uint32_t i = 0; i < pointer.count; ++i) {
        sum += pointer.IsClaimed(i) ? 0 : pointer.stringLengths[i];
      }
      return sum;
    }
    default:
      return ContentIsMissing(pointer) || !IsByteData(type, pointer) ? 0
                                                                     : ArrayBytes(pointer).size();
  }
}

}  // namespace

const char* UploadKindName(UploadKind kind) {
  switch (kind) {
    case UploadKind::kBuffer:
      return "buffer";
    case UploadKind::kTexture:
      return "texture";
    case UploadKind::kMapped:
      return "mapped";
    case UploadKind::kClientVertices:
      return "clientVertices";
    case UploadKind::kClientIndices:
      return "clientIndices";
    case UploadKind::kShader:
      return "shader";
    case UploadKind::kProgram:
      return "program";
  }
  return "";
}

uint64_t Counts::UploadedBytes() const {
  return std::accumulate(uploaded.begin(), uploaded.end(), uint64_t{0});
}

void Counts::Add(const Counts& other) {
  calls += other.calls;
  clientData += other.clientData;
  records += other.records;
  std::ranges::transform(byClass, other.byClass, byClass.begin(), std::plus());
  std::ranges::transform(uploaded, other.uploaded, uploaded.begin(), std::plus());
}

void Statistics::Finish() {
  if (inFrame_) {
    total.Add(frame_.counts);
    onFrame_(frame_);
  }
  inFrame_ = false;
}

std::vector<std::pair<std::string, uint64_t>> Statistics::CallsByName() const {
  std::vector<std::pair<std::string, uint64_t>> counts;
  for (const auto& [call, count] : calls_) {
    if (count != 0) {
      counts.emplace_back(call->name, count);
    }
  }
  std::ranges::sort(counts);
  return counts;
}

void Statistics::Block(const EventContext& context, const Data::BlockHeader& header) {
  Finish();
  frame_ = {context.frameOrdinal, context.blockNumber, header.size, context.setUp, {}};
  inFrame_ = true;
  (context.setUp ? setUpBlocks : frames) += 1;
}

void Statistics::Call(const EventContext& context, const Data::CallDesc& call,
                      std::span<const Data::CallValue> values) {
  CallCount& counted = calls_[static_cast<uint16_t>(call.id)];
  counted.call = &call;
  ++counted.count;
  ++frame_.counts.calls;
  ++frame_.counts.byClass[static_cast<size_t>(call.callClass)];
  if (context.hasThread) {
    if (threadCount_ == nullptr || thread_ != context.threadId) {
      thread_ = context.threadId;
      threadCount_ = &callsByThread[thread_];
    }
    ++*threadCount_;
  }
  if (call.callClass == Data::CallClass::kUpload || call.callClass == Data::CallClass::kDraw) {
    CountUploads(call, values);
  }
}

void Statistics::CountUploads(const Data::CallDesc& call, std::span<const Data::CallValue> values) {
  const std::optional<UploadKind> kind = KindOfUpload(call);
  for (size_t i = 0; kind && i < call.parameterCount; ++i) {
    if (values[i].type == Data::ValueType::kPointer) {
      CountUpload(*kind, RecordedBytes(*call.values[i].type, *values[i].pointer));
    }
  }
}

void Statistics::ClientData(const EventContext& /*context*/, const Data::CallDesc& operation,
                            std::span<const Data::CallValue> values) {
  ++frame_.counts.clientData;
  ++clientData[operation.name];
  const bool vertices = std::string_view(operation.name).starts_with("VertexAttrib");
  for (const Data::CallValue& value : values) {
    if (value.type == Data::ValueType::kBytes && value.bytes != nullptr) {
      CountUpload(vertices ? UploadKind::kClientVertices : UploadKind::kMapped, value.byteCount);
    }
  }
}

void Statistics::Metadata(const EventContext& /*context*/, const MetaRecord& record) {
  ++frame_.counts.records;
  ++records[record.name];
}

}  // namespace Inspect
