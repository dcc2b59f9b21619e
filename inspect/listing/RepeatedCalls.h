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

/// Keeps the lines of calls with small payloads, without their beginnings. Applications make most
/// of their calls over and over, frame after frame, and a line depends on the payload alone: a
/// payload that was met before need not be decoded and formatted again.
class RepeatedCalls {
 public:
  /// Writes the line of a call if it is kept, else returns false. `start(out)` writes the
  /// beginning, of up to `startRoom` bytes, and returns its end.
  template <typename Start>
  bool Write(TextBuffer* buffer, size_t startRoom, Start start, Data::ApiCallType id,
             std::span<const unsigned char> payload) {
    const PaddedText line = Find(id, payload);
    if (line.text == nullptr) return false;
    char* out = start(buffer->Room(startRoom + line.size + PaddedText::kPadding));
    buffer->Commit(line.CopyTo(out));
    return true;
  }

  /// On a miss the caller writes the line itself and reports where its cacheable part begins, and
  /// then its end.
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
  // A hit saves four times the cost of a miss; after too many misses, lookups pause for `kPause`
  // calls.
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

  // The line without its beginning; `text` is null when it is not kept.
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
  Entry* missed_ = nullptr;  // may keep the line that is written now
  uint64_t logLines_ = 0;    // logged before that line
  int lines_ = 0;            // written since the miss
  uint64_t position_ = 0;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_REPEATEDCALLS_H
