// Metadata records as named fields, so that each output format prints them with one loop.
#ifndef DCAP_INSPECT_METARECORD_H
#define DCAP_INSPECT_METARECORD_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "Data/MetaHandler.h"

namespace Inspect {

/// One field of a record. Everything is borrowed for the duration of the callback.
struct MetaField {
  enum Kind : uint8_t {
    kUnsigned,
    kSigned,
    kText,     ///< `bytes`; null when the record holds none
    kBytes,    ///< `bytes`; null when the record holds none
    kNumbers,  ///< `bytes` of packed 32-bit values, unaligned; null when the record holds none
    kEntries,  ///< `number` entries, made one at a time by `entry`
  };
  const char* name;
  Kind kind;
  uint64_t number = 0;
  std::span<const uint8_t> bytes = {};
  std::function<std::vector<MetaField>(uint64_t index)> entry = {};
};

struct MetaRecord {
  const char* name;  ///< that of the operation of `Data::MetaHandler`
  std::vector<MetaField> fields;
};

/// Turns every metadata record into a `MetaRecord`.
class MetaFlattener : public Data::MetaHandler {
 public:
  virtual void Record(const MetaRecord& record) = 0;

  void ProcessTextMetadata1(const uint8_t* data, uint32_t size) final;
  void ProcessTextMetadata2(const uint8_t* data, uint32_t size) final;
  void ProcessTextMetadata3(const uint8_t* data, uint32_t size) final;
  void DisplayMessage(const std::string& message) final;
  void SetWindowSize(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3) final;
  void CreateEglImageBuffer(uint32_t a0, uint32_t a1, const Data::EglImageBufferDesc* desc) final;
  void SetEglImageContent(uint32_t image, const Data::EglImageBufferDesc* desc) final;
  void EGLConfigStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values, uint32_t count) final;
  void EGLSurfaceStateDesc(uint32_t a0, uint32_t a1, const uint32_t* values, uint32_t count) final;
  void GLUniformsStateDesc(uint32_t program, uint32_t count,
                           const Data::GLResourceDesc* entries) final;
  void GLUniformBlocksStateDesc(uint32_t program, uint32_t count,
                                const Data::GLUniformBlockDesc* entries) final;
  void GLAttributesStateDesc(uint32_t program, uint32_t count,
                             const Data::GLResourceDesc* entries) final;
  void GLAtomicCounterBufferStateDesc(uint32_t program, uint32_t count,
                                      const Data::GLAtomicCounterBufferDesc* entries) final;
  void GLBufferVariablesStateDesc(uint32_t program, uint32_t count,
                                  const Data::GLBufferVariableDesc* entries) final;
  void GLStorageBlocksStateDesc(uint32_t program, uint32_t count,
                                const Data::GLStorageBlockDesc* entries) final;
  void ProcessRawMetadata(uint32_t subtype, const uint8_t* data, uint32_t size) final;
  void GLLimitsDesc(uint32_t count, const Data::GLLimitPair* pairs) final;
  void DefaultColorBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t size, const uint8_t* pixels) final;
  void DefaultDepthBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t size, const uint8_t* pixels) final;
  void DefaultStencilBuffer(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                            uint32_t a5, uint32_t size, const uint8_t* pixels) final;
  void MultiSampleTexture(uint32_t a0, uint32_t a1, uint32_t a2, uint32_t a3, uint32_t a4,
                          uint32_t a5, uint32_t a6, uint32_t a7, int32_t a8, int32_t length,
                          const uint8_t* data) final;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_METARECORD_H
