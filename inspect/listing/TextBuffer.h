// A buffer for text that goes to a sink in large pieces.
#ifndef DCAP_INSPECT_TEXTBUFFER_H
#define DCAP_INSPECT_TEXTBUFFER_H

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "inspect/listing/TextSink.h"

namespace Inspect {

/// A text, usually short, after which `kPadding` more bytes can be read. Borrowed.
struct PaddedText {
  static constexpr size_t kPadding = 32;
  const char* text;
  size_t size;

  /// Copies the text to `out`, where `kPadding` bytes more than its size fit, and returns its end.
  /// It moves pieces of a fixed size, which is quicker than a copy of any size.
  char* CopyTo(char* out) const {
    std::memcpy(out, text, kPadding);
    for (size_t done = kPadding; done < size; done += kPadding) {
      std::memcpy(out + done, text + done, kPadding);
    }
    return out + size;
  }
};

/// Collects text for a sink, which it borrows. Call `Flush` before destroying it: the destructor
/// drops buffered text. The size of the buffer is fixed; neither the text nor its lines are
/// limited.
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
  void Char(char c) { *Room(1) = c, ++end_; }

  template <typename Arithmetic>
  void Number(Arithmetic value) {
    char* out = Room(kNumberRoom);
    Commit(std::to_chars(out, out + kNumberRoom, value).ptr);
  }
  /// The shortest text that reads back as the same value.
  void Float(float value) { Commit(FloatTo(Room(kNumberRoom), value)); }
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

  /// Hands buffered text to the sink.
  void Flush() {
    sink_->WriteFrom(&begin_, end_);
    flushed_ += end_;
    end_ = 0;
  }

  // For code that writes by a pointer of its own:

  static constexpr size_t kSize = TextSink::kBufferSize;
  static constexpr size_t kNumberRoom = 32;  ///< more bytes than any number takes

  /// Returns room for `count` bytes, `kSize` at most, at the end of the text. Valid until the next
  /// operation.
  char* Room(size_t count) {
    if (kSize - end_ < count) [[unlikely]] {
      Flush();
    }
    return begin_.get() + end_;
  }
  /// Makes the bytes in that room up to `end` part of the text.
  void Commit(const char* end) { end_ = static_cast<size_t>(end - begin_.get()); }

  /// Bytes of text before `out`, which lies in that room.
  [[nodiscard]] uint64_t PositionOf(const char* out) const {
    return flushed_ + static_cast<size_t>(out - begin_.get());
  }
  /// The text from that position on; empty when part of it has been flushed.
  [[nodiscard]] std::string_view TextSince(uint64_t position) const {
    if (position < flushed_) return {};
    const size_t begin = position - flushed_;
    return {begin_.get() + begin, end_ - begin};
  }

  /// Writes the same as `Float` to `out`, where `kNumberRoom` bytes fit. Returns the end.
  static char* FloatTo(char* out, float value) {
    // Most floats of a capture are small whole numbers, which are much quicker to write as
    // integers.
    constexpr auto kScientific = std::bit_cast<uint32_t>(1e5F);  // from here on "1e+05" is shorter
    if (std::bit_cast<uint32_t>(value) < kScientific) {          // negative zero is not
      const auto whole = static_cast<uint32_t>(value);
      if (static_cast<float>(whole) == value) {
        return std::to_chars(out, out + kNumberRoom, whole).ptr;
      }
    }
    return std::to_chars(out, out + kNumberRoom, value).ptr;
  }

 private:
  TextSink* sink_;
  std::unique_ptr<char[]> begin_{new char[kSize]};
  size_t end_ = 0;
  uint64_t flushed_ = 0;  // bytes before begin_
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_TEXTBUFFER_H
