// Turns metadata records into calls on meta handlers.
#ifndef DCAPKIT_DATA_METADECODER_H
#define DCAPKIT_DATA_METADECODER_H

#include <cstdint>

#include "Core/Export.h"
#include "Data/MetaHandler.h"
#include "Data/Registry.h"

namespace Data {

/// `MetadataDesc::type`. The subtypes count from 1, in this order:
///
///     text                ProcessTextMetadata1, ...2, ...3
///     command             DisplayMessage, SetWindowSize, SetEglImageContent, DefaultColorBuffer,
///                         DefaultDepthBuffer, DefaultStencilBuffer, CreateEglImageBuffer,
///                         MultiSampleTexture
///     state description   EGLConfigStateDesc, EGLSurfaceStateDesc, GLUniformsStateDesc,
///                         GLUniformBlocksStateDesc, GLAttributesStateDesc, GLLimitsDesc,
///                         GLAtomicCounterBufferStateDesc, GLBufferVariablesStateDesc,
///                         GLStorageBlocksStateDesc
///     raw                 ProcessRawMetadata, whatever the subtype
enum MetadataType : uint32_t {
  kMetadataText = 1,
  kMetadataCommand = 2,
  kMetadataStateDescription = 3,
  kMetadataRaw = 4,
};

/// Returns the name of the `MetaHandler` operation that receives records of this type and subtype,
/// or null when the decoder knows none. The text is a constant.
DCAPKIT_API const char* MetadataRecordName(uint32_t type, uint32_t subtype);

/// Decodes metadata payloads and calls every registered `MetaHandler`, in registration order, with
/// the same decoded record. It borrows handlers and never deletes them. Without a handler it still
/// reads records and writes their log lines.
class DCAPKIT_API MetaDecoder {
 public:
  MetaDecoder();
  MetaDecoder(const MetaDecoder&) = delete;
  MetaDecoder& operator=(const MetaDecoder&) = delete;
  virtual ~MetaDecoder();

  /// Decodes one record of `size` bytes at `data`. Logs and skips unknown types and subtypes. A
  /// value that the payload cuts is logged and keeps its default; the values after it are then read
  /// from where it stood. A record that claims more entries than the payload has bytes is logged
  /// once and dropped.
  ///
  /// Throws what a handler throws; std::logic_error for an empty display message when there is a
  /// handler; std::bad_alloc when memory is short or when names and entries that the payload claims
  /// but does not hold exceed `kMaxUnbackedBytes` (`Data/Limits.h`).
  virtual void ProcessMetadata(uint32_t type, uint32_t subtype, const uint8_t* data, uint32_t size);

  /// Tells every handler that the records that follow were made on the recorded thread `threadId`.
  virtual void ProcessThreadChange(uint32_t threadId);

  /// Stores `threadId` and calls `ProcessThreadChange`, but only when it differs from the one
  /// before; the first is 0.
  void SetCurrentThreadId(uint32_t threadId);

  /// Appends a handler; one that is added twice is called twice. Do not add or remove handlers from
  /// inside their operations: `DCAPDecodeConsumer` says what happens if you do.
  void AddHandler(MetaHandler* handler);
  /// Removes the first entry of a handler; does nothing when there is none.
  void RemoveHandler(MetaHandler* handler);

  /// Copies the `width` bytes at `offset` of a payload to `dest` and returns `width`. Returns 0 and
  /// leaves `dest` untouched when the payload does not hold the whole value: silently when `offset`
  /// is at or beyond the end, with a log line when the payload ends inside the value.
  static uint32_t ExtractValue(const uint8_t* data, uint32_t size, uint32_t offset, uint32_t width,
                               void* dest);

  /// Does the same for `count` elements of `elementSize` bytes, without a copy: points `*out` into
  /// the payload and returns the bytes that they take.
  static uint32_t ExtractArray(const uint8_t* data, uint32_t size, uint32_t offset,
                               uint32_t elementSize, uint32_t count, const void** out);

 private:
  uint32_t currentThreadId_ = 0;
  Registry<MetaHandler> handlers_;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_METADECODER_H
