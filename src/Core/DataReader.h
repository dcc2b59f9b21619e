// Abstract input stream of bytes.
#ifndef DCAPKIT_CORE_DATAREADER_H
#define DCAPKIT_CORE_DATAREADER_H

#include <cstdint>

#include "Core/Export.h"

namespace Core {

/// A seekable stream of bytes that the library reads a capture from.
///
/// Derive from it to read from anything but a file. Override `IsValid`, `Read`, `AtEof`, `Seek` and
/// `Tell`; the library calls no other operation on its own. It holds a reader through
/// `std::shared_ptr<Core::DataReader>` and uses it on one thread at a time. The order of the
/// virtual operations is part of the interface.
class DCAPKIT_API DataReader {
 public:
  virtual ~DataReader() = default;

  /// True while the stream is open and usable.
  [[nodiscard]] virtual bool IsValid() const = 0;

  /// Closes the stream early; `IsValid` is false afterwards. The default does nothing.
  virtual void Close() {}

  /// Copies up to `size` bytes from the current position into `buffer`, advances by the number of
  /// bytes copied and returns it. Returns fewer than `size` at the end of the stream or on an
  /// error, never more: the library takes a larger count, such as the -1 of a wrapper around
  /// read(2), for a failure.
  virtual unsigned long Read(void* buffer, unsigned long size) = 0;

  /// Returns the bytes in the whole stream, or 0 when it does not know. The default does not know.
  [[nodiscard]] virtual uint64_t Size() const { return 0; }

  /// True when no byte is left at the current position.
  [[nodiscard]] virtual bool AtEof() const = 0;

  /// Moves the position to `offset` bytes from the start (origin 0, SEEK_SET), from the current
  /// position (1, SEEK_CUR) or from the end (2, SEEK_END). Returns 0 on success; any other value is
  /// a failure and leaves the position where it was. A position before the start is a failure. A
  /// stream that cannot seek may fail always: a walk that skips bytes then reads and drops them.
  virtual int Seek(int origin, int64_t offset) = 0;

  /// Returns the current position in bytes from the start.
  [[nodiscard]] virtual uint64_t Tell() const = 0;

 protected:
  DataReader() = default;
  DataReader(const DataReader&) = default;
  DataReader& operator=(const DataReader&) = default;
};

}  // namespace Core

#endif  // DCAPKIT_CORE_DATAREADER_H
