#include "Data/Calls/GenericAdapter.h"

#include "Data/Generated/EGLForwarder.h"
#include "Data/Generated/GLForwarder.h"

namespace Data {

GenericAdapter::GenericAdapter()
    : eglAdapter_(std::make_unique<EGLForwarder>(this)),
      glAdapter_(std::make_unique<GLForwarder>(this)) {}

GenericAdapter::~GenericAdapter() = default;

void GenericAdapter::ProcessThreadChange(Api /*api*/, uint32_t /*threadId*/) {}

void GenericAdapter::ProcessCall(const CallDesc& /*call*/, std::span<const CallValue> /*values*/) {}

void GenericAdapter::ProcessClientData(const CallDesc& /*operation*/,
                                       std::span<const CallValue> /*values*/) {}

}  // namespace Data
