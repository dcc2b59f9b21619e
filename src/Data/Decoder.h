// Base of the decoders that turn recorded calls back into typed calls.
#ifndef DCAPKIT_DATA_DECODER_H
#define DCAPKIT_DATA_DECODER_H

#include <cstdint>

#include "Core/Export.h"
#include "Data/BoundedRead.h"
#include "Data/PointerData.h"

namespace Data {

enum class ApiCallType : uint16_t;

/// Decodes the calls of one API. A `DCAPDecodeConsumer` asks each of its decoders in turn whether
/// it claims a call and hands the payload to every one that does.
///
/// The library brings `EGLDecoder` and `GLDecoder`. Derive to decode calls of another range, or to
/// see payloads of these ranges undecoded. Classes compiled with -fno-rtti work. The order of the
/// virtual operations is part of the interface; payloads are borrowed for the duration of one
/// operation.
///
/// A payload holds the parameters one after another, unpadded, then the recorded result if there is
/// one. A handler keeps a running offset and advances it by the count that each read returns:
///
///     uint32_t target = 0;
///     uint32_t buffer = 0xFFFFFFFF;
///     uint32_t offset = 0;
///     offset += ExtractValue(data, size, offset, 4, &target);
///     offset += ExtractValue(data, size, offset, 4, &buffer);
///
/// A read that fails returns 0 and leaves both the value and the offset as they were, so a payload
/// that is too short yields defaults, never a fault.
class DCAPKIT_API Decoder {
 public:
  Decoder() = default;
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  virtual ~Decoder();

  /// True when this decoder wants the calls with this identifier.
  virtual bool SupportsId(ApiCallType id) = 0;

  /// Decodes a function call whose payload is `size` bytes at `data`.
  virtual void ProcessFunctionCall(ApiCallType id, const uint8_t* data, uint32_t size) = 0;

  /// Decodes a method call; `value` stands for the object, as recorded.
  virtual void ProcessMethodCall(ApiCallType id, uint32_t value, const uint8_t* data,
                                 uint32_t size) = 0;

  /// The recorded calls that follow were made on thread `threadId`.
  virtual void ProcessThreadChange(uint32_t threadId) = 0;

  /// Stores `threadId` and calls `ProcessThreadChange`, but only when it differs from the one
  /// before; the first is 0. Thread ids are values of the recording, not threads of this process.
  void SetCurrentThreadId(uint32_t threadId) {
    if (threadId == currentThreadId_) return;
    currentThreadId_ = threadId;
    ProcessThreadChange(threadId);
  }

  /// Copies the `width` bytes at `offset` of the payload to `dest` and returns `width`. Returns 0
  /// and leaves `dest` untouched when `width` is 0 or the payload does not hold the whole value:
  /// silently when `offset` is at or beyond the end, with a log line when the payload ends inside
  /// the value.
  static uint32_t ExtractValue(const uint8_t* data, uint32_t size, uint32_t offset, uint32_t width,
                               void* dest) {
    return BoundedRead(data, size, offset, width, dest, &LogCutValue);
  }

  /// Decodes the pointer parameter at `offset` into `dest` and returns the bytes that it took.
  /// Elements of arrays and single values have `elementSize` bytes. A null `dest` reads nothing and
  /// returns 0. Throws std::bad_alloc as `PointerData::Decode` does.
  static uint32_t ExtractPointerData(const uint8_t* data, uint32_t size, uint32_t offset,
                                     uint32_t elementSize, PointerData* dest) {
    return dest == nullptr ? 0 : dest->Decode(data, size, offset, elementSize);
  }

 private:
  [[gnu::cold, gnu::noinline]] static void LogCutValue();

  uint32_t currentThreadId_ = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DECODER_H
