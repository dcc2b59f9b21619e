// Listing calls as text.
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "Data/Calls/CallTable.h"

#include "Compare.h"
#include "Input.h"
#include "LibraryWalk.h"
#include "Tool.h"

namespace {

std::string TextOfDump(const std::string& path, const std::string& format) {
  const std::string output = path + ".out";
  RunTool({"dump", "--format", format, path}, output);
  std::ifstream file(output, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(file), {});
  std::filesystem::remove(output);
  return text;
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

  // Writes it all once, into a buffer that goes to `write` whenever it is full.
  template <typename Write>
  void Format(Write write) {
    char* out = buffer_;
    for (const Piece& piece : pieces_) {
      if (out + piece.text.size() + kNumberRoom > buffer_ + sizeof(buffer_)) {
        write(std::string_view(buffer_, static_cast<size_t>(out - buffer_)));
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
    write(std::string_view(buffer_, static_cast<size_t>(out - buffer_)));
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

// Scalar calls that end with an integer, which is counted up.
std::vector<RecordedCall> CallsMadeOnce() {
  constexpr uint32_t kCount = 20'000;
  std::vector<RecordedCall> recorded = SelectCalls(0);
  std::erase_if(recorded, [](const RecordedCall& call) {
    const auto values = Data::FindCall(static_cast<Data::ApiCallType>(call.id))->Values();
    return values.empty() || (values.back().type->format != Data::ValueFormat::kObject &&
                              values.back().type->type != Data::ValueType::kInt32);
  });
  std::vector<RecordedCall> calls;
  for (uint32_t i = 0; i < kCount; ++i) {
    calls.push_back(recorded[i % recorded.size()]);
    std::vector<uint8_t>& payload = calls.back().payload;
    std::memcpy(&payload[payload.size() - sizeof(i)], &i, sizeof(i));
  }
  return calls;
}

enum class Baseline { kFormatting, kWalkAndFormatting };

void DumpAs(benchmark::State& state, const std::vector<RecordedCall>& calls,
            const std::string& format, Baseline baseline) {
  // The lines of one frame stand for those of all.
  const Input oneFrame(calls, Data::kCompressionNone, 1);
  const auto bare = std::make_unique<BareLines>(TextOfDump(oneFrame.Path(), format));
  std::string again;
  bare->Format([&](std::string_view text) { again += text; });
  if (again != bare->Text()) {
    state.SkipWithError("the bare lines differ");
    return;
  }

  const Input input(calls);
  Compare(
      state, {static_cast<double>(input.Calls()), "calls"},
      [&] {
        if (baseline == Baseline::kWalkAndFormatting) {
          CountingAdapter adapter;
          LibraryWalk(input.Path(), {&adapter, 1}).Finish();
        }
        for (uint64_t frame = 0; frame < input.Frames(); ++frame) {
          bare->Format([](std::string_view text) { benchmark::DoNotOptimize(text.data()); });
        }
      },
      [&] {
        RunTool({"dump", "--jobs", "1", "--format", format, input.Path()});
      });
}

benchmark::internal::Benchmark* DumpComparison(const char* name, const std::string& format,
                                               Baseline baseline) {
  return Comparison(
      name, [=](benchmark::State& state) { DumpAs(state, SmallCalls(), format, baseline); });
}

[[maybe_unused]] const benchmark::internal::Benchmark* const registered[] = {
    DumpComparison("f. dump as text", "text", Baseline::kFormatting),
    DumpComparison("f. dump as text, beside walk and lines", "text", Baseline::kWalkAndFormatting),
    Comparison("f. dump as text, no call made twice",
               [](benchmark::State& state) {
                 DumpAs(state, CallsMadeOnce(), "text", Baseline::kFormatting);
               }),
    DumpComparison("f. dump as JSON Lines", "jsonl", Baseline::kFormatting),
    DumpComparison("f. dump as JSON Lines, beside walk and lines", "jsonl",
                   Baseline::kWalkAndFormatting),
};

}  // namespace
