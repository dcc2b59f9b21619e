// The generated descriptions behind Data/Calls/CallTable.h. Private to the library.
#ifndef DCAPKIT_DATA_CALLDESCRIPTIONS_H
#define DCAPKIT_DATA_CALLDESCRIPTIONS_H

#include <cstdint>
#include <span>

#include "Data/Calls/CallTable.h"

namespace Data {

inline constexpr uint16_t kNoCall = 0xFFFF;

// In the order of the adapters' operations.
extern const std::span<const CallDesc> kEGLCalls;
extern const std::span<const CallDesc> kGLCalls;

// Index into the calls by identifier, counted from the first of the API; kNoCall when reserved.
extern const std::span<const uint16_t> kEGLSlots;
extern const std::span<const uint16_t> kGLSlots;

// Sorted by value.
extern const std::span<const EnumName> kEGLEnumNames;
extern const std::span<const EnumName> kGLEnumNames;

}  // namespace Data

#endif  // DCAPKIT_DATA_CALLDESCRIPTIONS_H
