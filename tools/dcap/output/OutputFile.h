// Files that commands write.
#ifndef DCAP_OUTPUTFILE_H
#define DCAP_OUTPUTFILE_H

#include <memory>
#include <string>

#include "Core/DataWriter.h"
#include "Core/StdioWriter.h"

/// A file that appears under its name complete or not at all: it is written beside that name and
/// takes its place at the end. What stood there before stays until then. When a signal ends the
/// process, what was written is removed. Where the name is that of a device or a pipe, the bytes go
/// straight to it. One at a time.
class OutputFile {
 public:
  /// Throws `Core::ErrnoException`, as all operations do, with the name and the cause in its text.
  explicit OutputFile(std::string path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  /// Removes what was written, unless it was committed.
  ~OutputFile();

  void Write(const void* buffer, uint64_t size);

  /// For those who write through a stream. After it has failed, `Fail` tells why.
  [[nodiscard]] std::shared_ptr<Core::DataWriter> Writer() const { return writer_; }

  /// Brings all bytes onto the storage device and gives the file its name.
  void Commit();

  /// Throws what the latest system call left in errno.
  [[noreturn]] void Fail() const;

 private:
  std::string path_;
  std::string temporary_;  // empty once committed, and for devices
  std::shared_ptr<Core::StdioWriter> writer_;
};

#endif  // DCAP_OUTPUTFILE_H
