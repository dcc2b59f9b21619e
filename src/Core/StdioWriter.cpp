#include "Core/StdioWriter.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace Core {

namespace {

constexpr uint64_t kBufferSize = uint64_t{256} * 1024;

std::FILE* OpenFile(const std::string& path, bool create) {
  std::FILE* file = nullptr;
  do {
    file = std::fopen(path.c_str(), create ? "wbe" : "r+be");
  } while (file == nullptr && errno == EINTR);
  return file;
}

}  // namespace

void StdioWriter::Closer::operator()(std::FILE* file) const { std::fclose(file); }

StdioWriter::StdioWriter(const std::string& path, bool durable, bool create)
    : file_(OpenFile(path, create)), durable_(durable) {
  if (!file_) {
    return;
  }
  // The buffer of this class is the only one: fwrite hands its bytes to the system at once.
  static_cast<void>(std::setvbuf(file_.get(), nullptr, _IONBF, 0));
  if (fseeko(file_.get(), 0, SEEK_END) == 0) {
    const off_t end = ftello(file_.get());
    storedEnd_ = filePosition_ = end < 0 ? 0 : static_cast<uint64_t>(end);
  }
}

StdioWriter::~StdioWriter() { EmptyBuffer(); }

bool StdioWriter::IsValid() const { return file_ != nullptr; }

uint64_t StdioWriter::Write(const void* buffer, uint64_t size) {
  if (!file_ || failed_ || size == 0) {
    return 0;
  }
  if (!buffer_) {
    buffer_ = std::make_unique_for_overwrite<unsigned char[]>(kBufferSize);
  }
  if (size > kBufferSize - used_ && !EmptyBuffer()) {
    return 0;
  }
  const auto* source = static_cast<const unsigned char*>(buffer);
  if (size < kBufferSize) {
    std::memcpy(buffer_.get() + used_, source, size);
    used_ += size;
    return size;
  }
  const uint64_t stored = StoreBytes(source, size, storedEnd_);
  storedEnd_ += stored;
  failed_ = stored != size;
  return stored;
}

bool StdioWriter::Flush() { return file_ && EmptyBuffer() && Synchronize(); }

uint64_t StdioWriter::WriteAt(const void* buffer, uint64_t size, uint64_t offset) {
  const uint64_t end = offset + size;
  if (!file_ || failed_ || size == 0 || end < size || end > INT64_MAX) {
    return 0;
  }
  const auto* source = static_cast<const unsigned char*>(buffer);
  if (!durable_ && offset >= storedEnd_ && end <= storedEnd_ + used_) {
    std::memcpy(buffer_.get() + (offset - storedEnd_), source, size);
    return size;
  }
  // Appended bytes go first where the patch overlaps or follows them, or where `durable` promises
  // order.
  if ((durable_ || end > storedEnd_) && !EmptyBuffer()) {
    return 0;
  }
  const uint64_t stored = StoreBytes(source, size, offset);
  if (stored != 0 && offset + stored > storedEnd_) {
    storedEnd_ = offset + stored;
  }
  return Synchronize() ? stored : 0;
}

bool StdioWriter::EmptyBuffer() {
  if (used_ != 0 && !failed_) {
    // Once appended bytes are lost, later ones would stand in the wrong place: nothing more is
    // written.
    failed_ = StoreBytes(buffer_.get(), used_, storedEnd_) != used_;
    storedEnd_ += used_;
    used_ = 0;
  }
  return !failed_;
}

// With `durable`, waits for the device; true also where there is none, as behind a pipe.
bool StdioWriter::Synchronize() {
  return !durable_ || fdatasync(fileno(file_.get())) == 0 || errno == EINVAL || errno == EROFS;
}

uint64_t StdioWriter::StoreBytes(const unsigned char* source, uint64_t size, uint64_t offset) {
  if (filePosition_ != offset) {
    if (fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) != 0) {
      return 0;
    }
    filePosition_ = offset;
  }
  uint64_t done = 0;
  while (done < size) {
    done += std::fwrite(source + done, 1, size - done, file_.get());
    if (done < size) {
      // A signal is no failure: the rest is written then.
      const int error = errno;
      std::clearerr(file_.get());
      if (error != EINTR) {
        break;
      }
    }
  }
  filePosition_ += done;
  return done;
}

}  // namespace Core
