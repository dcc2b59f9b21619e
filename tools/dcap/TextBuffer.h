// The buffer that the printers write into: reused, grown when it must, never a stream.
#ifndef DCAP_TEXTBUFFER_H
#define DCAP_TEXTBUFFER_H

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

class TextBuffer {
 public:
  void Text(std::string_view text) {
    std::memcpy(Room(text.size()), text.data(), text.size());
    end_ += text.size();
  }
  void Char(char c) { *Room(1) = c, ++end_; }

  template <typename Integer>
  void Number(Integer value) {
    char* out = Room(kNumberRoom);
    Advance(static_cast<size_t>(std::to_chars(out, out + kNumberRoom, value).ptr - out));
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

  [[nodiscard]] std::string_view View() const { return {begin_.get(), end_}; }
  [[nodiscard]] size_t Size() const { return end_; }
  void Clear() { end_ = 0; }

  /// Room for `count` bytes at the end, for a writer of one's own; `Advance` keeps what it wrote.
  char* Room(size_t count) {
    if (capacity_ - end_ < count) [[unlikely]] {
      Grow(count);
    }
    return begin_.get() + end_;
  }
  void Advance(size_t count) { end_ += count; }

 private:
  static constexpr size_t kNumberRoom = 32;  // more than any number takes

  [[gnu::noinline]] void Grow(size_t count) {
    const size_t capacity = (end_ + count) * 2 + 4096;
    std::unique_ptr<char[]> grown(new char[capacity]);
    if (end_ != 0) {
      std::memcpy(grown.get(), begin_.get(), end_);
    }
    begin_ = std::move(grown);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> begin_;
  size_t end_ = 0;
  size_t capacity_ = 0;
};

#endif  // DCAP_TEXTBUFFER_H
