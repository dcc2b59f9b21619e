// Abstract output stream of bytes.
#ifndef DCAPKIT_CORE_DATAWRITER_H
#define DCAPKIT_CORE_DATAWRITER_H

#include <cstdint>

#include "Core/Export.h"

namespace Core {

/// A stream of bytes that a capture is written to or patched in.
///
/// Held through `std::shared_ptr<Core::DataWriter>`; one thread at a time. The order of the virtual
/// operations is part of the interface. `IsValid` and `WriteAt` are what finalising a capture
/// needs; a stream that captures are written to from the start also overrides `Write` and `Flush`.
class DCAPKIT_API DataWriter {
 public:
  virtual ~DataWriter() = default;

  /// True when the stream is open and usable.
  [[nodiscard]] virtual bool IsValid() const = 0;

  /// Appends `size` bytes at the end of what has been written. Returns the bytes written; fewer
  /// than `size` is an error. The default accepts nothing.
  virtual uint64_t Write(const void* buffer, uint64_t size) {
    static_cast<void>(buffer);
    static_cast<void>(size);
    return 0;
  }

  /// Hands everything written so far to the operating system. False on an error.
  virtual bool Flush() { return true; }

  /// Writes `size` bytes at the absolute `offset`, without moving other data and without
  /// truncating. Returns the bytes written; fewer than `size` is an error.
  virtual uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) = 0;

 protected:
  DataWriter() = default;
  DataWriter(const DataWriter&) = default;
  DataWriter& operator=(const DataWriter&) = default;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_DATAWRITER_H
