#include "Core/MappedReader.h"

#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Core {

namespace {

std::optional<std::span<const uint8_t>> MapRegularFile(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
    return {};
  }
  const auto size = static_cast<size_t>(status.st_size);
  if (size == 0) {
    return std::span<const uint8_t>();  // which mmap refuses
  }
  void* bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
  if (bytes == MAP_FAILED) {
    return {};
  }
  return std::span(static_cast<const uint8_t*>(bytes), size);
}

}  // namespace

MappedReader::MappedReader(const std::string& path) : MemoryReader(std::span<const uint8_t>()) {
  int file = -1;
  do {
    // Opening a pipe for reading would otherwise wait for a writer.
    file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  } while (file < 0 && errno == EINTR);
  const auto mapping = file < 0 ? std::nullopt : MapRegularFile(file);
  if (file >= 0) {
    close(file);  // the mapping stays
  }
  if (mapping) {
    mapping_ = *mapping;
    Show(mapping_);
  } else {
    Close();
  }
}

MappedReader::~MappedReader() {
  if (!mapping_.empty()) {
    munmap(const_cast<uint8_t*>(mapping_.data()), mapping_.size());
  }
}

}  // namespace Core
