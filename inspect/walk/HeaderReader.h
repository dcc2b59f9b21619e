// Reads the headers of a capture, which lie scattered over its file.
#ifndef DCAP_INSPECT_HEADERREADER_H
#define DCAP_INSPECT_HEADERREADER_H

#include <array>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "Core/DataReader.h"

namespace Inspect {

/// A `DataReader` over a regular file for walks from one block header to the next. Headers that lie
/// far apart are read by themselves, with one system call each, and are kept, so that further walks
/// need none. Where they lie close together, it reads on.
///
/// A mapping of the file would be little faster where headers share the 64 KiB that a page fault
/// maps, three times slower where they do not, and could not survive a file that shrinks.
///
/// Each header tells where the next one lies, so a walk is bound to one thread. Others can only
/// guess: they look for what seems to be a block somewhere in the file and keep what they find from
/// there on. A walk that comes by the same place finds the same headers, and need not read them.
class HeaderReader : public Core::DataReader {
 public:
  /// Opens the file at `path`. Throws nothing when it cannot: `IsValid` is false then.
  /// With more than one of `threads`, the others begin to read ahead.
  HeaderReader(const std::string& path, unsigned threads);
  HeaderReader(const HeaderReader&) = delete;
  HeaderReader& operator=(const HeaderReader&) = delete;

  [[nodiscard]] bool IsValid() const override { return window_.IsValid(); }
  unsigned long Read(void* buffer, unsigned long size) override;
  [[nodiscard]] uint64_t Size() const override { return window_.FileSize(); }
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

  // A file, and the bytes of it that are at hand.
  class Window {
   public:
    explicit Window(const std::string& path);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window();
    [[nodiscard]] bool IsValid() const { return file_ >= 0; }
    [[nodiscard]] uint64_t FileSize() const;

    [[nodiscard]] const unsigned char* Begin() const { return bytes_.get(); }
    [[nodiscard]] unsigned long Size() const { return size_; }
    // How far into the window that is; much too far for a position before it, too.
    [[nodiscard]] uint64_t Offset(uint64_t position) const { return position - begin_; }
    // Reads a header, or more where that lies near. False when nothing is there.
    bool Fetch(uint64_t position);
    // Reads as much as there is room for.
    void Fill(uint64_t position) { Read(position, kRoom); }
    void Show(const Header& header);

   private:
    static constexpr unsigned long kRoom = 64ul << 10;
    void Read(uint64_t position, unsigned long size);

    int file_;
    std::unique_ptr<unsigned char[]> bytes_;
    uint64_t begin_ = 0;
    unsigned long size_ = 0;
  };

  // What another thread finds from a place in the file on.
  struct Part {
    uint64_t begin;
    std::future<std::vector<Header>> headers;
  };

  static std::vector<Header> ReadAhead(const std::string& path, uint64_t begin, uint64_t end,
                                       size_t most);
  void TakeParts();
  void Keep(const Header& header);
  bool Fetch();
  bool Recall();

  uint64_t position_ = 0;
  Window window_;
  std::deque<Header> kept_;  // in the order of the file
  size_t nextKept_ = 0;      // the one behind the last that was recalled
  std::deque<Part> parts_;   // that the walk has not come to, in the order of the file
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_HEADERREADER_H
