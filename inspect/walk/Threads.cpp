#include "inspect/walk/Threads.h"

#include <algorithm>
#include <thread>

namespace Inspect {

namespace {

// One thread has read a smaller capture before further ones have started.
constexpr uint64_t kSmallCapture = uint64_t{1} << 20;

}  // namespace

unsigned ThreadsFor(unsigned jobs, uint64_t size) {
  if (jobs == 0 && size >= kSmallCapture) jobs = std::thread::hardware_concurrency();
  return std::clamp(jobs, 1u, kMaxThreads);
}

}  // namespace Inspect
