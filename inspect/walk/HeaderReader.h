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
#include "Core/StdioReader.h"

namespace Inspect {

/// A `DataReader` over a regular file, for walks from one block header to the next. It reads
/// headers that lie far apart one by one, with one system call each, and keeps them for further
/// walks. Where headers lie close together, it reads larger pieces.
///
/// Since each header tells the place of the next one, only one thread can walk. The others guess:
/// each searches a part of the file for bytes that look like the start of a block, and reads the
/// headers from there on. A walk uses those of them that it comes to.
class HeaderReader : public Core::DataReader {
 public:
  /// Opens the file at `path`; `IsValid` tells whether that worked. With more than one of
  /// `threads`, the others begin to read ahead. They open `path`, too.
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
  // Bytes of the header of a block and the number of a frame.
  static constexpr unsigned long kHeaderSize = 10;
  struct Header {
    uint64_t position;
    std::array<unsigned char, kHeaderSize> bytes;
  };

  // A file, and a piece of it in memory.
  class Window {
   public:
    explicit Window(const std::string& path);
    [[nodiscard]] bool IsValid() const { return file_.IsValid(); }
    [[nodiscard]] uint64_t FileSize() const { return file_.Size(); }

    [[nodiscard]] const unsigned char* Begin() const { return bytes_.get(); }
    [[nodiscard]] unsigned long Size() const { return size_; }
    // Offset in the window; wraps to a huge value for positions before it.
    [[nodiscard]] uint64_t Offset(uint64_t position) const { return position - begin_; }
    // Reads a header. False when nothing is there.
    bool Fetch(uint64_t position);
    // Reads a piece as large as the window.
    void Fill(uint64_t position) { Read(position, kRoom); }
    void Show(const Header& header);

   private:
    static constexpr unsigned long kRoom = 64ul << 10;
    void Read(uint64_t position, unsigned long size);

    Core::StdioReader file_;
    std::unique_ptr<unsigned char[]> bytes_;
    uint64_t begin_ = 0;
    unsigned long size_ = 0;
  };

  // The headers that another thread finds from an offset in the file on.
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
  size_t nextKept_ = 0;      // the one after the last that was used
  std::deque<Part> parts_;   // behind all that the walk has read, in the order of the file
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_HEADERREADER_H
