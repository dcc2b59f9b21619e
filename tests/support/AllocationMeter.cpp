#include "support/AllocationMeter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr size_t kNoLimit = static_cast<size_t>(-1);
std::atomic<size_t> arrayLimit = kNoLimit;
std::atomic<size_t> largestArray = 0;

}  // namespace

void* operator new[](size_t size) {
  if (size > largestArray) largestArray = size;
  void* array = size > arrayLimit ? nullptr : std::malloc(size != 0 ? size : 1);
  if (array == nullptr) throw std::bad_alloc();
  return array;
}

void operator delete[](void* array) noexcept { std::free(array); }
void operator delete[](void* array, size_t) noexcept { std::free(array); }

AllocationMeter::AllocationMeter(size_t limit) {
  arrayLimit = limit;
  largestArray = 0;
}

AllocationMeter::~AllocationMeter() { arrayLimit = kNoLimit; }

size_t AllocationMeter::Largest() { return largestArray; }
