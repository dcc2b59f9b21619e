// Reads the headers of a capture, which lie scattered over its file.
#ifndef DCAP_HEADERREADER_H
#define DCAP_HEADERREADER_H

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "Core/DataReader.h"

/// A `DataReader` over a regular file for walks from one block header to the next. Headers that lie
/// far apart are read by themselves, with one system call each, and are kept, so that further walks
/// need none. Where they lie close together, it reads on.
///
/// A mapping of the file would be little faster where headers share the 64 KiB that a page fault
/// maps, three times slower where they do not, and could not survive a file that shrinks.
class HeaderReader : public Core::DataReader {
 public:
  /// Opens the file at `path`. Throws nothing when it cannot: `IsValid` is false then.
  explicit HeaderReader(const std::string& path);
  HeaderReader(const HeaderReader&) = delete;
  HeaderReader& operator=(const HeaderReader&) = delete;
  ~HeaderReader() override;

  [[nodiscard]] bool IsValid() const override { return file_ >= 0; }
  unsigned long Read(void* buffer, unsigned long size) override;
  [[nodiscard]] uint64_t Size() const override;
  [[nodiscard]] bool AtEof() const override { return position_ >= Size(); }
  int Seek(int origin, int64_t offset) override;
  [[nodiscard]] uint64_t Tell() const override { return position_; }

 private:
  // The header of a block, and the number of a frame.
  static constexpr unsigned long kHeaderSize = 10;
  struct Header {
    uint64_t position;
    std::array<unsigned char, kHeaderSize> bytes;
  };

  bool Fetch();
  bool Recall();
  [[nodiscard]] unsigned long ReadAt(uint64_t position, void* buffer, unsigned long size) const;

  int file_;
  uint64_t position_ = 0;
  // The bytes at hand, and where they lie in the file.
  std::unique_ptr<unsigned char[]> window_;
  unsigned long size_ = 0;
  uint64_t begin_ = 0;
  std::deque<Header> kept_;  // in the order of the file
  size_t nextKept_ = 0;      // the one behind the last that was recalled
};

#endif  // DCAP_HEADERREADER_H
