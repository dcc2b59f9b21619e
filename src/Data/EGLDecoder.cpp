// The decoder itself; its handlers are in the generated EGLHandlers.cpp, their dispatch in
// EGLDispatch.cpp.
#include "Data/EGLDecoder.h"

#include "Data/Calls/Detail/CallDescriptions.h"
#include "Data/Detail/Registry.h"

namespace Data {

EGLDecoder::EGLDecoder() = default;
EGLDecoder::~EGLDecoder() = default;

void EGLDecoder::AddAdapter(EGLAdapter* adapter) { adapters_.push_back(adapter); }

void EGLDecoder::RemoveAdapter(EGLAdapter* adapter) { RemoveFirst(adapters_, adapter); }

bool EGLDecoder::SupportsId(ApiCallType id) {
  return static_cast<uint32_t>(id) - kFirstEGLCall < kEGLCallIds;
}

void EGLDecoder::ProcessThreadChange(uint32_t threadId) {
  for (EGLAdapter* adapter : adapters_) {
    adapter->ProcessThreadChange(threadId);
  }
}

}  // namespace Data
