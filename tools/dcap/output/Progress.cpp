#include "output/Progress.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr size_t kBarWidth = 30;

std::atomic<bool> isShown = false;

size_t TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

}  // namespace

Progress::Progress(const std::string& path, uint64_t total)
    : name_(path.substr(path.rfind('/') + 1)),
      total_(total),
      nextShow_(Clock::now() + kPatience),
      isEnabled_(total != 0 && isatty(STDERR_FILENO) != 0) {
  // If the terminal breaks the line, it cannot be erased.
  constexpr size_t kOthers = kBarWidth + sizeof(" [] 100 %");
  const size_t width = TerminalWidth();
  name_.resize(std::min(name_.size(), width > kOthers ? width - kOthers : 0));
}

void Progress::Update(uint64_t done) {
  const Clock::time_point now = Clock::now();
  if (now < nextShow_) return;
  nextShow_ = now + kInterval;
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
  std::string bar(static_cast<size_t>(part * kBarWidth), '#');
  bar.resize(kBarWidth, '.');
  isShown = true;
  std::fprintf(stderr, "\r\033[K%s [%s] %3d %%", name_.c_str(), bar.c_str(),
               static_cast<int>(100 * part));
  std::fflush(stderr);
}

void Progress::Hide() {
  if (isShown.exchange(false)) std::fputs("\r\033[K", stderr);
}
