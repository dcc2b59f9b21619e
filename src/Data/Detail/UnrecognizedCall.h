// Logs identifiers that a decoder has no handler for. Private to the library.
#ifndef DCAPKIT_DATA_UNRECOGNIZEDCALL_H
#define DCAPKIT_DATA_UNRECOGNIZEDCALL_H

#include "Core/Log.h"
#include "Data/ApiCallType.h"

namespace Data {

[[gnu::cold, gnu::noinline]] inline void LogUnrecognizedCall(ApiCallType id, const char* unit) {
  constexpr int kSite = 82;
  Core::Log::Print(Core::Log::LogLevel::kNotice, Core::Log::LogZone::kProcessing, kSite, unit, true,
                   "Unrecognized API call ID: %d.", static_cast<int>(id));
}

}  // namespace Data

#endif  // DCAPKIT_DATA_UNRECOGNIZEDCALL_H
