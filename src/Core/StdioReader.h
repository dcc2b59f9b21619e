// Reads a file.
#ifndef DCAPKIT_CORE_STDIOREADER_H
#define DCAPKIT_CORE_STDIOREADER_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "Core/ViewReader.h"

namespace Core {

/// A `DataReader` over a file of any size, or over a pipe as far as that goes.
///
/// The reader keeps a buffer of 1088 KiB of its own. A `Read` that the buffer satisfies is one
/// copy, and a `Seek` inside it touches nothing. A seek elsewhere costs nothing either until bytes
/// are wanted; the reader then fetches 4 KiB, and more each time while use stays sequential, so
/// that hopping over payloads does not read them. Large reads bypass the buffer.
///
/// Seeking past the end of the file succeeds, as `fseek` does: `Read` then gives nothing and
/// `AtEof` is true. On a pipe, seeking forward reads and drops the bytes between, and seeking back
/// works only within what is still buffered.
///
/// Bytes that someone else writes into the file while it is open may or may not be seen.
class DCAPKIT_API StdioReader : public ViewReader {
 public:
  /// Opens the file at `path`. Throws nothing for a missing or unreadable file or for a directory:
  /// `IsValid` is false then.
  explicit StdioReader(const std::string& path);
  StdioReader(const StdioReader&) = delete;
  StdioReader& operator=(const StdioReader&) = delete;
  ~StdioReader() override;

  /// True exactly when the file is open.
  [[nodiscard]] bool IsValid() const override;
  void Close() override;
  unsigned long Read(void* buffer, unsigned long size) override;

  /// Bytes in a regular file, asked of the system at each call; 0 for anything else.
  [[nodiscard]] uint64_t Size() const override;

  /// True when no byte is left, or when a read has hit the end; `Seek` clears the latter. May fetch
  /// bytes to find out. False when the next byte cannot be read because of an error.
  [[nodiscard]] bool AtEof() const override;
  int Seek(int origin, int64_t offset) override;
  [[nodiscard]] uint64_t Tell() const override;

  /// Tells that the bytes from the current position to `end` will all be read, so that they are
  /// fetched at once, up to 1 MiB, and none behind them with them. What is read is the same. A seek
  /// to bytes that are not buffered takes it back.
  void ExpectReadsUpTo(uint64_t end) { expectedEnd_ = end; }

  /// Shows up to 1 MiB at once of a regular file, of anything else nothing.
  std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) override;

 private:
  struct Closer {
    void operator()(std::FILE* file) const;
  };

  unsigned long ReadSlowly(unsigned char* destination, unsigned long size);
  bool Fill() const;
  bool Gather(unsigned long count);
  [[nodiscard]] unsigned long FetchSize() const;
  void GrowFetchSize() const;
  unsigned long FetchBytes(unsigned char* destination, unsigned long size) const;
  bool SkipTo(uint64_t position);

  std::unique_ptr<std::FILE, Closer> file_;
  std::unique_ptr<unsigned char[]> buffer_;
  // Everything below also changes when AtEof looks ahead.
  mutable const unsigned char* begin_ = nullptr;  // what was fetched last, read and unread
  mutable const unsigned char* next_ = nullptr;   // the unread bytes of the buffer
  mutable const unsigned char* limit_ = nullptr;  // their end
  mutable uint64_t limitPosition_ = 0;            // where limit_ lies in the stream
  mutable uint64_t filePosition_ = 0;             // where file_ stands
  mutable unsigned long fetchSize_ = 0;           // bytes to ask for where no reads are expected
  mutable bool endHit_ = false;
  uint64_t expectedEnd_ = 0;
  bool seekable_ = false;
  bool viewable_ = false;  // whether there is more can be told without overwriting what is on show
};

}  // namespace Core

#endif  // DCAPKIT_CORE_STDIOREADER_H
