#include "inspect/walk/OpenedFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Inspect {

namespace {

bool IsRegular(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

OpenedFile::OpenedFile(const std::string& path) : path_(path) {
  if (!IsRegular(path)) return;
  do {
    file_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  } while (file_ < 0 && errno == EINTR);
  // A path, as each reader needs a descriptor of its own: threads that share one would serialise.
  std::string again = "/proc/self/fd/" + std::to_string(file_);
  if (file_ >= 0 && access(again.c_str(), R_OK) == 0) path_ = std::move(again);
}

OpenedFile::~OpenedFile() {
  if (file_ >= 0) close(file_);
}

}  // namespace Inspect
