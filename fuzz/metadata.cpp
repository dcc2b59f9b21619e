// One metadata record: the first two bytes are type and subtype.
#include <new>

#include "PrintedEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  if (size < 2) {
    return 0;
  }
  FrameOfEvents frame;
  try {
    frame.consumer.ProcessMetadata({}, {static_cast<uint16_t>(data[0] % 6), data[1]}, data + 2,
                                   static_cast<unsigned int>(size - 2));
  } catch (const std::bad_alloc&) {
  }
  FrameOfEvents::PrintedBytes();
  return 0;
}
