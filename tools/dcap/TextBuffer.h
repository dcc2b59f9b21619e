// The buffer that the printers write into: text goes to a sink in large pieces.
#ifndef DCAP_TEXTBUFFER_H
#define DCAP_TEXTBUFFER_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

/// Receives text. A piece may end anywhere in a line.
class TextSink {
 public:
  virtual ~TextSink() = default;
  virtual void Write(std::string_view text) = 0;
};

/// A short text, behind which `kPadding` more bytes can be read.
struct PaddedText {
  static constexpr size_t kPadding = 32;
  const char* text;
  size_t size;
};

/// Collects text for a sink, which it borrows. Its size does not depend on how much is written, nor
/// on the length of a line. What is still in it when it goes is lost: flush it.
class TextBuffer {
 public:
  explicit TextBuffer(TextSink* sink) : sink_(sink) {}

  void Text(std::string_view text) {
    if (text.size() > kSize) [[unlikely]] {
      Flush();
      return sink_->Write(text);
    }
    std::memcpy(Room(text.size()), text.data(), text.size());
    end_ += text.size();
  }
  /// The same in moves of a fixed size, which is quicker: most text comes in short pieces.
  void Padded(PaddedText piece) {
    if (piece.size > PaddedText::kPadding) [[unlikely]] {
      return Text(std::string_view(piece.text, piece.size));
    }
    std::memcpy(Room(PaddedText::kPadding), piece.text, PaddedText::kPadding);
    end_ += piece.size;
  }
  void Char(char c) { *Room(1) = c, ++end_; }

  template <typename Integer>
  void Number(Integer value) {
    char* out = Room(kNumberRoom);
    end_ += static_cast<size_t>(std::to_chars(out, out + kNumberRoom, value).ptr - out);
  }
  /// The shortest text that reads back as the same value.
  void Float(float value) { Number(value); }
  /// Lower-case digits without a prefix, `width` of them at least.
  void Hex(uint64_t value, int width = 1) {
    static constexpr char kDigits[] = "0123456789abcdef";
    while (width < 16 && (value >> (4 * width)) != 0) {
      ++width;
    }
    char* out = Room(16);
    for (int shift = 4 * (width - 1); shift >= 0; shift -= 4) {
      *out++ = kDigits[(value >> shift) & 15];
    }
    end_ += static_cast<size_t>(width);
  }

  /// Hands on what is still here.
  void Flush() {
    sink_->Write({begin_.get(), end_});
    end_ = 0;
  }

 private:
  static constexpr size_t kSize = size_t{64} << 10;
  static constexpr size_t kNumberRoom = 32;  // more than any number takes

  // Room for `count` bytes, which the buffer can hold, at its end.
  char* Room(size_t count) {
    if (kSize - end_ < count) [[unlikely]] {
      Flush();
    }
    return begin_.get() + end_;
  }

  TextSink* sink_;
  std::unique_ptr<char[]> begin_{new char[kSize]};
  size_t end_ = 0;
};

#endif  // DCAP_TEXTBUFFER_H
