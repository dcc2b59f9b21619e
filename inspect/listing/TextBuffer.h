// The buffer that the printers write into: text goes to a sink in large pieces.
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

/// A text, mostly a short one, behind which `kPadding` more bytes can be read.
struct PaddedText {
  static constexpr size_t kPadding = 32;
  const char* text;
  size_t size;

  /// Copies the text to `out`, where `kPadding` bytes more than its size fit, and returns its end.
  /// Moves of a fixed size are quicker than one that has to find out how.
  char* CopyTo(char* out) const {
    std::memcpy(out, text, kPadding);
    for (size_t done = kPadding; done < size; done += kPadding) {
      std::memcpy(out + done, text + done, kPadding);
    }
    return out + size;
  }
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

  /// Hands on what is still here.
  void Flush() {
    sink_->WriteFrom(&begin_, end_);
    flushed_ += end_;
    end_ = 0;
  }

  // For lines that are put together with a pointer of their own:

  static constexpr size_t kSize = TextSink::kBufferSize;
  static constexpr size_t kNumberRoom = 32;  ///< more than any number takes

  /// Room for `count` bytes, `kSize` at most, at the end of the text; valid until the next use.
  char* Room(size_t count) {
    if (kSize - end_ < count) [[unlikely]] {
      Flush();
    }
    return begin_.get() + end_;
  }
  /// What was written there up to `end` is text now.
  void Commit(const char* end) { end_ = static_cast<size_t>(end - begin_.get()); }

  /// How much text there is before `out`, which lies in that room.
  [[nodiscard]] uint64_t PositionOf(const char* out) const {
    return flushed_ + static_cast<size_t>(out - begin_.get());
  }
  /// The text from there on; empty when it is not all here any more.
  [[nodiscard]] std::string_view TextSince(uint64_t position) const {
    if (position < flushed_) return {};
    const size_t begin = position - flushed_;
    return {begin_.get() + begin, end_ - begin};
  }

  /// As `Float`, to `out`, where `kNumberRoom` bytes fit. Returns the end.
  static char* FloatTo(char* out, float value) {
    // Most floats of a capture are small whole numbers, which take a fraction of the time as such.
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
