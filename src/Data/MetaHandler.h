// The receiver of decoded metadata.
#ifndef DCAPKIT_DATA_METAHANDLER_H
#define DCAPKIT_DATA_METAHANDLER_H

#include <cstdint>
#include <string>

#include "Core/Export.h"
#include "Data/MetaRecords.h"

namespace Data {

/// Receives the metadata records of a capture, one operation a record, from a `MetaDecoder`.
///
/// Override the operations of interest; the defaults do nothing. The order of the operations is
/// part of the interface. Every pointer is valid only until the operation returns. An exception
/// that an operation throws ends the decoding of the record.
///
/// Arguments named `a0`, `a1`, ... are passed on as recorded: the format fixes their order and
/// width, not their meaning. Arguments missing from a short payload are 0, or have all bits set
/// (0xFFFFFFFF) where that is stated.
class DCAPKIT_API MetaHandler {
 public:
  virtual ~MetaHandler() = default;

  /// The records that follow were made on the recorded thread `threadId`.
  virtual void ProcessThreadChange(uint32_t /*threadId*/) {}

  /// Text of three kinds: `size` bytes without terminator.
  virtual void ProcessTextMetadata1(const uint8_t* /*data*/, uint32_t /*size*/) {}
  virtual void ProcessTextMetadata2(const uint8_t* /*data*/, uint32_t /*size*/) {}
  virtual void ProcessTextMetadata3(const uint8_t* /*data*/, uint32_t /*size*/) {}

  /// A message for the person who looks at the capture; it ends at its first NUL. An empty one
  /// never arrives: `MetaDecoder::ProcessMetadata` throws.
  virtual void DisplayMessage(const std::string& /*message*/) {}

  /// `a0` and `a1` have all bits set when missing.
  virtual void SetWindowSize(uint32_t /*a0*/, uint32_t /*a1*/, uint32_t /*a2*/, uint32_t /*a3*/) {}

  /// An EGL image buffer; `desc` has no planes here. `a0` and `a1` have all bits set when missing.
  virtual void CreateEglImageBuffer(uint32_t /*a0*/, uint32_t /*a1*/,
                                    const EglImageBufferDesc* /*desc*/) {}

  /// The contents of an EGL image, plane by plane. `image` has all bits set when missing.
  virtual void SetEglImageContent(uint32_t /*image*/, const EglImageBufferDesc* /*desc*/) {}

  /// Attributes of an EGL config or surface: `count` values, null for none. `a0` and `a1` have all
  /// bits set when missing.
  virtual void EGLConfigStateDesc(uint32_t /*a0*/, uint32_t /*a1*/, const uint32_t* /*values*/,
                                  uint32_t /*count*/) {}
  virtual void EGLSurfaceStateDesc(uint32_t /*a0*/, uint32_t /*a1*/, const uint32_t* /*values*/,
                                   uint32_t /*count*/) {}

  /// Interface tables of a program: `count` entries, null for none. `program` has all bits set when
  /// missing.
  virtual void GLUniformsStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                   const GLResourceDesc* /*entries*/) {}
  virtual void GLUniformBlocksStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                        const GLUniformBlockDesc* /*entries*/) {}
  virtual void GLAttributesStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                     const GLResourceDesc* /*entries*/) {}
  virtual void GLAtomicCounterBufferStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                              const GLAtomicCounterBufferDesc* /*entries*/) {}
  virtual void GLBufferVariablesStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                          const GLBufferVariableDesc* /*entries*/) {}
  virtual void GLStorageBlocksStateDesc(uint32_t /*program*/, uint32_t /*count*/,
                                        const GLStorageBlockDesc* /*entries*/) {}

  /// A payload whose meaning only its writer knows.
  virtual void ProcessRawMetadata(uint32_t /*subtype*/, const uint8_t* /*data*/,
                                  uint32_t /*size*/) {}

  /// The limits of the GL implementation; never called for an empty table.
  virtual void GLLimitsDesc(uint32_t /*count*/, const GLLimitPair* /*pairs*/) {}

  /// Contents of the default framebuffer; never called without any. `size` is that of the whole
  /// record, 28 bytes more than `pixels` has. `pixels` points into the payload, without alignment;
  /// it is null when the payload is too short.
  virtual void DefaultColorBuffer(uint32_t /*a0*/, uint32_t /*a1*/, uint32_t /*a2*/,
                                  uint32_t /*a3*/, uint32_t /*a4*/, uint32_t /*a5*/,
                                  uint32_t /*size*/, const uint8_t* /*pixels*/) {}
  virtual void DefaultDepthBuffer(uint32_t /*a0*/, uint32_t /*a1*/, uint32_t /*a2*/,
                                  uint32_t /*a3*/, uint32_t /*a4*/, uint32_t /*a5*/,
                                  uint32_t /*size*/, const uint8_t* /*pixels*/) {}
  virtual void DefaultStencilBuffer(uint32_t /*a0*/, uint32_t /*a1*/, uint32_t /*a2*/,
                                    uint32_t /*a3*/, uint32_t /*a4*/, uint32_t /*a5*/,
                                    uint32_t /*size*/, const uint8_t* /*pixels*/) {}

  /// Contents of a multisample texture: `length` bytes at `data`, which points into the payload and
  /// is null when the payload is too short. Never called without contents.
  virtual void MultiSampleTexture(uint32_t /*a0*/, uint32_t /*a1*/, uint32_t /*a2*/,
                                  uint32_t /*a3*/, uint32_t /*a4*/, uint32_t /*a5*/,
                                  uint32_t /*a6*/, uint32_t /*a7*/, int32_t /*a8*/,
                                  int32_t /*length*/, const uint8_t* /*data*/) {}

 protected:
  MetaHandler() = default;
  MetaHandler(const MetaHandler&) = default;
  MetaHandler& operator=(const MetaHandler&) = default;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_METAHANDLER_H
