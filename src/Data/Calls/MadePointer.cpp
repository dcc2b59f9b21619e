#include "Data/Calls/MadePointer.h"

#include <cstring>

#include "Core/Exceptions.h"
#include "Data/Calls/CallEncoder.h"

namespace Data {

namespace {

char* MakeText(std::string_view text) {
  char* copy = new char[text.size() + 1];
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

uint32_t RequireCount(uint64_t count) {
  if (count > UINT32_MAX) throw Core::BasicException(CallEncoder::PayloadTooLargeMsg);
  return static_cast<uint32_t>(count);
}

}  // namespace

// Sets members as `PointerData::Decode` would. Memory belongs to pointer_ as soon as it is
// allocated, which frees it.

void MadePointer::Begin(uint32_t flags, uint64_t address, uint64_t count, uint32_t elementSize) {
  pointer_.decoded = true;
  pointer_.flags = flags | (address != 0 ? PointerFlagAddress : 0u);
  pointer_.pointerValue = address;
  pointer_.elementSize = elementSize;
  pointer_.count = RequireCount(count);
}

MadePointer::MadePointer(uint32_t flags, uint64_t address, const void* elements, uint64_t count,
                         uint32_t elementSize) {
  Begin(flags, address, count, elementSize);
  if (flags == 0) {
    // Adapters read a lone address from `data`.
    std::memcpy(&pointer_.data, &address, sizeof(address));
    return;
  }
  const uint64_t size = count * elementSize;
  pointer_.data = pointer_.arrayData = new uint8_t[size];
  if (size != 0) std::memcpy(pointer_.arrayData, elements, size);
}

MadePointer::MadePointer(std::string_view text, uint64_t address) {
  Begin(PointerKindString, address, text.size(), 1);
  pointer_.data = pointer_.stringData = MakeText(text);
}

MadePointer::MadePointer(std::span<const std::string_view> texts, uint64_t address) {
  Begin(PointerKindStringArray, address, texts.size(), 0);
  if (texts.empty()) return;
  pointer_.data = pointer_.strings = new char*[texts.size()]();
  pointer_.stringFlags = new uint32_t[texts.size()];
  pointer_.stringPointerValues = new uint64_t[texts.size()]();
  pointer_.stringLengths = new uint32_t[texts.size()];
  for (size_t i = 0; i < texts.size(); ++i) {
    pointer_.stringFlags[i] = PointerKindString;
    pointer_.stringLengths[i] = RequireCount(texts[i].size());
    pointer_.strings[i] = MakeText(texts[i]);
  }
}

}  // namespace Data
