#include "Data/Calls/CallTable.h"

#include <algorithm>

#include "Data/Calls/Detail/CallDescriptions.h"

namespace Data {

namespace {

const CallDesc* FindById(std::span<const CallDesc> calls, std::span<const uint16_t> slots,
                         uint32_t index) {
  return index < slots.size() && slots[index] != kNoCall ? &calls[slots[index]] : nullptr;
}

const char* FindName(std::span<const EnumName> names, uint32_t value) {
  const auto found = std::ranges::lower_bound(names, value, {}, &EnumName::value);
  return found != names.end() && found->value == value ? found->name : nullptr;
}

}  // namespace

const CallDesc* FindCall(ApiCallType id) noexcept {
  const uint32_t value = static_cast<uint16_t>(id);
  return value >= kFirstGLCall ? FindById(kGLCalls, kGLSlots, value - kFirstGLCall)
                               : FindById(kEGLCalls, kEGLSlots, value - kFirstEGLCall);
}

const CallDesc* FindCall(std::string_view name) noexcept {
  const std::span<const CallDesc> calls = name.starts_with("egl") ? kEGLCalls : kGLCalls;
  const auto found = std::ranges::find(calls, name, &CallDesc::name);
  return found != calls.end() ? &*found : nullptr;
}

std::span<const CallDesc> AllCalls(Api api) noexcept {
  return api == Api::kEGL ? kEGLCalls : kGLCalls;
}

const char* CallClassName(CallClass callClass) noexcept {
  switch (callClass) {
    case CallClass::kDraw:
      return "draw";
    case CallClass::kCompute:
      return "compute";
    case CallClass::kTransfer:
      return "transfer";
    case CallClass::kUpload:
      return "upload";
    case CallClass::kCreate:
      return "create";
    case CallClass::kDelete:
      return "delete";
    case CallClass::kState:
      return "state";
    case CallClass::kQuery:
      return "query";
    case CallClass::kSync:
      return "sync";
    case CallClass::kMarker:
      return "marker";
    case CallClass::kPresent:
      return "present";
  }
  return "";
}

const char* EnumerantName(Api api, const TypeDesc& type, uint32_t value) noexcept {
  if (const char* name = FindName(type.names, value)) {
    return name;
  }
  return FindName(api == Api::kEGL ? kEGLEnumNames : kGLEnumNames, value);
}

}  // namespace Data
