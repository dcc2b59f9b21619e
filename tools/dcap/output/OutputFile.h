// A file that a command writes.
#ifndef DCAP_OUTPUTFILE_H
#define DCAP_OUTPUTFILE_H

#include <memory>
#include <string>

#include <sys/types.h>

#include "Core/DataWriter.h"

/// A file that appears under its name complete or not at all: it is written under another name
/// beside it and renamed at the end. It replaces a file that stood there before and takes over its
/// mode. When a signal ends the process, the unfinished file is removed. Bytes for a device or a
/// pipe go straight to it. A process may have one such object at a time.
class OutputFile {
 public:
  /// Throws `OutputError`, as all operations do.
  explicit OutputFile(std::string path);

  /// Writes the file from its start on. When it fails, call `Fail` next.
  [[nodiscard]] const std::shared_ptr<Core::DataWriter>& Writer() const { return writer_; }

  /// Brings all bytes onto the storage device and gives the file its name. A file that is not
  /// committed is removed by the destructor.
  void Commit();

  /// Throws an error with the name of the file and the cause in errno.
  [[noreturn]] void Fail() const;

 private:
  // The file while it is written. It does not exist for devices.
  class Temporary {
   public:
    Temporary() = default;
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary();

    [[nodiscard]] bool Exists() const { return file_ >= 0; }
    [[nodiscard]] const std::string& Path() const { return path_; }
    // `replaced` is the mode of the file at `path`, null when there is none. False on an error.
    bool Create(const std::string& path, const mode_t* replaced);
    bool MoveTo(const std::string& path);

   private:
    std::string path_;
    int file_ = -1;
    mode_t mode_ = 0;  // to be set at the end
  };

  std::string path_;
  Temporary temporary_;
  std::shared_ptr<Core::DataWriter> writer_;
};

#endif  // DCAP_OUTPUTFILE_H
