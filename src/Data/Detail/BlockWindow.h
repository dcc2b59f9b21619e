// Hands out the bytes of blocks. Private to the library.
#ifndef DCAPKIT_DATA_DETAIL_BLOCKWINDOW_H
#define DCAPKIT_DATA_DETAIL_BLOCKWINDOW_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "Core/DataReader.h"

namespace Core {
class ViewReader;
}

namespace Data {

/// Reads one block after the other, ahead inside a block and never beyond it: in the reader's own
/// memory if the reader shows its bytes, otherwise into a buffer. So one virtual `Read` serves many
/// small takes, payloads are handed on where they lie, and callers cannot tell it from reading
/// piece by piece: `Position` counts the bytes that were taken.
///
/// Allocates nothing beyond 1 MiB for bytes that the stream was not seen to hold.
class BlockWindow {
 public:
  /// Shares the reader, which stands at the start of the stream. A null reader must not be read
  /// from.
  explicit BlockWindow(std::shared_ptr<Core::DataReader> reader);
  BlockWindow(const BlockWindow&) = delete;
  BlockWindow& operator=(const BlockWindow&) = delete;

  [[nodiscard]] Core::DataReader* Reader() const { return reader_.get(); }

  /// Returns the bytes that were read and not taken.
  [[nodiscard]] uint64_t Ahead() const { return static_cast<uint64_t>(end_ - cursor_); }
  /// Returns the bytes of the stream that were taken or left out.
  [[nodiscard]] uint64_t Position() const { return position_ - Ahead(); }
  /// True when nothing is left, in the window or behind it.
  [[nodiscard]] bool AtEof() const { return Ahead() == 0 && reader_->AtEof(); }

  /// Reads bytes outside a block and returns how many there were.
  unsigned long ReadOutside(void* buffer, unsigned long size);
  /// Begins a block of the next `size` bytes.
  void BeginBlock(uint64_t size);
  /// Returns the bytes of the block that were not taken.
  [[nodiscard]] uint64_t Left() const { return Ahead() + unfetched_; }

  /// Takes `size` bytes of the block, in one piece; they stay until the next take. Throws
  /// `Core::BasicException` with `message` when block or stream do not have so many.
  const unsigned char* Take(uint64_t size, const std::string& message) {
    if (Ahead() < size) [[unlikely]] {
      Fill(size, message);
    }
    const unsigned char* bytes = cursor_;
    cursor_ += size;
    return bytes;
  }

  /// Makes sure of the next `size` bytes, with the same exception, and takes none.
  void Require(uint64_t size, const std::string& message) {
    if (Ahead() < size) Fill(size, message);
  }

  /// Takes the bytes at hand, reading some if there are none. Empty at the end of the block or of
  /// the stream.
  std::span<const unsigned char> TakeSome();

  /// Leaves out `size` bytes, inside or outside a block, whether or not the stream has so many.
  void Skip(uint64_t size);
  /// Leaves out the rest of the stream and takes `position` for its end.
  void SkipToEnd(uint64_t position);

  /// Goes to the block that begins at `position`, from between two blocks. Returns false when the
  /// stream cannot be there.
  bool SeekTo(uint64_t position);

  /// Forgets the bytes read ahead: the position stays, the reader stands somewhere behind it.
  void Abandon();

 private:
  void Fill(uint64_t size, const std::string& message);
  bool FillByView(uint64_t size);
  bool FillByCopy(uint64_t size);
  void Reserve(uint64_t capacity, uint64_t kept);
  unsigned long ReadInto(unsigned char* destination, uint64_t size);

  const unsigned char* cursor_ = nullptr;  // the bytes that were read and not taken
  const unsigned char* end_ = nullptr;
  uint64_t unfetched_ = 0;  // bytes of the block that are still with the reader
  uint64_t position_ = 0;   // of the reader in the stream
  std::shared_ptr<Core::DataReader> reader_;
  Core::ViewReader* viewer_;  // the reader, when it shows its bytes
  std::unique_ptr<unsigned char[]> buffer_;
  uint64_t capacity_ = 0;
  uint64_t fetchSize_;  // how many are copied at once
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DETAIL_BLOCKWINDOW_H
