// The lines of calls that are made again and again.
#ifndef DCAP_INSPECT_REPEATEDCALLS_H
#define DCAP_INSPECT_REPEATEDCALLS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Data/ApiCallType.h"

#include "inspect/listing/TextBuffer.h"

namespace Inspect {

/// Keeps the lines of calls with small payloads, but for what they begin with. Applications make
/// most of their calls over and over, frame after frame, and a line depends on the payload alone:
/// that of a payload met before need not be decoded and formatted once more.
class RepeatedCalls {
 public:
  /// Writes the line of that call behind `startRoom` bytes, in which `start(out)` writes what comes
  /// first and returns its end. False when the line is not kept.
  template <typename Start>
  bool Write(TextBuffer* buffer, size_t startRoom, Start start, Data::ApiCallType id,
             std::span<const unsigned char> payload) {
    const PaddedText line = Find(id, payload);
    if (line.text == nullptr) return false;
    char* out = start(buffer->Room(startRoom + line.size + PaddedText::kPadding));
    buffer->Commit(line.CopyTo(out));
    return true;
  }

  /// What was not kept is written now: to be told where each of its lines goes on behind its start,
  /// and then of the end of the last.
  void BeginLine(uint64_t position) {
    ++lines_;
    position_ = position;
  }
  void End(const TextBuffer& buffer) {
    if (missed_ != nullptr) [[unlikely]] {
      Keep(buffer);
    }
  }

 private:
  static constexpr int kIndexBits = 11;
  static constexpr size_t kMaxPayload = 48;
  static constexpr size_t kMaxText = 512;
  // A line that is found saves four times what it costs to look in vain. Where that does not pay,
  // nothing is looked for during so many calls.
  static constexpr int kGain = 4;
  static constexpr int kMaxCredit = 512;
  static constexpr int kPause = 8192;

  struct Entry {
    std::array<unsigned char, kMaxPayload> payload{};
    size_t payloadSize = 0;
    Data::ApiCallType id{};
    size_t size = 0;
    std::string text;  // and padding; empty until the payload comes for the second time
  };

  // The line from its start on; `text` is null when it is not kept.
  PaddedText Find(Data::ApiCallType id, std::span<const unsigned char> payload) {
    missed_ = nullptr;
    if (pause_ != 0) {
      --pause_;
      return {nullptr, 0};
    }
    return payload.size() <= kMaxPayload ? Search(id, payload) : PaddedText{nullptr, 0};
  }
  PaddedText Search(Data::ApiCallType id, std::span<const unsigned char> payload);
  void Keep(const TextBuffer& buffer);

  std::vector<Entry> entries_ = std::vector<Entry>(size_t{1} << kIndexBits);
  int credit_ = kMaxCredit;
  int pause_ = 0;
  Entry* missed_ = nullptr;  // that what is written now may go to
  uint64_t logLines_ = 0;    // before it
  int lines_ = 0;            // of it so far
  uint64_t position_ = 0;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_REPEATEDCALLS_H
