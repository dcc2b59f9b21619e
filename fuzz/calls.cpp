// The payload of one call: the first two bytes choose which.
#include <cstring>
#include <new>

#include "Data/Calls/CallTable.h"

#include "PrintedEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  if (size < sizeof(uint16_t)) {
    return 0;
  }
  uint16_t choice = 0;
  std::memcpy(&choice, data, sizeof(choice));
  const auto egl = Data::AllCalls(Data::Api::kEGL);
  const auto gl = Data::AllCalls(Data::Api::kGLES);
  const size_t index = choice % (egl.size() + gl.size());
  const Data::CallDesc& call = index < egl.size() ? egl[index] : gl[index - egl.size()];

  FrameOfEvents frame;
  const uint64_t before = FrameOfEvents::PrintedBytes();
  try {
    frame.consumer.ProcessFunctionCall({}, {static_cast<uint16_t>(call.id)}, data + sizeof(choice),
                                       static_cast<unsigned int>(size - sizeof(choice)));
  } catch (const std::bad_alloc&) {
    return 0;
  }
  if (FrameOfEvents::PrintedBytes() == before) {
    __builtin_trap();  // whatever its payload, a call is a call
  }
  return 0;
}
