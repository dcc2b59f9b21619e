// A whole file: processor, both decoders, metadata and the generic adapter.
#include <memory>
#include <new>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/DCAPFileProcessor.h"

#include "CaptureMutator.h"
#include "PrintedEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  AllPrinters& printers = AllPrinters::Shared();
  Inspect::EventConsumer consumer(&printers);
  const auto reader = std::make_shared<Core::MemoryReader>(std::span(data, size));
  try {
    Data::DCAPFileProcessor processor;
    processor.Initialize(&consumer, reader, size);
    while (processor.ProcessNextBlock()) {
    }
  } catch (const Core::BasicException&) {
  } catch (const std::bad_alloc&) {
  }
  printers.Flush();
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  return MutateCapture(data, size, maxSize, seed);
}
