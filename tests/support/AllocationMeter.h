// Watches the arrays that are allocated.
#ifndef DCAPKIT_TESTS_ALLOCATIONMETER_H
#define DCAPKIT_TESTS_ALLOCATIONMETER_H

#include <cstddef>

/// Knows the largest array allocated with `new[]`, anywhere in the process, and can make larger
/// ones fail. One at a time.
class AllocationMeter {
 public:
  /// Arrays of more than `limit` bytes throw `std::bad_alloc` while the meter lives.
  explicit AllocationMeter(size_t limit = static_cast<size_t>(-1));
  ~AllocationMeter();
  AllocationMeter(const AllocationMeter&) = delete;
  AllocationMeter& operator=(const AllocationMeter&) = delete;

  /// Bytes asked for at once since the meter was made, granted or not.
  [[nodiscard]] static size_t Largest();
};

#endif  // DCAPKIT_TESTS_ALLOCATIONMETER_H
