#include "HeaderReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned long kWindowSize = 64ul << 10;
// Headers closer together than this come cheaper by the window than one by one.
constexpr uint64_t kNear = 4096;
constexpr size_t kMaxKept = size_t{256} << 10;  // 6 MiB of them

int OpenFile(const std::string& path) {
  int file = -1;
  do {
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  } while (file < 0 && errno == EINTR);
  return file;
}

}  // namespace

HeaderReader::HeaderReader(const std::string& path)
    : file_(OpenFile(path)),
      window_(std::make_unique_for_overwrite<unsigned char[]>(kWindowSize)) {}

HeaderReader::~HeaderReader() {
  if (file_ >= 0) close(file_);
}

unsigned long HeaderReader::Read(void* buffer, unsigned long size) {
  auto* destination = static_cast<unsigned char*>(buffer);
  unsigned long done = 0;
  while (done < size) {
    // Of a position before the window the difference is large, too.
    if (position_ - begin_ >= size_ && !Fetch()) break;
    const unsigned long offset = position_ - begin_;
    const unsigned long count = std::min(size - done, size_ - offset);
    std::memcpy(destination + done, window_.get() + offset, count);
    position_ += count;
    done += count;
  }
  return done;
}

// Fills the window with what lies at position_. False when nothing is there.
bool HeaderReader::Fetch() {
  const bool isNear = position_ - (begin_ + size_) < kNear;
  begin_ = position_;
  if (Recall()) return true;
  size_ = ReadAt(begin_, window_.get(), isNear ? kWindowSize : kHeaderSize);
  const bool isNext = kept_.empty() || kept_.back().position < begin_;
  if (size_ == kHeaderSize && isNext && kept_.size() < kMaxKept) {
    Header& header = kept_.emplace_back();
    header.position = begin_;
    std::memcpy(header.bytes.data(), window_.get(), kHeaderSize);
  }
  return size_ != 0;
}

bool HeaderReader::Recall() {
  if (kept_.empty() || kept_.back().position < position_) return false;
  if (nextKept_ == kept_.size() || kept_[nextKept_].position != position_) {
    const auto header = std::lower_bound(
        kept_.begin(), kept_.end(), position_,
        [](const Header& kept, uint64_t position) { return kept.position < position; });
    nextKept_ = static_cast<size_t>(header - kept_.begin());
    if (header == kept_.end() || header->position != position_) return false;
  }
  std::memcpy(window_.get(), kept_[nextKept_++].bytes.data(), kHeaderSize);
  size_ = kHeaderSize;
  return true;
}

unsigned long HeaderReader::ReadAt(uint64_t position, void* buffer, unsigned long size) const {
  ssize_t count = 0;
  do {
    count = pread(file_, buffer, size, static_cast<off_t>(position));
  } while (count < 0 && errno == EINTR);
  return count < 0 ? 0 : static_cast<unsigned long>(count);
}

uint64_t HeaderReader::Size() const {
  struct stat status {};
  return fstat(file_, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

int HeaderReader::Seek(int origin, int64_t offset) {
  const uint64_t base = origin == SEEK_CUR ? position_ : origin == SEEK_END ? Size() : 0;
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  position_ = static_cast<uint64_t>(target);
  return 0;
}
