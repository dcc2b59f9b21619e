// Listing calls as text.
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "Capture.h"
#include "Compare.h"
#include "Input.h"
#include "Printer.h"

namespace {

class NullSink final : public TextSink {
 public:
  void Write(std::string_view text) override { benchmark::DoNotOptimize(text.data()); }
};

class StringSink final : public TextSink {
 public:
  void Write(std::string_view more) override { text += more; }
  std::string text;
};

void Dump(const std::string& path, const std::string& format, TextSink* sink) {
  const std::unique_ptr<Printer> printer = MakePrinter({format, false}, sink);
  WalkCapture(path, printer.get());
  printer->Flush();
}

// The text of a dump as words, marks and numbers: what formatting code writes piece by piece.
class BareLines {
 public:
  explicit BareLines(std::string text) : text_(std::move(text)) {
    const char* next = text_.data();
    const char* const end = next + text_.size();
    while (next != end) {
      const char* number = next;
      while (number != end && !StartsNumber(number) && (number == next || !EndsPiece(number))) {
        ++number;
      }
      Piece piece{{next, static_cast<size_t>(number - next)}, Kind::kNone, 0, 0};
      next = number;
      if (number != end && StartsNumber(number)) {
        next = ReadNumber(number, end, &piece);
      }
      pieces_.push_back(piece);
    }
  }

  // Writes it all once, from a buffer that is emptied whenever it is full.
  void Format(TextSink* sink) {
    char* out = buffer_;
    for (const Piece& piece : pieces_) {
      if (out + piece.text.size() + kNumberRoom > buffer_ + sizeof(buffer_)) {
        sink->Write({buffer_, static_cast<size_t>(out - buffer_)});
        out = buffer_;
      }
      std::memcpy(out, piece.text.data(), piece.text.size());
      out += piece.text.size();
      if (piece.kind == Kind::kInteger) {
        out = std::to_chars(out, out + kNumberRoom, piece.integer).ptr;
      } else if (piece.kind == Kind::kReal) {
        out = std::to_chars(out, out + kNumberRoom, piece.real).ptr;
      }
    }
    sink->Write({buffer_, static_cast<size_t>(out - buffer_)});
  }

  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  static constexpr size_t kNumberRoom = 64;
  enum class Kind { kNone, kInteger, kReal };
  // A text and the number after it.
  struct Piece {
    std::string_view text;
    Kind kind;
    uint64_t integer;
    float real;
  };

  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
  // Digits that belong to a name or to a hexadecimal number are text.
  bool StartsNumber(const char* c) const {
    return IsDigit(*c) && (c == text_.data() || std::strchr(" (:,[{=-", c[-1]) != nullptr);
  }

  static bool EndsPiece(const char* c) { return std::strchr("(=:|", c[-1]) != nullptr; }

  // The number must be written as it was read; it is text otherwise.
  static const char* ReadNumber(const char* number, const char* end, Piece* piece) {
    const char* last = number;
    bool isReal = false;
    while (last != end &&
           (IsDigit(*last) || (*last == '.' && last + 1 != end && IsDigit(last[1])))) {
      isReal = isReal || *last == '.';
      ++last;
    }
    char again[kNumberRoom];
    const char* againEnd = again;
    if (isReal) {
      std::from_chars(number, last, piece->real);
      againEnd = std::to_chars(again, again + kNumberRoom, piece->real).ptr;
    } else {
      std::from_chars(number, last, piece->integer);
      againEnd = std::to_chars(again, again + kNumberRoom, piece->integer).ptr;
    }
    if (std::string_view(number, static_cast<size_t>(last - number)) !=
        std::string_view(again, static_cast<size_t>(againEnd - again))) {
      piece->text = {piece->text.data(), piece->text.size() + static_cast<size_t>(last - number)};
      return last;
    }
    piece->kind = isReal ? Kind::kReal : Kind::kInteger;
    return last;
  }

  std::string text_;
  std::vector<Piece> pieces_;
  char buffer_[64 << 10];
};

void DumpAs(benchmark::State& state, const std::string& format) {
  // The lines of one frame stand for those of all.
  const Input oneFrame(SmallCalls(), Data::kCompressionNone, 1);
  StringSink lines;
  Dump(oneFrame.Path(), format, &lines);
  const auto bare = std::make_unique<BareLines>(lines.text);
  StringSink again;
  bare->Format(&again);
  if (again.text != lines.text) {
    state.SkipWithError("the bare lines differ");
    return;
  }

  const Input input(SmallCalls());
  NullSink null;
  Compare(
      state, {static_cast<double>(input.Calls()), "calls"},
      [&] {
        for (uint64_t frame = 0; frame < input.Frames(); ++frame) {
          bare->Format(&null);
        }
      },
      [&] { Dump(input.Path(), format, &null); });
}

[[maybe_unused]] const benchmark::internal::Benchmark* const registered[] = {
    Comparison("f. dump as text", [](benchmark::State& state) { DumpAs(state, "text"); }),
    Comparison("f. dump as JSON Lines", [](benchmark::State& state) { DumpAs(state, "jsonl"); }),
};

}  // namespace
