// Reads a file through a mapping into memory.
#ifndef DCAPKIT_CORE_MAPPEDREADER_H
#define DCAPKIT_CORE_MAPPEDREADER_H

#include <cstdint>
#include <span>
#include <string>

#include "Core/MemoryReader.h"

namespace Core {

/// A `DataReader` over a regular file that is mapped into memory as a whole.
///
/// It behaves as `StdioReader` does, but for what follows, and copies nothing: a processor decodes
/// uploads straight from the file's pages. Worth its risk for captures that nobody writes to.
///
/// **A file that someone else cuts short while it is mapped ends the process**: whoever touches a
/// byte that is no longer there gets the signal SIGBUS, as with any mapping. So does a failing
/// disk, where `StdioReader` would stop reading. The `dcap` tool therefore uses `StdioReader`.
///
/// The file is as long as it was when it was opened, also to `Size`; what is appended later is not
/// seen. Changes inside may or may not be seen. Pages that were read count as memory of the
/// process until the system wants them back.
class DCAPKIT_API MappedReader : public MemoryReader {
 public:
  /// Opens and maps the file at `path`. Throws nothing for a missing or unreadable file, or for
  /// anything that is no regular file: `IsValid` is false then. An empty file is valid.
  explicit MappedReader(const std::string& path);

  MappedReader(const MappedReader&) = delete;
  MappedReader& operator=(const MappedReader&) = delete;

  /// Ends the mapping; `Close` alone does not, so that bytes on show stay.
  ~MappedReader() override;

 private:
  std::span<const uint8_t> mapping_;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_MAPPEDREADER_H
