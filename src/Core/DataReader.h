// Abstract input stream of bytes.
#ifndef DCAPKIT_CORE_DATAREADER_H
#define DCAPKIT_CORE_DATAREADER_H

#include <cstdint>

#include "Core/Export.h"

namespace Core {

/// A seekable stream of bytes that the library reads a capture from.
///
/// Held through `std::shared_ptr<Core::DataReader>`; one thread at a time. The order of the virtual
/// operations is part of the interface. Derive from it to read from anything but a file; only
/// `IsValid`, `Read`, `AtEof`, `Seek` and `Tell` are required, and the library calls no other.
class DCAPKIT_API DataReader {
 public:
  virtual ~DataReader() = default;

  /// True when the stream is open and usable.
  [[nodiscard]] virtual bool IsValid() const = 0;

  /// Closes the stream early; `IsValid` is false afterwards. The default does nothing.
  virtual void Close() {}

  /// Copies up to `size` bytes from the current position into `buffer` and advances by the count.
  /// Returns the bytes read: fewer than `size` at the end of the stream or on an error, never more.
  virtual unsigned long Read(void* buffer, unsigned long size) = 0;

  /// Bytes in the whole stream, or 0 when that is not known. The default does not know.
  [[nodiscard]] virtual uint64_t Size() const { return 0; }

  /// True when no byte is left at the current position.
  [[nodiscard]] virtual bool AtEof() const = 0;

  /// Moves the position to `offset` bytes from the start (origin 0, SEEK_SET), from the current
  /// position (1, SEEK_CUR) or from the end (2, SEEK_END). Returns 0 on success; any other value
  /// is a failure and leaves the position where it was. A position before the start is a failure.
  virtual int Seek(int origin, int64_t offset) = 0;

  /// Current position in bytes from the start.
  [[nodiscard]] virtual uint64_t Tell() const = 0;

 protected:
  DataReader() = default;
  DataReader(const DataReader&) = default;
  DataReader& operator=(const DataReader&) = default;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_DATAREADER_H
