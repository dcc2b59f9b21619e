#include "Core/StdioReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/Detail/CopyBytes.h"

namespace Core {

namespace {

constexpr unsigned long kLargestFetch = 1024ul * 1024;
// Room for a payload of 1 MiB with its headers, so that it can be shown in one piece.
constexpr unsigned long kBufferSize = kLargestFetch + 64ul * 1024;
// After a seek another one may follow: a walk over headers that fetched much would read the whole
// file.
constexpr unsigned long kFirstFetch = 4096;
constexpr unsigned long kFetchGrowth = 4;
// Enough for most headers of a capture, and mostly in one line of the processor's cache: more would
// cost as much again.
constexpr unsigned long kScatteredFetch = 16;

int OpenFile(const std::string& path) {
  int file = -1;
  do {
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  } while (file < 0 && errno == EINTR);
  struct stat status {};
  if (file >= 0 && fstat(file, &status) == 0 && S_ISDIR(status.st_mode)) {
    close(file);
    return -1;
  }
  return file;
}

}  // namespace

StdioReader::StdioReader(const std::string& path, Access access)
    : file_(OpenFile(path)), access_(access) {
  if (file_ < 0) return;
  buffer_ = std::make_unique_for_overwrite<unsigned char[]>(kBufferSize + kLine);
  next_ = limit_ = begin_ = buffer_.get();
  const int error = errno;  // the probe must not leave a trace
  seekable_ = lseek(file_, 0, SEEK_SET) == 0;
  errno = error;
  fetchSize_ = access == Access::kScattered ? kScatteredFetch : kFirstFetch;
  // Files of /proc say size 0 and have bytes: AtEof cannot go by the size there.
  viewable_ = seekable_ && StdioReader::Size() != 0;
}

StdioReader::~StdioReader() { StdioReader::Close(); }

bool StdioReader::IsValid() const { return file_ >= 0; }

void StdioReader::Close() {
  if (file_ >= 0) close(std::exchange(file_, -1));
  next_ = limit_ = begin_;
  limitPosition_ = 0;
}

unsigned long StdioReader::Read(void* buffer, unsigned long size) {
  // One comparison for "not empty and all in the buffer": a size of 0 wraps around.
  if (size - 1 < static_cast<unsigned long>(limit_ - next_)) [[likely]] {
    CopyBytes(buffer, next_, size);
    next_ += size;
    return size;
  }
  return ReadSlowly(static_cast<unsigned char*>(buffer), size);
}

[[gnu::noinline]] unsigned long StdioReader::ReadSlowly(unsigned char* destination,
                                                        unsigned long size) {
  unsigned long done = 0;
  while (done < size) {
    const unsigned long wanted = size - done;
    // As much as a fetch goes straight to its destination: the buffer would only add a copy.
    if (next_ == limit_ && wanted >= FetchSize()) {
      const unsigned long fetched = FetchBytes(destination + done, wanted);
      next_ = limit_ = begin_;
      GrowFetchSize();
      return done + fetched;
    }
    if (next_ == limit_ && !Fill()) {
      break;
    }
    const unsigned long count = std::min(wanted, static_cast<unsigned long>(limit_ - next_));
    CopyBytes(destination + done, next_, count);
    next_ += count;
    done += count;
  }
  return done;
}

// Replaces the buffer by the bytes that follow it; when there are none, it stays for seeking back.
bool StdioReader::Fill() const {
  unsigned char* begin = LineUp(buffer_.get(), limitPosition_);
  const unsigned long fetched = FetchBytes(begin, FetchSize());
  if (fetched == 0) {
    return false;
  }
  next_ = begin_ = begin;
  limit_ = next_ + fetched;
  GrowFetchSize();
  return true;
}

unsigned long StdioReader::FetchSize() const {
  return limitPosition_ < expectedEnd_ ? std::min(expectedEnd_ - limitPosition_, kLargestFetch)
                                       : fetchSize_;
}

void StdioReader::GrowFetchSize() const {
  fetchSize_ = std::min(fetchSize_ * kFetchGrowth, kLargestFetch);
}

// Reads the bytes that follow limitPosition_ and moves it on. An error ends the reading but not the
// stream: AtEof stays false, by which callers tell it from the end.
unsigned long StdioReader::FetchBytes(unsigned char* destination, unsigned long size) const {
  unsigned long done = 0;
  while (done < size && file_ >= 0 && !endHit_) {
    // pread takes the position along, so seeking costs no system call.
    const uint64_t position = limitPosition_ + done;
    const ssize_t count =
        seekable_ ? pread(file_, destination + done, size - done, static_cast<off_t>(position))
                  : read(file_, destination + done, size - done);
    if (count > 0) {
      done += static_cast<unsigned long>(count);
    } else if (count == 0 || errno == EINVAL) {
      endHit_ = true;  // EINVAL: farther than any file reaches
    } else if (errno != EINTR) {
      break;
    }
  }
  limitPosition_ += done;
  return done;
}

uint64_t StdioReader::Size() const {
  struct stat status {};
  if (file_ < 0 || fstat(file_, &status) != 0 || !S_ISREG(status.st_mode)) {
    return 0;
  }
  return static_cast<uint64_t>(status.st_size);
}

bool StdioReader::AtEof() const {
  if (next_ != limit_) {
    return false;
  }
  if (viewable_ && !endHit_ && file_ >= 0 && Tell() < Size()) {
    return false;  // told without a fetch, which would overwrite bytes on show
  }
  return file_ < 0 || endHit_ || (!Fill() && endHit_);
}

int StdioReader::Seek(int origin, int64_t offset) {
  if (file_ < 0) {
    return -1;
  }
  int64_t base = 0;
  if (origin == SEEK_CUR) {
    base = static_cast<int64_t>(Tell());
  } else if (origin == SEEK_END) {
    base = seekable_ ? lseek(file_, 0, SEEK_END) : -1;
    if (base < 0) {
      return -1;
    }
  } else if (origin != SEEK_SET) {
    return -1;
  }
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) {
    return -1;
  }
  return SkipTo(static_cast<uint64_t>(target)) ? 0 : -1;
}

bool StdioReader::SkipTo(uint64_t position) {
  // Fetched bytes stay behind the position, so seeking back a little costs nothing either.
  const uint64_t back = limitPosition_ - position;
  if (position <= limitPosition_ && back <= static_cast<uint64_t>(limit_ - begin_)) {
    next_ = limit_ - back;
    endHit_ = false;
    return true;
  }
  if (!seekable_) {
    // A pipe gives up the bytes between, and never the ones before.
    if (position < limitPosition_) {
      return false;
    }
    while (limitPosition_ < position && Fill()) {
    }
    if (limitPosition_ >= position) {
      next_ = limit_ - (limitPosition_ - position);
      return true;
    }
    // Behind its end a pipe is like a file: the seek succeeds, and reading gives nothing.
    if (!endHit_) {
      next_ = limit_;
      return false;
    }
  }
  // A short hop ahead is still sequential use.
  const bool isNear = position >= limitPosition_ && position - limitPosition_ < kFirstFetch;
  fetchSize_ = access_ == Access::kSequential || isNear ? kFirstFetch : kScatteredFetch;
  next_ = limit_ = begin_;
  limitPosition_ = position;
  expectedEnd_ = 0;
  endHit_ = false;
  return true;
}

std::span<const unsigned char> StdioReader::View(unsigned long atLeast, unsigned long atMost) {
  if (static_cast<unsigned long>(limit_ - next_) < atLeast && !Gather(atLeast)) {
    return {};
  }
  const unsigned char* bytes = next_;
  next_ += std::min(static_cast<unsigned long>(limit_ - next_), atMost);
  return {bytes, next_};
}

// Moves the unread bytes to the start of the buffer and fetches more until there are `count`.
bool StdioReader::Gather(unsigned long count) {
  if (!viewable_ || file_ < 0 || count > kBufferSize) {
    return false;
  }
  const auto rest = static_cast<unsigned long>(limit_ - next_);
  unsigned char* begin = LineUp(buffer_.get(), limitPosition_ - rest);
  std::memmove(begin, next_, rest);
  next_ = begin_ = begin;
  limit_ = begin + rest;
  // Fetches little more than a large piece, so that little of the next one has to be moved.
  const unsigned long wanted = limitPosition_ < expectedEnd_
                                   ? std::max(FetchSize(), count - rest)
                                   : std::max(fetchSize_, count + kFirstFetch) - rest;
  limit_ += FetchBytes(begin + rest, std::min(wanted, kBufferSize - rest));
  GrowFetchSize();
  return static_cast<unsigned long>(limit_ - next_) >= count;
}

uint64_t StdioReader::Tell() const {
  return limitPosition_ - static_cast<uint64_t>(limit_ - next_);
}

}  // namespace Core
