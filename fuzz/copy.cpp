// A whole file, copied: what the copy holds copies to itself; calls encoded again encode to
// themselves.
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "Core/Exceptions.h"

#include "CaptureMutator.h"
#include "PrintedEvents.h"
#include "support/CopyCapture.h"
#include "support/MemoryWriter.h"
#include "support/Reencoder.h"

namespace {

std::vector<uint8_t> Reencode(std::span<const uint8_t> capture) {
  auto memory = std::make_shared<MemoryWriter>();
  Reencoder reencoder(memory);
  reencoder.writesWhatComesOut = true;
  try {
    Process(capture, &reencoder);
  } catch (const Core::BasicException&) {
    // What came before the damage is whole.
  } catch (const std::bad_alloc&) {
  }
  reencoder.Close();
  return memory->bytes;
}

// The capture that `copy` makes of the bytes must be one that it returns as it is.
template <typename Copy>
void CheckCopy(std::span<const uint8_t> bytes, Copy copy) {
  std::vector<uint8_t> once;
  try {
    once = copy(bytes);
  } catch (const Core::BasicException&) {
    return;
  }
  if (copy(once) != once) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  CheckCopy({data, size}, CopyCapture);
  CheckCopy({data, size}, Reencode);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  return MutateCapture(data, size, maxSize, seed);
}
