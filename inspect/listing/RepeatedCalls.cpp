#include "inspect/listing/RepeatedCalls.h"

#include <algorithm>

#include "inspect/events/PointerFacts.h"
#include "inspect/listing/LogLines.h"

namespace Inspect {

namespace {

// Loads the payload itself, in words that may overlap: loads from a copy would wait for the
// narrower stores that made it.
uint64_t HashOf(Data::ApiCallType id, const unsigned char* bytes, size_t size) {
  auto hash = static_cast<uint64_t>(id);
  const auto add = [&hash](uint64_t word) {
    constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    hash = (hash ^ word) * kGoldenRatio;
    hash ^= hash >> 32;
  };
  if (size >= sizeof(uint64_t)) {
    const unsigned char* const last = bytes + size - sizeof(uint64_t);
    for (; bytes < last; bytes += sizeof(uint64_t)) add(Load<uint64_t>(bytes));
    add(Load<uint64_t>(last));
  } else if (size >= sizeof(uint32_t)) {
    add(uint64_t{Load<uint32_t>(bytes)} << 32 | Load<uint32_t>(bytes + size - sizeof(uint32_t)));
  } else {
    for (size_t i = 0; i < size; ++i) add(bytes[i]);
  }
  add(size);
  return hash;
}

}  // namespace

PaddedText RepeatedCalls::Search(Data::ApiCallType id, std::span<const unsigned char> payload) {
  const uint64_t hash = HashOf(id, payload.data(), payload.size());
  Entry& entry = entries_[hash >> (64 - kIndexBits)];
  if (entry.id == id && entry.payloadSize == payload.size() &&
      std::equal(payload.begin(), payload.end(), entry.payload.begin())) {
    if (entry.size != 0) {
      credit_ = std::min(credit_ + kGain, kMaxCredit);
      return {entry.text.data(), entry.size};
    }
    missed_ = &entry;
    logLines_ = logLinesOfThisThread;
    lines_ = 0;
  } else {
    std::ranges::copy(payload, entry.payload.begin());
    entry.payloadSize = payload.size();
    entry.id = id;
    entry.size = 0;
  }
  if (--credit_ == 0) {
    credit_ = kMaxCredit;
    pause_ = kPause;
  }
  return {nullptr, 0};
}

void RepeatedCalls::Keep(const TextBuffer& buffer) {
  if (lines_ != 1 || logLinesOfThisThread != logLines_) return;
  const std::string_view text = buffer.TextSince(position_);
  if (text.size() > kMaxText) return;
  missed_->text.assign(text).append(PaddedText::kPadding, '\0');
  missed_->size = text.size();
}

}  // namespace Inspect
