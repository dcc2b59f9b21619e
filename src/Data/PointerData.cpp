#include "Data/PointerData.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "Core/Log.h"
#include "Data/Limits.h"

namespace Data {
namespace {

using Core::Log;

constexpr char kUnit[] = "src/Data/PointerData";

uint32_t BytesLeft(uint32_t size, uint32_t offset) { return offset < size ? size - offset : 0; }

// Reads a length and the text behind it, if `textFlags` say that it was recorded, into a buffer of
// length + 1 bytes. `claimedBytes` sums up the buffers of one block that are only claimed.
uint32_t ReadText(const uint8_t* payload, uint32_t size, uint32_t offset, uint32_t textFlags,
                  uint64_t* claimedBytes, char** text, uint32_t* length, bool* claimed) {
  uint32_t consumed = PointerData::ExtractValue(payload, size, offset, 4, length);
  offset += consumed;
  // The length may be UINT32_MAX.
  const uint64_t bytes = uint64_t{*length} + 1;
  const bool recorded = (textFlags & PointerFlagNoContent) == 0;
  if (recorded && *length <= BytesLeft(size, offset)) {
    *text = new char[bytes];
    (*text)[*length] = '\0';
  } else {
    RequireClaimedSize(*claimedBytes += *length);
    *text = MakeZeroed<char>(bytes).release();
    *claimed = true;
  }
  if (recorded) consumed += PointerData::ExtractValue(payload, size, offset, *length, *text);
  return consumed;
}

void FreeText(char* text, bool lazy) {
  if (lazy) {
    std::free(text);
  } else {
    delete[] text;
  }
}

uint8_t* Grow(uint8_t* array, uint64_t bytes) {
  auto* grown = static_cast<uint8_t*>(std::realloc(array, bytes));
  if (grown == nullptr) throw std::bad_alloc();
  return grown;
}

}  // namespace

uint32_t PointerData::Decode(const uint8_t* payload, uint32_t size, uint32_t offset,
                             uint32_t width) {
  // Flags without `decoded` are the trace of a Decode that threw half-way.
  if (decoded || flags != 0) Clear();
  if (payload == nullptr || size == 0) return 0;

  // Every read starts within the payload or consumes nothing: offset + consumed does not wrap.
  uint32_t consumed = ExtractValue(payload, size, offset, 4, &flags);
  if (flags != 0) {
    if ((flags & PointerFlagAddress) != 0) {
      consumed += ExtractValue(payload, size, offset + consumed, 8, &pointerValue);
    }
    const uint32_t content = offset + consumed;
    switch (flags & PointerKindMask) {
      case PointerKindStringArray:
        elementSize = 0;
        consumed += ExtractStringArray(payload, size, content);
        data = strings;
        break;
      case PointerKindString:
        elementSize = 1;
        consumed += ExtractString(payload, size, content);
        data = stringData;
        break;
      case PointerKindArray:
        elementSize = width;
        consumed += ExtractArray(payload, size, content, width);
        data = arrayData;
        break;
      default:
        if ((flags & PointerFlagValue) != 0) {
          elementSize = width;
          count = 1;
          consumed += ExtractPointerValue(payload, size, content, width);
          data = arrayData;
        } else if ((flags & PointerFlagAddress) != 0) {
          data = std::bit_cast<void*>(pointerValue);
        } else {
          constexpr int kSite = 106;
          Log::Print(Log::LogLevel::kNotice, Log::LogZone::kProcessing, kSite, kUnit, true,
                     "PointerData::Decode processed a buffer that contained no pointer related "
                     "data.");
        }
    }
  }
  decoded = true;
  return consumed;
}

uint32_t PointerData::ExtractArray(const uint8_t* payload, uint32_t size, uint32_t offset,
                                   uint32_t width) {
  uint32_t n = 0;
  const uint32_t consumed = ExtractValue(payload, size, offset, 4, &n);
  count = n;
  if (width == 0) return consumed;
  // A recorder that does not know how much a pointer leads to records a count of 0.
  const bool sizeKnown = n != 0;
  if (!sizeKnown) {
    constexpr int kSite = 395;
    count = n = kDefaultArrayCount;
    Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, kSite, kUnit, true,
               "Allocating default buffer of size %d for array parameter of unknown size.",
               static_cast<int>(n));
  }
  if ((flags & PointerFlagSizeOnly) != 0) return consumed;

  offset += consumed;
  const uint64_t bytes = uint64_t{n} * width;
  if (!sizeKnown) {
    RequireUnbackedSize(bytes);
    arrayData = new uint8_t[bytes]();
    return consumed;
  }
  return consumed + ExtractContent(payload, size, offset, bytes);
}

// Reads the content of an array or single value, if it was recorded, into `arrayData`.
inline uint32_t PointerData::ExtractContent(const uint8_t* payload, uint32_t size, uint32_t offset,
                                            uint64_t bytes) {
  const bool recorded = (flags & PointerFlagNoContent) == 0;
  // Content that the payload holds overwrites every byte, so it is not cleared first. All other
  // content is claimed: calloc gives it pages that cost nothing until they are touched.
  if (recorded && bytes <= BytesLeft(size, offset)) {
    arrayData = new uint8_t[bytes];
  } else {
    RequireClaimedSize(bytes);
    arrayData = MakeZeroed<uint8_t>(bytes).release();
    claimed_ = lazy_ = true;
  }
  if (!recorded) return 0;
  return ExtractValue(payload, size, offset, static_cast<uint32_t>(bytes), arrayData);
}

uint32_t PointerData::ExtractString(const uint8_t* payload, uint32_t size, uint32_t offset) {
  uint64_t claimedBytes = 0;
  const uint32_t consumed =
      ReadText(payload, size, offset, flags, &claimedBytes, &stringData, &count, &lazy_);
  claimed_ = lazy_;
  return consumed;
}

uint32_t PointerData::ExtractStringArray(const uint8_t* payload, uint32_t size, uint32_t offset) {
  uint32_t n = 0;
  uint32_t consumed = ExtractValue(payload, size, offset, 4, &n);
  if (n == 0) return consumed;

  // Every entry has a flags word, so more entries than bytes are a lie, and an array that cannot
  // have all its flags words in the payload is of claimed size.
  if (n > size) throw std::bad_alloc();
  if (n > BytesLeft(size, offset + consumed) / sizeof(uint32_t)) {
    RequireUnbackedSize(n * uint64_t{sizeof(*strings) + sizeof(*stringFlags) +
                                     sizeof(*stringPointerValues) + sizeof(*stringLengths)});
  }
  strings = new char*[n]();
  count = n;  // from here on Clear frees the strings, however far reading gets
  stringFlags = new uint32_t[n]();
  stringPointerValues = new uint64_t[n]();
  stringLengths = new uint32_t[n]();
  claimedStrings_ = new bool[n]();

  // All entries share one sum: many small claims are as dear as a large one.
  uint64_t claimedBytes = 0;
  for (uint32_t i = 0; i < n; ++i) {
    consumed += ExtractValue(payload, size, offset + consumed, 4, &stringFlags[i]);
    if (stringFlags[i] == 0) continue;
    if ((stringFlags[i] & PointerFlagAddress) != 0) {
      consumed += ExtractValue(payload, size, offset + consumed, 8, &stringPointerValues[i]);
    }
    consumed += ReadText(payload, size, offset + consumed, stringFlags[i], &claimedBytes,
                         &strings[i], &stringLengths[i], &claimedStrings_[i]);
  }
  return consumed;
}

uint32_t PointerData::ExtractPointerValue(const uint8_t* payload, uint32_t size, uint32_t offset,
                                          uint32_t width) {
  return width == 0 ? 0 : ExtractContent(payload, size, offset, width);
}

uint32_t PointerData::ResizeArray(uint32_t n) {
  if ((flags & PointerKindMask) != PointerKindArray) return kWrongKind;
  if (n == 0) return kZeroSize;
  if (count >= n) return kResized;

  const uint64_t bytes = uint64_t{n} * elementSize;
  const bool recorded = (flags & PointerFlagNoContent) == 0;
  if (lazy_ && !recorded) {
    // The old content was never recorded, so zeros take its place.
    uint8_t* grown = MakeZeroed<uint8_t>(bytes).release();
    std::free(arrayData);
    arrayData = grown;
  } else if (lazy_) {
    // Without a copy, which would touch pages that nobody has touched.
    arrayData = Grow(arrayData, bytes);
    claimed_ = false;  // the content is the caller's own now
  } else {
    auto* grown = new uint8_t[bytes];
    if (arrayData != nullptr && recorded) {
      std::memcpy(grown, arrayData, uint64_t{count} * elementSize);
    }
    delete[] arrayData;
    arrayData = grown;
  }
  data = arrayData;
  count = n;
  return kResized;
}

uint32_t PointerData::ResizeString(uint32_t n) {
  if ((flags & PointerKindMask) != PointerKindString) return kWrongKind;
  if (n == 0) return kZeroSize;
  if (count >= n) return kResized;

  const uint64_t bytes = uint64_t{n} + 1;
  char* grown = lazy_ ? MakeZeroed<char>(bytes).release() : new char[bytes]();
  if (stringData != nullptr && (flags & PointerFlagNoContent) == 0) {
    std::memcpy(grown, stringData, count);
    claimed_ = false;  // the content is the caller's own now
  }
  FreeText(stringData, lazy_);
  data = stringData = grown;
  count = n;
  return kResized;
}

void PointerData::FreeBuffers() noexcept {
  claimed_ = false;
  // As they were allocated: claimed content with calloc, all other with new[].
  if (std::exchange(lazy_, false)) {
    std::free(arrayData);
    std::free(stringData);
  } else {
    delete[] arrayData;
    delete[] stringData;
  }
  arrayData = nullptr;
  stringData = nullptr;
  if (strings == nullptr) return;
  for (uint32_t i = 0; i < count; ++i) FreeText(strings[i], IsClaimed(i));
  delete[] claimedStrings_;
  claimedStrings_ = nullptr;
  delete[] strings;
  strings = nullptr;
  delete[] stringFlags;
  stringFlags = nullptr;
  delete[] stringPointerValues;
  stringPointerValues = nullptr;
  delete[] stringLengths;
  stringLengths = nullptr;
}

void PointerData::LogCutValue() {
  constexpr int kSite = 271;
  Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, kSite, kUnit, true,
             "DCAP API call block parameter decoding error: block is too small to contain all "
             "expected parameter data");
}

}  // namespace Data
