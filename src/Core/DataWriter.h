// Abstract output stream of bytes.
#ifndef DCAPKIT_CORE_DATAWRITER_H
#define DCAPKIT_CORE_DATAWRITER_H

#include <cstdint>

#include "Core/Export.h"

namespace Core {

/// A stream of bytes that the library writes a capture to or patches one in.
///
/// Finalising a capture calls `IsValid` and `WriteAt` alone; writing one from the start also calls
/// `Write` and `Flush`. The library holds a writer through `std::shared_ptr<Core::DataWriter>` and
/// uses it on one thread at a time. The order of the virtual operations is part of the interface.
class DCAPKIT_API DataWriter {
 public:
  virtual ~DataWriter() = default;

  /// True while the stream is open and usable.
  [[nodiscard]] virtual bool IsValid() const = 0;

  /// Appends `size` bytes and returns the bytes written; fewer than `size` is an error. The default
  /// accepts nothing.
  virtual uint64_t Write(const void* buffer, uint64_t size) {
    static_cast<void>(buffer);
    static_cast<void>(size);
    return 0;
  }

  /// Hands everything written so far to the operating system. Returns false on an error. The
  /// default does nothing and returns true.
  virtual bool Flush() { return true; }

  /// Writes `size` bytes at the absolute `offset`, without moving other data and without
  /// truncating, and returns the bytes written; fewer than `size` is an error.
  virtual uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) = 0;

 protected:
  DataWriter() = default;
  DataWriter(const DataWriter&) = default;
  DataWriter& operator=(const DataWriter&) = default;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_DATAWRITER_H
