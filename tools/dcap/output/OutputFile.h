// Files that commands write.
#ifndef DCAP_OUTPUTFILE_H
#define DCAP_OUTPUTFILE_H

#include <memory>
#include <string>

#include <sys/types.h>

#include "Core/DataWriter.h"

/// A file that appears under its name complete or not at all: it is written beside that name and
/// takes its place at the end. A file that stood there before stays until then, and leaves its
/// mode. When a signal ends the process, the unfinished file is removed. Where the name is that of
/// a device or a pipe, the bytes go straight to it. One at a time.
class OutputFile {
 public:
  /// Throws `OutputError`, as all operations do.
  explicit OutputFile(const std::string& path);

  /// The file itself, to be written from its start on. When that fails, call `Fail` next.
  [[nodiscard]] const std::shared_ptr<Core::DataWriter>& Writer() const { return writer_; }

  /// Brings all bytes onto the storage device and gives the file its name. Without it, the
  /// destructor removes them.
  void Commit();

  /// Throws an error with the name of the file and the cause that the latest system call left in
  /// errno.
  [[noreturn]] void Fail() const;

 private:
  // The file while it is written. There is none for devices.
  class Temporary {
   public:
    Temporary() = default;
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary();

    [[nodiscard]] bool Exists() const { return file_ >= 0; }
    [[nodiscard]] const std::string& Path() const { return path_; }
    // `replaced` is the mode of the file that stands at `path`, null for none. False on an error.
    bool Create(const std::string& path, const mode_t* replaced);
    bool MoveTo(const std::string& path);

   private:
    std::string path_;
    int file_ = -1;
    mode_t mode_ = 0;  // that it gets in the end
  };

  std::string path_;
  Temporary temporary_;
  std::shared_ptr<Core::DataWriter> writer_;
};

#endif  // DCAP_OUTPUTFILE_H
