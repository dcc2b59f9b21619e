#include "Progress.h"

#include <cstdio>
#include <utility>

#include <unistd.h>

namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(std::string name, uint64_t total)
    : name_(std::move(name)),
      total_(total),
      nextShow_(Clock::now() + kPatience),
      enabled_(total != 0 && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::Show(uint64_t done) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now < nextShow_) return;
  nextShow_ = now + kInterval;
  shown_ = true;
  std::fprintf(stderr, "\r\033[K%s: %d %%", name_.c_str(),
               static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total_)));
  std::fflush(stderr);
}
