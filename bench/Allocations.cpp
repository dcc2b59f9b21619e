#include "Allocations.h"

#include <cstdlib>
#include <new>

namespace {

uint64_t count = 0;

}  // namespace

uint64_t AllocationCount() { return count; }

// The array forms come here too.
void* operator new(size_t size) {
  ++count;
  void* memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
