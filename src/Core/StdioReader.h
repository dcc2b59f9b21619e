// Reads a file.
#ifndef DCAPKIT_CORE_STDIOREADER_H
#define DCAPKIT_CORE_STDIOREADER_H

#include <cstdint>
#include <memory>
#include <string>

#include "Core/ViewReader.h"

namespace Core {

/// A `DataReader` over a file of any size. Pipes can only be read forward.
///
/// The reader keeps a buffer of 1088 KiB. A `Read` that the buffer satisfies is one copy, and a
/// `Seek` inside it touches nothing. A seek elsewhere fetches nothing until bytes are wanted; the
/// reader then fetches 4 KiB, and four times as much each time while use stays sequential (1 MiB at
/// the most), so that hopping over payloads does not read them. Reads at least as large as the next
/// fetch bypass the buffer.
///
/// Seeking past the end of the file succeeds, as `fseek` does: `Read` then returns nothing and
/// `AtEof` is true. On a pipe, seeking forward reads and drops the bytes between, and seeking back
/// works only within the buffered bytes.
///
/// Bytes that another program writes into the file while it is open may or may not be seen.
class DCAPKIT_API StdioReader : public ViewReader {
 public:
  /// How the bytes of a file will be read.
  enum class Access {
    kSequential,  ///< mostly one after the other
    /// Few bytes far apart, such as headers: the first fetch, and the first after a seek back or
    /// 4 KiB or more ahead, has 16 bytes instead of 4 KiB.
    kScattered,
  };

  /// Opens the file at `path`. Throws nothing for a missing or unreadable file nor for a directory:
  /// `IsValid` is false then.
  explicit StdioReader(const std::string& path, Access access = Access::kSequential);

  StdioReader(const StdioReader&) = delete;
  StdioReader& operator=(const StdioReader&) = delete;
  ~StdioReader() override;

  /// True exactly when the file is open.
  [[nodiscard]] bool IsValid() const override;
  void Close() override;
  unsigned long Read(void* buffer, unsigned long size) override;

  /// Returns the bytes in a regular file, asking the system each time; 0 for anything else.
  [[nodiscard]] uint64_t Size() const override;

  /// True when no byte is left, or when a read has hit the end; `Seek` clears the latter. May fetch
  /// bytes to find out. False when an error keeps the next byte from being read.
  [[nodiscard]] bool AtEof() const override;
  int Seek(int origin, int64_t offset) override;
  [[nodiscard]] uint64_t Tell() const override;

  /// Hint: everything from the current position up to `end` will be read. Fetches up to 1 MiB at a
  /// time and nothing beyond `end`. A seek outside the buffer cancels it.
  void ExpectReadsUpTo(uint64_t end) { expectedEnd_ = end; }

  /// Shows up to 1088 KiB at once of a regular file that had bytes when it was opened; nothing of
  /// anything else.
  std::span<const unsigned char> View(unsigned long atLeast, unsigned long atMost) override;

 private:
  DCAPKIT_HIDDEN unsigned long ReadSlowly(unsigned char* destination, unsigned long size);
  DCAPKIT_HIDDEN bool Fill() const;
  DCAPKIT_HIDDEN bool Gather(unsigned long count);
  [[nodiscard]] DCAPKIT_HIDDEN unsigned long FetchSize() const;
  DCAPKIT_HIDDEN void GrowFetchSize() const;
  DCAPKIT_HIDDEN unsigned long FetchBytes(unsigned char* destination, unsigned long size) const;
  DCAPKIT_HIDDEN bool SkipTo(uint64_t position);

  int file_;  // a descriptor, or -1
  std::unique_ptr<unsigned char[]> buffer_;
  // Everything below also changes when AtEof looks ahead.
  mutable const unsigned char* begin_ = nullptr;  // the last fetch, read and unread
  mutable const unsigned char* next_ = nullptr;   // the unread bytes of the buffer
  mutable const unsigned char* limit_ = nullptr;  // their end
  mutable uint64_t limitPosition_ = 0;            // where limit_ lies in the stream
  mutable unsigned long fetchSize_ = 0;           // bytes to ask for where no reads are expected
  mutable bool endHit_ = false;
  uint64_t expectedEnd_ = 0;
  Access access_;
  bool seekable_ = false;  // otherwise only read(2) works, which has no position
  bool viewable_ = false;  // AtEof can ask for the size: fetching would overwrite shown bytes
};

}  // namespace Core

#endif  // DCAPKIT_CORE_STDIOREADER_H
