#include "output/OutputFile.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/Exceptions.h"

namespace {

// The file that a signal removes before it ends the process.
std::atomic<const char*> doomed = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free);

void RemoveAndDie(int signal) {
  if (const char* path = doomed) unlink(path);
  raise(signal);  // which has its usual effect again
}

void RemoveOnSignals(const char* path) {
  doomed = path;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = RemoveAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

bool Synchronize(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool done = fsync(file) == 0;
  const int error = errno;
  close(file);
  errno = error;
  return done;
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  struct stat status {};
  const bool exists = stat(path_.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    Fail();
  }
  if (!exists || S_ISREG(status.st_mode)) {
    const std::string name = path_ + "." + std::to_string(getpid()) + ".tmp";
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) Fail();
    temporary_ = name;
    RemoveOnSignals(temporary_.c_str());
    if (exists) static_cast<void>(fchmod(file, status.st_mode & 07777));
    close(file);
  }
  writer_ =
      std::make_shared<Core::StdioWriter>(temporary_.empty() ? path_ : temporary_, false, true);
  if (!writer_->IsValid()) Fail();
}

OutputFile::~OutputFile() {
  if (temporary_.empty()) return;
  unlink(temporary_.c_str());
  doomed = nullptr;
}

void OutputFile::Write(const void* buffer, uint64_t size) {
  if (writer_->Write(buffer, size) != size) Fail();
}

void OutputFile::Commit() {
  if (!writer_->Flush()) Fail();
  if (temporary_.empty()) return;
  if (!Synchronize(temporary_) || std::rename(temporary_.c_str(), path_.c_str()) != 0) Fail();
  doomed = nullptr;
  temporary_.clear();
  const size_t slash = path_.rfind('/');
  // Where folders cannot be synchronised, the name lasts as well as such a system lets it.
  Synchronize(slash == std::string::npos ? "." : path_.substr(0, slash + 1));
}

void OutputFile::Fail() const {
  const int error = errno;
  throw Core::ErrnoException(static_cast<unsigned int>(error),
                             "Cannot write " + path_ + ": " + std::strerror(error));
}
