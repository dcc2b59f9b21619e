#include "Data/Decoder.h"

#include "Core/Log.h"

namespace Data {

Decoder::~Decoder() = default;

void Decoder::LogCutValue() {
  constexpr int kSite = 62;
  Core::Log::Print(Core::Log::LogLevel::kError, Core::Log::LogZone::kProcessing, kSite,
                   "src/Data/Decoder", true,
                   "DCAP API call block parameter decoding error: block is too small to contain "
                   "all expected parameter data");
}

}  // namespace Data
