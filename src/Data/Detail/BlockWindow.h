// The bytes of a block on their way to those who take it apart. Private to the library.
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

/// Reads one block after the other, ahead inside a block and never beyond it: where the reader has
/// the bytes, if it shows them, otherwise into a buffer. So one virtual `Read` serves many small
/// takes, payloads are handed on where they lie, and nobody outside can tell it from reading piece
/// by piece: `Position` counts what was taken.
///
/// Nothing is allocated for bytes that the stream was not seen to hold, beyond 1 MiB.
class BlockWindow {
 public:
  /// Shares the reader, which stands at the start of the stream. Null is none to read from.
  explicit BlockWindow(std::shared_ptr<Core::DataReader> reader);
  BlockWindow(const BlockWindow&) = delete;
  BlockWindow& operator=(const BlockWindow&) = delete;

  [[nodiscard]] Core::DataReader* Reader() const { return reader_.get(); }

  /// Bytes that were read and not taken.
  [[nodiscard]] uint64_t Ahead() const { return static_cast<uint64_t>(end_ - cursor_); }
  /// Bytes of the stream that were taken or left out.
  [[nodiscard]] uint64_t Position() const { return position_ - Ahead(); }
  /// True when nothing is left, in the window or behind it.
  [[nodiscard]] bool AtEof() const { return Ahead() == 0 && reader_->AtEof(); }

  /// Reads bytes that stand before a block; returns how many there were.
  unsigned long ReadOutside(void* buffer, unsigned long size);
  /// The next `size` bytes are a block.
  void BeginBlock(uint64_t size);
  /// Bytes of the block that were not taken.
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

  /// Makes sure of the next `size` bytes likewise, and takes none.
  void Require(uint64_t size, const std::string& message) {
    if (Ahead() < size) Fill(size, message);
  }

  /// Takes what comes cheaply of the block; nothing at its end or at that of the stream.
  std::span<const unsigned char> TakeSome();

  /// Leaves out `size` bytes, of the block or of what comes outside one, whether or not the stream
  /// has so many.
  void Skip(uint64_t size);
  /// Leaves out all of the stream, which is then said to be at `position`.
  void SkipToEnd(uint64_t position);

  /// Goes elsewhere, between two blocks. False when the stream cannot be there.
  bool SeekTo(uint64_t position);

  /// Forgets what was read ahead: the position stays, the reader stands somewhere behind it.
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
