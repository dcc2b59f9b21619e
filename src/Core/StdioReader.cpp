#include "Core/StdioReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

#include "Core/Detail/CopyBytes.h"

namespace Core {

namespace {

constexpr unsigned long kLargestFetch = 1024ul * 1024;
// Room for a payload of 1 MiB with all around it, to be shown where it lies.
constexpr unsigned long kBufferSize = kLargestFetch + 64ul * 1024;
constexpr unsigned long kFirstFetch = 4096;
constexpr unsigned long kFetchGrowth = 4;

std::FILE* OpenFile(const std::string& path) {
  std::FILE* file = nullptr;
  do {
    file = std::fopen(path.c_str(), "rbe");
  } while (file == nullptr && errno == EINTR);
  return file;
}

bool IsDirectory(std::FILE* file) {
  struct stat status {};
  return fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

void StdioReader::Closer::operator()(std::FILE* file) const { std::fclose(file); }

StdioReader::StdioReader(const std::string& path) : file_(OpenFile(path)) {
  if (file_ && IsDirectory(file_.get())) {
    file_.reset();
  }
  if (!file_) {
    return;
  }
  // The buffer here is the only one: what fread is asked for goes to the system as it is.
  static_cast<void>(std::setvbuf(file_.get(), nullptr, _IONBF, 0));
  buffer_ = std::make_unique_for_overwrite<unsigned char[]>(kBufferSize + kLine);
  next_ = limit_ = begin_ = buffer_.get();
  fetchSize_ = kFirstFetch;
  seekable_ = fseeko(file_.get(), 0, SEEK_SET) == 0;
  viewable_ = seekable_ && StdioReader::Size() != 0;
}

StdioReader::~StdioReader() = default;

bool StdioReader::IsValid() const { return file_ != nullptr; }

void StdioReader::Close() {
  file_.reset();
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

// Reads what follows limitPosition_ and moves it on.
unsigned long StdioReader::FetchBytes(unsigned char* destination, unsigned long size) const {
  if (!file_ || endHit_) {
    return 0;
  }
  if (filePosition_ != limitPosition_) {
    if (fseeko(file_.get(), static_cast<off_t>(limitPosition_), SEEK_SET) != 0) {
      endHit_ = true;  // farther than any file reaches
      return 0;
    }
    filePosition_ = limitPosition_;
  }
  unsigned long done = 0;
  while (done < size) {
    done += std::fread(destination + done, 1, size - done, file_.get());
    if (done < size) {
      const int error = errno;
      endHit_ = std::feof(file_.get()) != 0;
      std::clearerr(file_.get());
      if (endHit_ || error != EINTR) {
        break;
      }
    }
  }
  filePosition_ += done;
  limitPosition_ = filePosition_;
  return done;
}

uint64_t StdioReader::Size() const {
  struct stat status {};
  if (!file_ || fstat(fileno(file_.get()), &status) != 0 || !S_ISREG(status.st_mode)) {
    return 0;
  }
  return static_cast<uint64_t>(status.st_size);
}

bool StdioReader::AtEof() const {
  if (next_ != limit_) {
    return false;
  }
  if (viewable_ && !endHit_ && file_ && Tell() < Size()) {
    return false;  // what the buffer holds may be on show
  }
  return !file_ || endHit_ || (!Fill() && endHit_);
}

int StdioReader::Seek(int origin, int64_t offset) {
  if (!file_) {
    return -1;
  }
  int64_t base = 0;
  if (origin == SEEK_CUR) {
    base = static_cast<int64_t>(Tell());
  } else if (origin == SEEK_END) {
    if (!seekable_ || fseeko(file_.get(), 0, SEEK_END) != 0) {
      return -1;
    }
    base = ftello(file_.get());
    if (base < 0) {
      return -1;
    }
    filePosition_ = static_cast<uint64_t>(base);
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
  const uint64_t back = limitPosition_ - position;
  if (position <= limitPosition_ && back <= static_cast<uint64_t>(limit_ - begin_)) {
    next_ = limit_ - back;
    endHit_ = false;
    return true;
  }
  if (!seekable_) {
    if (position < limitPosition_) {
      return false;
    }
    while (limitPosition_ < position && Fill()) {
    }
    if (limitPosition_ >= position) {
      next_ = limit_ - (limitPosition_ - position);
      return true;
    }
    if (!endHit_) {
      next_ = limit_;
      return false;
    }
  }
  next_ = limit_ = begin_;
  limitPosition_ = position;
  fetchSize_ = kFirstFetch;
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
  if (!viewable_ || !file_ || count > kBufferSize) {
    return false;
  }
  const auto rest = static_cast<unsigned long>(limit_ - next_);
  unsigned char* begin = LineUp(buffer_.get(), limitPosition_ - rest);
  std::memmove(begin, next_, rest);
  next_ = begin_ = begin;
  limit_ = begin + rest;
  // Little more than a large piece, so that little of the next one has to be moved.
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
