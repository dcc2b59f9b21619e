// A file that is opened by its name once.
#ifndef DCAP_INSPECT_OPENEDFILE_H
#define DCAP_INSPECT_OPENEDFILE_H

#include <string>

namespace Inspect {

/// Holds a regular file open, so that all its readers read the same file even when another one
/// takes its name.
class OpenedFile {
 public:
  /// Throws nothing. Opens only regular files: to open a pipe twice would lose its writer.
  explicit OpenedFile(const std::string& path);
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;
  ~OpenedFile();

  /// A path that opens this very file while the object lives. It is the path that was given where
  /// the file could not be opened, and on systems without /proc.
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
  int file_ = -1;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_OPENEDFILE_H
