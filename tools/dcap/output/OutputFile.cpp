#include "output/OutputFile.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/StdioWriter.h"

#include "inspect/listing/OutputError.h"

namespace {

// The file that a signal removes before it ends the process.
std::atomic<const char*> doomed = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free);

void RemoveAndDie(int signal) {
  if (const char* path = doomed) unlink(path);
  raise(signal);  // SA_RESETHAND has restored its usual effect
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
  close(file);
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
  if ((!exists || S_ISREG(status.st_mode)) &&
      !temporary_.Create(path_, exists ? &status.st_mode : nullptr)) {
    Fail();
  }
  writer_ = std::make_shared<Core::StdioWriter>(temporary_.Exists() ? temporary_.Path() : path_,
                                                false, true);
  if (!writer_->IsValid()) Fail();
}

void OutputFile::Fail() const { throw Inspect::OutputError("Cannot write " + path_, errno); }

void OutputFile::Commit() {
  if (!writer_->Flush()) Fail();
  if (!temporary_.Exists()) return;
  if (!temporary_.MoveTo(path_)) Fail();
  const size_t slash = path_.rfind('/');
  // Some systems cannot synchronise a folder. They decide themselves when a name is durable.
  Synchronize(slash == std::string::npos ? "." : path_.substr(0, slash + 1));
}

bool OutputFile::Temporary::Create(const std::string& path, const mode_t* replaced) {
  path_ = path + "." + std::to_string(getpid()) + ".tmp";
  file_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
               replaced != nullptr ? 0600 : 0666);
  if (file_ < 0) return false;
  RemoveOnSignals(path_.c_str());
  struct stat status {};
  if (fstat(file_, &status) != 0) return false;
  mode_ = (replaced != nullptr ? *replaced : status.st_mode) & 07777;
  // The writer opens the file by its name, so its mode must not be read-only yet.
  static_cast<void>(fchmod(file_, 0600));
  return true;
}

bool OutputFile::Temporary::MoveTo(const std::string& path) {
  static_cast<void>(fchmod(file_, mode_));
  if (fsync(file_) != 0 || std::rename(path_.c_str(), path.c_str()) != 0) return false;
  doomed = nullptr;
  close(std::exchange(file_, -1));
  return true;
}

OutputFile::Temporary::~Temporary() {
  if (file_ < 0) return;
  unlink(path_.c_str());
  doomed = nullptr;
  close(file_);
}
