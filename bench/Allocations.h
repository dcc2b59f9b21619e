// Counts what is allocated.
#ifndef DCAPKIT_BENCH_ALLOCATIONS_H
#define DCAPKIT_BENCH_ALLOCATIONS_H

#include <cstdint>

/// Calls of operator new and new[] so far, in the whole process.
uint64_t AllocationCount();

#endif  // DCAPKIT_BENCH_ALLOCATIONS_H
