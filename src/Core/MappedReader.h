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
/// It behaves as `StdioReader` does, except as told below, and copies nothing: a processor decodes
/// payloads where they lie in the file's pages. Use it for captures that no other program writes
/// to.
///
/// **A program that shortens the file while it is mapped ends this process**: reading a byte that
/// is no longer there raises the signal SIGBUS, as with any mapping. So does a failing disk, where
/// `StdioReader` would stop reading. The `dcap` tool therefore uses `StdioReader`.
///
/// `Size` stays the size at opening. Bytes that are appended later are not seen; changes inside may
/// or may not be seen. Pages that were read count as memory of the process until the system takes
/// them back.
class DCAPKIT_API MappedReader : public MemoryReader {
 public:
  /// Opens and maps the file at `path`. Throws nothing for a missing or unreadable file, nor for
  /// anything that is no regular file: `IsValid` is false then. An empty file is valid.
  explicit MappedReader(const std::string& path);

  MappedReader(const MappedReader&) = delete;
  MappedReader& operator=(const MappedReader&) = delete;

  /// Unmaps the file. `Close` does not, so that bytes which `View` returned stay readable.
  ~MappedReader() override;

 private:
  std::span<const uint8_t> mapping_;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_MAPPEDREADER_H
