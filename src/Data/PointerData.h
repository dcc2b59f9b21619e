// One decoded pointer parameter of a recorded call.
#ifndef DCAPKIT_DATA_POINTERDATA_H
#define DCAPKIT_DATA_POINTERDATA_H

#include <cstdint>

#include "Core/Export.h"
#include "Data/BoundedRead.h"

namespace Data {

/// The flags word that begins a pointer block. The bits of `PointerKindMask` give the kind of
/// content.
enum PointerFlags : uint32_t {
  PointerFlagValue = 0x1,        ///< kind 0: a single value of the element size follows
  PointerKindArray = 0x2,        ///< an element count and the elements
  PointerKindString = 0x4,       ///< a length and the bytes, without terminator
  PointerKindStringArray = 0x6,  ///< a count and entries, each with flags of its own
  PointerKindMask = 0x6,
  PointerFlagAddress = 0x8,     ///< the pointer's own 64-bit value is recorded
  PointerFlagNoContent = 0x10,  ///< sizes are recorded, the bytes are not
  PointerFlagSizeOnly = 0x20,   ///< arrays: the element count is recorded, and no buffer is made
};

/// A pointer parameter as it was when the call was recorded: null, an address, one value, an array,
/// a string or an array of strings. Adapters receive it as `const PointerData*`, valid only until
/// they return, and read `data` and `count`:
///
///     void glShaderSource(uint32_t shader, int32_t count, const PointerData* string,
///                         const PointerData* length) override {
///       if ((string->flags & PointerKindMask) != PointerKindStringArray) return;
///       for (uint32_t i = 0; i < string->count; ++i)
///         if (string->strings[i] != nullptr) Append(string->strings[i], string->stringLengths[i]);
///     }
///
/// The object owns its buffers. All are copies that do not point into the payload, so their
/// alignment suits any element. It is neither copied nor assigned.
class DCAPKIT_API PointerData {
 public:
  /// The results of `ResizeArray` and `ResizeString`.
  enum ResizeResult : uint32_t { kResized = 0, kWrongKind = 1, kZeroSize = 6 };

  /// Elements of the buffer made for an array whose recorded count is 0, which stands for unknown.
  static constexpr uint32_t kDefaultArrayCount = 512;

  PointerData() = default;
  PointerData(const PointerData&) = delete;
  PointerData& operator=(const PointerData&) = delete;
  virtual ~PointerData() { Clear(); }

  /// Frees every buffer and sets every member to zero or null, but keeps `elementSize`.
  void Clear() noexcept {
    if (arrayData != nullptr || stringData != nullptr || strings != nullptr) FreeBuffers();
    decoded = false;
    flags = 0;
    pointerValue = 0;
    count = 0;
    data = nullptr;
  }

  /// Decodes the pointer block at `offset` of a payload of `size` bytes, frees the buffers held
  /// before, and returns the bytes that the block took. `width` is the size of array elements and
  /// single values in bytes, which no capture records. Returns 0, with `decoded` false, for an
  /// empty payload.
  ///
  /// Logs a payload that is too short and decodes it as far as it goes: missing counts are 0 and
  /// missing bytes are zero. Throws std::bad_alloc when memory is short, when claimed contents
  /// exceed `kMaxClaimedBytes` or other unbacked buffers `kMaxUnbackedBytes` (`Data/Limits.h`), and
  /// for a string array with more entries than the payload has bytes; the object can then be
  /// decoded into again or destroyed.
  uint32_t Decode(const uint8_t* payload, uint32_t size, uint32_t offset, uint32_t width);

  /// Makes an array hold at least `n` elements and returns `kResized`. Never shrinks a buffer.
  /// Keeps the elements, unless their content was left out of the recording; does NOT clear further
  /// ones. `count` becomes `n`, and `arrayData` and `data` change.
  ///
  /// Returns `kWrongKind` for any other kind and `kZeroSize` for an `n` of 0. Nothing changes then,
  /// nor when std::bad_alloc is thrown because memory is short.
  uint32_t ResizeArray(uint32_t n);

  /// Does the same for a string of `n` characters and the NUL behind them. All further characters
  /// are NUL.
  uint32_t ResizeString(uint32_t n);

  /// True when the payload holds no byte of the content of this array, single value or string: it
  /// was left out of the recording, or the payload ends too early. The content is zero then. It may
  /// be large and takes memory only when it is touched, so ask here before reading it. False once a
  /// caller has resized content that the payload was too short for, which makes it the caller's
  /// own.
  [[nodiscard]] bool IsClaimed() const { return claimed_; }

  /// Tells the same of entry `i` of a string array.
  [[nodiscard]] bool IsClaimed(uint32_t i) const {
    return claimedStrings_ != nullptr && claimedStrings_[i];
  }

  /// Copies `width` bytes at `offset` of the payload to `dest` and returns `width`. Returns 0 and
  /// leaves `dest` untouched when the payload does not hold them all, as `Decoder::ExtractValue`
  /// does.
  static uint32_t ExtractValue(const uint8_t* payload, uint32_t size, uint32_t offset,
                               uint32_t width, void* dest) {
    return BoundedRead(payload, size, offset, width, dest, &LogCutValue);
  }

  bool decoded = false;       ///< a `Decode` succeeded
  uint32_t flags = 0;         ///< the flags word of the block, see `PointerFlags`
  uint64_t pointerValue = 0;  ///< the address on the recording device, 0 when not recorded
  uint32_t elementSize = 0;   ///< bytes: the width given to `Decode`; string 1, string array 0
  uint32_t count = 0;         ///< array elements, string length, strings; 1 for a single value

  /// Content of an array or single value; null with `PointerFlagSizeOnly` or element size 0.
  uint8_t* arrayData = nullptr;

  /// The characters of a string and a NUL. With `PointerFlagNoContent` all are NUL.
  char* stringData = nullptr;

  // A string array: `count` entries in each, all null when it is empty.
  uint32_t* stringFlags = nullptr;          ///< flags word of each entry
  uint64_t* stringPointerValues = nullptr;  ///< address of each entry, 0 when not recorded
  uint32_t* stringLengths = nullptr;        ///< length of each entry, without the NUL
  char** strings = nullptr;                 ///< each NUL-terminated, null for an entry of flags 0

  /// The content for adapters; not owned. `arrayData`, `stringData` or `strings` by the kind; the
  /// recorded address itself when nothing else was recorded (never follow it); otherwise null.
  void* data = nullptr;

 private:
  // Readers of the content of each kind; they fill the members and return the bytes consumed.
  // Hidden, so that Decode can inline them.
  [[gnu::visibility("hidden")]] uint32_t ExtractArray(const uint8_t* payload, uint32_t size,
                                                      uint32_t offset, uint32_t width);
  [[gnu::visibility("hidden")]] uint32_t ExtractString(const uint8_t* payload, uint32_t size,
                                                       uint32_t offset);
  [[gnu::visibility("hidden")]] uint32_t ExtractStringArray(const uint8_t* payload, uint32_t size,
                                                            uint32_t offset);
  [[gnu::visibility("hidden")]] uint32_t ExtractPointerValue(const uint8_t* payload, uint32_t size,
                                                             uint32_t offset, uint32_t width);
  [[gnu::visibility("hidden")]] uint32_t ExtractContent(const uint8_t* payload, uint32_t size,
                                                        uint32_t offset, uint64_t bytes);
  void FreeBuffers() noexcept;
  [[gnu::cold, gnu::noinline]] static void LogCutValue();

  bool claimed_ = false;
  bool lazy_ = false;  // arrayData and stringData come from calloc, otherwise from new[]
  bool* claimedStrings_ = nullptr;  // an element for each entry of `strings`
};

}  // namespace Data

#endif  // DCAPKIT_DATA_POINTERDATA_H
