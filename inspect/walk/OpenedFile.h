// A file that is opened by its name once.
#ifndef DCAP_INSPECT_OPENEDFILE_H
#define DCAP_INSPECT_OPENEDFILE_H

#include <string>

namespace Inspect {

/// Holds a regular file open, so that all who read it read the same file, even when another one
/// takes its name meanwhile.
class OpenedFile {
 public:
  /// Throws nothing. Leaves alone what is not a regular file: a pipe can be opened only once.
  explicit OpenedFile(const std::string& path);
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;
  ~OpenedFile();

  /// A path that opens this file while the object lives. The path given to the constructor where
  /// nothing is held open, or where the system offers no other (without /proc).
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  std::string path_;
  int file_ = -1;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_OPENEDFILE_H
