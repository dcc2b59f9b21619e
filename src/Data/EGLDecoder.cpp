// The decoder itself; its handlers are in the generated EGLHandlers.cpp, their dispatch in
// EGLDispatch.cpp.
#include "Data/EGLDecoder.h"

namespace Data {

namespace {

// Takes the places of removed adapters (`Data/Registry.h`).
EGLAdapter nobody;

}  // namespace

EGLDecoder::EGLDecoder() : adapters_(&nobody) {}
EGLDecoder::~EGLDecoder() = default;

void EGLDecoder::AddAdapter(EGLAdapter* adapter) { adapters_.Add(adapter); }

void EGLDecoder::RemoveAdapter(EGLAdapter* adapter) { adapters_.Remove(adapter); }

bool EGLDecoder::SupportsId(ApiCallType id) {
  return static_cast<uint32_t>(id) - kFirstEGLCall < kEGLCallIds;
}

void EGLDecoder::ProcessThreadChange(uint32_t threadId) {
  for (EGLAdapter* adapter : adapters_) {
    adapter->ProcessThreadChange(threadId);
  }
}

}  // namespace Data
