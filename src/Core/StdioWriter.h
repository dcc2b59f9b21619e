// Writes a file.
#ifndef DCAPKIT_CORE_STDIOWRITER_H
#define DCAPKIT_CORE_STDIOWRITER_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "Core/DataWriter.h"

namespace Core {

/// A `DataWriter` over a file of any size: patches an existing one in place, or makes a new one.
///
///     Core::StdioWriter patch(path, true, false);    // an existing file, each patch on the device
///     Core::StdioWriter fresh(path, false, true);    // a new file, or an old one emptied
///
/// `Write` appends through a buffer of 256 KiB, which `WriteAt` also patches. `Flush` empties the
/// buffer; the destructor flushes and ignores errors. Appending also works on a pipe.
class DCAPKIT_API StdioWriter : public DataWriter {
 public:
  /// Opens the file at `path`. Throws nothing for a file that cannot be opened: `IsValid` is false
  /// then.
  ///
  /// `durable`: `WriteAt` and `Flush` return only when all bytes written so far are on the storage
  /// device (`fdatasync`), so that patches reach it in the order in which they were made, even when
  /// the machine stops. Otherwise the operating system decides when.
  ///
  /// `create`: makes the file, and empties it if it exists. Otherwise the file must exist and keeps
  /// its bytes; `Write` appends to them.
  StdioWriter(const std::string& path, bool durable, bool create);
  StdioWriter(const StdioWriter&) = delete;
  StdioWriter& operator=(const StdioWriter&) = delete;
  ~StdioWriter() override;

  /// True exactly when the file is open.
  [[nodiscard]] bool IsValid() const override;

  /// Appends through the buffer. A full disk may show here or at the next `Flush`; once appended
  /// bytes are lost, every later operation fails.
  uint64_t Write(const void* buffer, uint64_t size) override;
  bool Flush() override;

  /// Patches bytes in place. A range that reaches past the end makes the file longer, and `Write`
  /// goes on behind it.
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override;

 private:
  struct Closer {
    void operator()(std::FILE* file) const;
  };

  DCAPKIT_HIDDEN bool EmptyBuffer();
  DCAPKIT_HIDDEN bool Synchronize();
  DCAPKIT_HIDDEN uint64_t StoreBytes(const unsigned char* source, uint64_t size, uint64_t offset);

  std::unique_ptr<std::FILE, Closer> file_;
  std::unique_ptr<unsigned char[]> buffer_;  // made by the first Write
  uint64_t used_ = 0;                        // bytes in the buffer
  uint64_t storedEnd_ = 0;                   // where the buffer belongs: the end of the file
  uint64_t filePosition_ = 0;                // where file_ stands
  bool durable_ = false;
  bool failed_ = false;  // appended bytes were lost
};

}  // namespace Core

#endif  // DCAPKIT_CORE_STDIOWRITER_H
