// The interface that receives decoded OpenGL ES calls.
#ifndef DCAPKIT_DATA_GLADAPTER_H
#define DCAPKIT_DATA_GLADAPTER_H

#include <cstdint>

#include "Core/Export.h"

namespace Data {

class PointerData;

/// Receives every decoded OpenGL ES call: one operation for each call, named after the GL function.
///
/// Derive from it, override the operations of interest and register the object with
/// `GLDecoder::AddAdapter`; the defaults do nothing. Classes compiled with -fno-rtti work. The
/// order of the operations is part of the interface.
///
/// Every operation receives first the recorded result (if the function returns one), then the
/// parameters in the order of the GL prototype. Enumerants, bit masks, booleans, object names,
/// buffer offsets and sizes come as 32-bit values, as recorded. Pointers (arrays, strings,
/// out-parameters, client memory) come as a `PointerData`, which is never null and valid only
/// during the operation. A value that the capture does not hold is 0, or has all bits set where it
/// names an object, a location or an index of one.
///
/// An exception that an operation throws leaves the decoder; further adapters do not receive the
/// call. After one that left a draw call see `GLDecoder::DestroyVertexAttribArrayData`.
///
/// Some GL loaders define each function name as a macro. Do not include such a loader where
/// adapters are defined, and always write `override`: docs/adapters.md.
class DCAPKIT_API GLAdapter {
 public:
  virtual ~GLAdapter();

  /// The calls that follow were recorded on thread `threadId`.
  virtual void ProcessThreadChange(uint32_t threadId);

  /// Brings client memory that the following draw call reads through glVertexAttribPointer.
  /// `buffer` is the start of the rebuilt array of `dataOffset + dataLength` bytes; the recorded
  /// bytes lie from `buffer + dataOffset`, those before it are unset. Null when no bytes were
  /// recorded. Valid until the draw operation has returned.
  virtual void VertexAttribPointerData(uint32_t index, int32_t size, uint32_t type,
                                       uint32_t normalized, int32_t stride, unsigned char* buffer,
                                       uint32_t dataLength, uint32_t dataOffset);

  /// Brings the same for glVertexAttribIPointer.
  virtual void VertexAttribIPointerData(uint32_t index, int32_t size, uint32_t type, int32_t stride,
                                        unsigned char* buffer, uint32_t dataLength,
                                        uint32_t dataOffset);

  /// Brings the bytes that the following glFlushMappedBufferRange flushed: `length` bytes at
  /// `data`, or null when none were recorded. Valid only during the operation.
  virtual void FlushMappedBufferRangeData(uint32_t target, uint32_t offset, uint32_t length,
                                          unsigned char* data);

  /// Brings the bytes of the mapped range that the following glUnmapBuffer ended: `length` bytes at
  /// `data`, or null when none were recorded. Valid only during the operation.
  virtual void UnmapBufferData(uint32_t target, uint32_t length, unsigned char* data);

  virtual void glActiveTexture(uint32_t texture);
  virtual void glAttachShader(uint32_t program, uint32_t shader);
  virtual void glBindAttribLocation(uint32_t program, uint32_t index, const PointerData* name);
  virtual void glBindBuffer(uint32_t target, uint32_t buffer);
  virtual void glBindFramebuffer(uint32_t target, uint32_t framebuffer);
  virtual void glBindRenderbuffer(uint32_t target, uint32_t renderbuffer);
  virtual void glBindTexture(uint32_t target, uint32_t texture);
  virtual void glBlendColor(float red, float green, float blue, float alpha);
  virtual void glBlendEquation(uint32_t mode);
  virtual void glBlendEquationSeparate(uint32_t modeRGB, uint32_t modeAlpha);
  virtual void glBlendFunc(uint32_t sfactor, uint32_t dfactor);
  virtual void glBlendFuncSeparate(uint32_t sfactorRGB, uint32_t dfactorRGB, uint32_t sfactorAlpha,
                                   uint32_t dfactorAlpha);
  virtual void glBufferData(uint32_t target, uint32_t size, const PointerData* data,
                            uint32_t usage);
  virtual void glBufferSubData(uint32_t target, uint32_t offset, uint32_t size,
                               const PointerData* data);
  virtual void glCheckFramebufferStatus(uint32_t result, uint32_t target);
  virtual void glClear(uint32_t mask);
  virtual void glClearColor(float red, float green, float blue, float alpha);
  virtual void glClearDepthf(float d);
  virtual void glClearStencil(int32_t s);
  virtual void glColorMask(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha);
  virtual void glCompileShader(uint32_t shader);
  virtual void glCompressedTexImage2D(uint32_t target, int32_t level, uint32_t internalformat,
                                      int32_t width, int32_t height, int32_t border,
                                      int32_t imageSize, const PointerData* data);
  virtual void glCompressedTexSubImage2D(uint32_t target, int32_t level, int32_t xoffset,
                                         int32_t yoffset, int32_t width, int32_t height,
                                         uint32_t format, int32_t imageSize,
                                         const PointerData* data);
  virtual void glCopyTexImage2D(uint32_t target, int32_t level, uint32_t internalformat, int32_t x,
                                int32_t y, int32_t width, int32_t height, int32_t border);
  virtual void glCopyTexSubImage2D(uint32_t target, int32_t level, int32_t xoffset, int32_t yoffset,
                                   int32_t x, int32_t y, int32_t width, int32_t height);
  virtual void glCreateProgram(uint32_t result);
  virtual void glCreateShader(uint32_t result, uint32_t type);
  virtual void glCullFace(uint32_t mode);
  virtual void glDeleteBuffers(int32_t n, const PointerData* buffers);
  virtual void glDeleteFramebuffers(int32_t n, const PointerData* framebuffers);
  virtual void glDeleteProgram(uint32_t program);
  virtual void glDeleteRenderbuffers(int32_t n, const PointerData* renderbuffers);
  virtual void glDeleteShader(uint32_t shader);
  virtual void glDeleteTextures(int32_t n, const PointerData* textures);
  virtual void glDepthFunc(uint32_t func);
  virtual void glDepthMask(uint32_t flag);
  virtual void glDepthRangef(float n, float f);
  virtual void glDetachShader(uint32_t program, uint32_t shader);
  virtual void glDisable(uint32_t cap);
  virtual void glDisableVertexAttribArray(uint32_t index);
  virtual void glDrawArrays(uint32_t mode, int32_t first, int32_t count);
  virtual void glDrawElements(uint32_t mode, int32_t count, uint32_t type,
                              const PointerData* indices);
  virtual void glEnable(uint32_t cap);
  virtual void glEnableVertexAttribArray(uint32_t index);
  virtual void glFinish();
  virtual void glFlush();
  virtual void glFramebufferRenderbuffer(uint32_t target, uint32_t attachment,
                                         uint32_t renderbuffertarget, uint32_t renderbuffer);
  virtual void glFramebufferTexture2D(uint32_t target, uint32_t attachment, uint32_t textarget,
                                      uint32_t texture, int32_t level);
  virtual void glFrontFace(uint32_t mode);
  virtual void glGenBuffers(int32_t n, const PointerData* buffers);
  virtual void glGenerateMipmap(uint32_t target);
  virtual void glGenFramebuffers(int32_t n, const PointerData* framebuffers);
  virtual void glGenRenderbuffers(int32_t n, const PointerData* renderbuffers);
  virtual void glGenTextures(int32_t n, const PointerData* textures);
  virtual void glGetActiveAttrib(uint32_t program, uint32_t index, int32_t bufSize,
                                 const PointerData* length, const PointerData* size,
                                 const PointerData* type, const PointerData* name);
  virtual void glGetActiveUniform(uint32_t program, uint32_t index, int32_t bufSize,
                                  const PointerData* length, const PointerData* size,
                                  const PointerData* type, const PointerData* name);
  virtual void glGetAttachedShaders(uint32_t program, int32_t maxCount, const PointerData* count,
                                    const PointerData* shaders);
  virtual void glGetAttribLocation(int32_t result, uint32_t program, const PointerData* name);
  virtual void glGetBooleanv(uint32_t pname, const PointerData* data);
  virtual void glGetBufferParameteriv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetError(uint32_t result);
  virtual void glGetFloatv(uint32_t pname, const PointerData* data);
  virtual void glGetFramebufferAttachmentParameteriv(uint32_t target, uint32_t attachment,
                                                     uint32_t pname, const PointerData* params);
  virtual void glGetIntegerv(uint32_t pname, const PointerData* data);
  virtual void glGetProgramiv(uint32_t program, uint32_t pname, const PointerData* params);
  virtual void glGetProgramInfoLog(uint32_t program, int32_t bufSize, const PointerData* length,
                                   const PointerData* infoLog);
  virtual void glGetRenderbufferParameteriv(uint32_t target, uint32_t pname,
                                            const PointerData* params);
  virtual void glGetShaderiv(uint32_t shader, uint32_t pname, const PointerData* params);
  virtual void glGetShaderInfoLog(uint32_t shader, int32_t bufSize, const PointerData* length,
                                  const PointerData* infoLog);
  virtual void glGetShaderPrecisionFormat(uint32_t shadertype, uint32_t precisiontype,
                                          const PointerData* range, const PointerData* precision);
  virtual void glGetShaderSource(uint32_t shader, int32_t bufSize, const PointerData* length,
                                 const PointerData* source);
  virtual void glGetString(const PointerData* result, uint32_t name);
  virtual void glGetTexParameterfv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetTexParameteriv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetUniformfv(uint32_t program, int32_t location, const PointerData* params);
  virtual void glGetUniformiv(uint32_t program, int32_t location, const PointerData* params);
  virtual void glGetUniformLocation(int32_t result, uint32_t program, const PointerData* name);
  virtual void glGetVertexAttribfv(uint32_t index, uint32_t pname, const PointerData* params);
  virtual void glGetVertexAttribiv(uint32_t index, uint32_t pname, const PointerData* params);
  virtual void glGetVertexAttribPointerv(uint32_t index, uint32_t pname,
                                         const PointerData* pointer);
  virtual void glHint(uint32_t target, uint32_t mode);
  virtual void glIsBuffer(uint32_t result, uint32_t buffer);
  virtual void glIsEnabled(uint32_t result, uint32_t cap);
  virtual void glIsFramebuffer(uint32_t result, uint32_t framebuffer);
  virtual void glIsProgram(uint32_t result, uint32_t program);
  virtual void glIsRenderbuffer(uint32_t result, uint32_t renderbuffer);
  virtual void glIsShader(uint32_t result, uint32_t shader);
  virtual void glIsTexture(uint32_t result, uint32_t texture);
  virtual void glLineWidth(float width);
  virtual void glLinkProgram(uint32_t program);
  virtual void glPixelStorei(uint32_t pname, int32_t param);
  virtual void glPolygonOffset(float factor, float units);
  virtual void glReadPixels(int32_t x, int32_t y, int32_t width, int32_t height, uint32_t format,
                            uint32_t type, const PointerData* pixels);
  virtual void glReleaseShaderCompiler();
  virtual void glRenderbufferStorage(uint32_t target, uint32_t internalformat, int32_t width,
                                     int32_t height);
  virtual void glSampleCoverage(float value, uint32_t invert);
  virtual void glScissor(int32_t x, int32_t y, int32_t width, int32_t height);
  virtual void glShaderBinary(int32_t count, const PointerData* shaders, uint32_t binaryFormat,
                              const PointerData* binary, int32_t length);
  virtual void glShaderSource(uint32_t shader, int32_t count, const PointerData* string,
                              const PointerData* length);
  virtual void glStencilFunc(uint32_t func, int32_t ref, uint32_t mask);
  virtual void glStencilFuncSeparate(uint32_t face, uint32_t func, int32_t ref, uint32_t mask);
  virtual void glStencilMask(uint32_t mask);
  virtual void glStencilMaskSeparate(uint32_t face, uint32_t mask);
  virtual void glStencilOp(uint32_t fail, uint32_t zfail, uint32_t zpass);
  virtual void glStencilOpSeparate(uint32_t face, uint32_t sfail, uint32_t dpfail, uint32_t dppass);
  virtual void glTexImage2D(uint32_t target, int32_t level, int32_t internalformat, int32_t width,
                            int32_t height, int32_t border, uint32_t format, uint32_t type,
                            const PointerData* pixels);
  virtual void glTexParameterf(uint32_t target, uint32_t pname, float param);
  virtual void glTexParameterfv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glTexParameteri(uint32_t target, uint32_t pname, int32_t param);
  virtual void glTexParameteriv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glTexSubImage2D(uint32_t target, int32_t level, int32_t xoffset, int32_t yoffset,
                               int32_t width, int32_t height, uint32_t format, uint32_t type,
                               const PointerData* pixels);
  virtual void glUniform1f(int32_t location, float v0);
  virtual void glUniform1fv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform1i(int32_t location, int32_t v0);
  virtual void glUniform1iv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform2f(int32_t location, float v0, float v1);
  virtual void glUniform2fv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform2i(int32_t location, int32_t v0, int32_t v1);
  virtual void glUniform2iv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform3f(int32_t location, float v0, float v1, float v2);
  virtual void glUniform3fv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform3i(int32_t location, int32_t v0, int32_t v1, int32_t v2);
  virtual void glUniform3iv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform4f(int32_t location, float v0, float v1, float v2, float v3);
  virtual void glUniform4fv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform4i(int32_t location, int32_t v0, int32_t v1, int32_t v2, int32_t v3);
  virtual void glUniform4iv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniformMatrix2fv(int32_t location, int32_t count, uint32_t transpose,
                                  const PointerData* value);
  virtual void glUniformMatrix3fv(int32_t location, int32_t count, uint32_t transpose,
                                  const PointerData* value);
  virtual void glUniformMatrix4fv(int32_t location, int32_t count, uint32_t transpose,
                                  const PointerData* value);
  virtual void glUseProgram(uint32_t program);
  virtual void glValidateProgram(uint32_t program);
  virtual void glVertexAttrib1f(uint32_t index, float x);
  virtual void glVertexAttrib1fv(uint32_t index, const PointerData* v);
  virtual void glVertexAttrib2f(uint32_t index, float x, float y);
  virtual void glVertexAttrib2fv(uint32_t index, const PointerData* v);
  virtual void glVertexAttrib3f(uint32_t index, float x, float y, float z);
  virtual void glVertexAttrib3fv(uint32_t index, const PointerData* v);
  virtual void glVertexAttrib4f(uint32_t index, float x, float y, float z, float w);
  virtual void glVertexAttrib4fv(uint32_t index, const PointerData* v);
  virtual void glVertexAttribPointer(uint32_t index, int32_t size, uint32_t type,
                                     uint32_t normalized, int32_t stride,
                                     const PointerData* pointer);
  virtual void glViewport(int32_t x, int32_t y, int32_t width, int32_t height);
  virtual void glReadBuffer(uint32_t src);
  virtual void glDrawRangeElements(uint32_t mode, uint32_t start, uint32_t end, int32_t count,
                                   uint32_t type, const PointerData* indices);
  virtual void glTexImage3D(uint32_t target, int32_t level, int32_t internalformat, int32_t width,
                            int32_t height, int32_t depth, int32_t border, uint32_t format,
                            uint32_t type, const PointerData* pixels);
  virtual void glTexSubImage3D(uint32_t target, int32_t level, int32_t xoffset, int32_t yoffset,
                               int32_t zoffset, int32_t width, int32_t height, int32_t depth,
                               uint32_t format, uint32_t type, const PointerData* pixels);
  virtual void glCopyTexSubImage3D(uint32_t target, int32_t level, int32_t xoffset, int32_t yoffset,
                                   int32_t zoffset, int32_t x, int32_t y, int32_t width,
                                   int32_t height);
  virtual void glCompressedTexImage3D(uint32_t target, int32_t level, uint32_t internalformat,
                                      int32_t width, int32_t height, int32_t depth, int32_t border,
                                      int32_t imageSize, const PointerData* data);
  virtual void glCompressedTexSubImage3D(uint32_t target, int32_t level, int32_t xoffset,
                                         int32_t yoffset, int32_t zoffset, int32_t width,
                                         int32_t height, int32_t depth, uint32_t format,
                                         int32_t imageSize, const PointerData* data);
  virtual void glGenQueries(int32_t n, const PointerData* ids);
  virtual void glDeleteQueries(int32_t n, const PointerData* ids);
  virtual void glIsQuery(uint32_t result, uint32_t id);
  virtual void glBeginQuery(uint32_t target, uint32_t id);
  virtual void glEndQuery(uint32_t target);
  virtual void glGetQueryiv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetQueryObjectuiv(uint32_t id, uint32_t pname, const PointerData* params);
  virtual void glUnmapBuffer(uint32_t result, uint32_t target);
  virtual void glGetBufferPointerv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glDrawBuffers(int32_t n, const PointerData* bufs);
  virtual void glUniformMatrix2x3fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glUniformMatrix3x2fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glUniformMatrix2x4fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glUniformMatrix4x2fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glUniformMatrix3x4fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glUniformMatrix4x3fv(int32_t location, int32_t count, uint32_t transpose,
                                    const PointerData* value);
  virtual void glBlitFramebuffer(int32_t srcX0, int32_t srcY0, int32_t srcX1, int32_t srcY1,
                                 int32_t dstX0, int32_t dstY0, int32_t dstX1, int32_t dstY1,
                                 uint32_t mask, uint32_t filter);
  virtual void glRenderbufferStorageMultisample(uint32_t target, int32_t samples,
                                                uint32_t internalformat, int32_t width,
                                                int32_t height);
  virtual void glFramebufferTextureLayer(uint32_t target, uint32_t attachment, uint32_t texture,
                                         int32_t level, int32_t layer);
  virtual void glMapBufferRange(const PointerData* result, uint32_t target, uint32_t offset,
                                uint32_t length, uint32_t access);
  virtual void glFlushMappedBufferRange(uint32_t target, uint32_t offset, uint32_t length);
  virtual void glBindVertexArray(uint32_t array);
  virtual void glDeleteVertexArrays(int32_t n, const PointerData* arrays);
  virtual void glGenVertexArrays(int32_t n, const PointerData* arrays);
  virtual void glIsVertexArray(uint32_t result, uint32_t array);
  virtual void glGetIntegeri_v(uint32_t target, uint32_t index, const PointerData* data);
  virtual void glGetBooleani_v(uint32_t target, uint32_t index, const PointerData* data);
  virtual void glBeginTransformFeedback(uint32_t primitiveMode);
  virtual void glEndTransformFeedback();
  virtual void glBindBufferRange(uint32_t target, uint32_t index, uint32_t buffer, uint32_t offset,
                                 uint32_t size);
  virtual void glBindBufferBase(uint32_t target, uint32_t index, uint32_t buffer);
  virtual void glTransformFeedbackVaryings(uint32_t program, int32_t count,
                                           const PointerData* varyings, uint32_t bufferMode);
  virtual void glGetTransformFeedbackVarying(uint32_t program, uint32_t index, int32_t bufSize,
                                             const PointerData* length, const PointerData* size,
                                             const PointerData* type, const PointerData* name);
  virtual void glVertexAttribIPointer(uint32_t index, int32_t size, uint32_t type, int32_t stride,
                                      const PointerData* pointer);
  virtual void glGetVertexAttribIiv(uint32_t index, uint32_t pname, const PointerData* params);
  virtual void glGetVertexAttribIuiv(uint32_t index, uint32_t pname, const PointerData* params);
  virtual void glVertexAttribI4i(uint32_t index, int32_t x, int32_t y, int32_t z, int32_t w);
  virtual void glVertexAttribI4ui(uint32_t index, uint32_t x, uint32_t y, uint32_t z, uint32_t w);
  virtual void glVertexAttribI4iv(uint32_t index, const PointerData* v);
  virtual void glVertexAttribI4uiv(uint32_t index, const PointerData* v);
  virtual void glGetUniformuiv(uint32_t program, int32_t location, const PointerData* params);
  virtual void glGetFragDataLocation(int32_t result, uint32_t program, const PointerData* name);
  virtual void glUniform1ui(int32_t location, uint32_t v0);
  virtual void glUniform2ui(int32_t location, uint32_t v0, uint32_t v1);
  virtual void glUniform3ui(int32_t location, uint32_t v0, uint32_t v1, uint32_t v2);
  virtual void glUniform4ui(int32_t location, uint32_t v0, uint32_t v1, uint32_t v2, uint32_t v3);
  virtual void glUniform1uiv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform2uiv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform3uiv(int32_t location, int32_t count, const PointerData* value);
  virtual void glUniform4uiv(int32_t location, int32_t count, const PointerData* value);
  virtual void glClearBufferiv(uint32_t buffer, int32_t drawbuffer, const PointerData* value);
  virtual void glClearBufferuiv(uint32_t buffer, int32_t drawbuffer, const PointerData* value);
  virtual void glClearBufferfv(uint32_t buffer, int32_t drawbuffer, const PointerData* value);
  virtual void glClearBufferfi(uint32_t buffer, int32_t drawbuffer, float depth, int32_t stencil);
  virtual void glGetStringi(const PointerData* result, uint32_t name, uint32_t index);
  virtual void glCopyBufferSubData(uint32_t readTarget, uint32_t writeTarget, uint32_t readOffset,
                                   uint32_t writeOffset, uint32_t size);
  virtual void glGetUniformIndices(uint32_t program, int32_t uniformCount,
                                   const PointerData* uniformNames,
                                   const PointerData* uniformIndices);
  virtual void glGetActiveUniformsiv(uint32_t program, int32_t uniformCount,
                                     const PointerData* uniformIndices, uint32_t pname,
                                     const PointerData* params);
  virtual void glGetUniformBlockIndex(uint32_t result, uint32_t program,
                                      const PointerData* uniformBlockName);
  virtual void glGetActiveUniformBlockiv(uint32_t program, uint32_t uniformBlockIndex,
                                         uint32_t pname, const PointerData* params);
  virtual void glGetActiveUniformBlockName(uint32_t program, uint32_t uniformBlockIndex,
                                           int32_t bufSize, const PointerData* length,
                                           const PointerData* uniformBlockName);
  virtual void glUniformBlockBinding(uint32_t program, uint32_t uniformBlockIndex,
                                     uint32_t uniformBlockBinding);
  virtual void glDrawArraysInstanced(uint32_t mode, int32_t first, int32_t count,
                                     int32_t instancecount);
  virtual void glDrawElementsInstanced(uint32_t mode, int32_t count, uint32_t type,
                                       const PointerData* indices, int32_t instancecount);
  virtual void glFenceSync(uint32_t result, uint32_t condition, uint32_t flags);
  virtual void glIsSync(uint32_t result, uint32_t sync);
  virtual void glDeleteSync(uint32_t sync);
  virtual void glClientWaitSync(uint32_t result, uint32_t sync, uint32_t flags, uint64_t timeout);
  virtual void glWaitSync(uint32_t sync, uint32_t flags, uint64_t timeout);
  virtual void glGetInteger64v(uint32_t pname, const PointerData* data);
  virtual void glGetSynciv(uint32_t sync, uint32_t pname, int32_t count, const PointerData* length,
                           const PointerData* values);
  virtual void glGetInteger64i_v(uint32_t target, uint32_t index, const PointerData* data);
  virtual void glGetBufferParameteri64v(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGenSamplers(int32_t count, const PointerData* samplers);
  virtual void glDeleteSamplers(int32_t count, const PointerData* samplers);
  virtual void glIsSampler(uint32_t result, uint32_t sampler);
  virtual void glBindSampler(uint32_t unit, uint32_t sampler);
  virtual void glSamplerParameteri(uint32_t sampler, uint32_t pname, int32_t param);
  virtual void glSamplerParameteriv(uint32_t sampler, uint32_t pname, const PointerData* param);
  virtual void glSamplerParameterf(uint32_t sampler, uint32_t pname, float param);
  virtual void glSamplerParameterfv(uint32_t sampler, uint32_t pname, const PointerData* param);
  virtual void glGetSamplerParameteriv(uint32_t sampler, uint32_t pname, const PointerData* params);
  virtual void glGetSamplerParameterfv(uint32_t sampler, uint32_t pname, const PointerData* params);
  virtual void glVertexAttribDivisor(uint32_t index, uint32_t divisor);
  virtual void glBindTransformFeedback(uint32_t target, uint32_t id);
  virtual void glDeleteTransformFeedbacks(int32_t n, const PointerData* ids);
  virtual void glGenTransformFeedbacks(int32_t n, const PointerData* ids);
  virtual void glIsTransformFeedback(uint32_t result, uint32_t id);
  virtual void glPauseTransformFeedback();
  virtual void glResumeTransformFeedback();
  virtual void glGetProgramBinary(uint32_t program, int32_t bufSize, const PointerData* length,
                                  const PointerData* binaryFormat, const PointerData* binary);
  virtual void glProgramBinary(uint32_t program, uint32_t binaryFormat, const PointerData* binary,
                               int32_t length);
  virtual void glProgramParameteri(uint32_t program, uint32_t pname, int32_t value);
  virtual void glInvalidateFramebuffer(uint32_t target, int32_t numAttachments,
                                       const PointerData* attachments);
  virtual void glInvalidateSubFramebuffer(uint32_t target, int32_t numAttachments,
                                          const PointerData* attachments, int32_t x, int32_t y,
                                          int32_t width, int32_t height);
  virtual void glTexStorage2D(uint32_t target, int32_t levels, uint32_t internalformat,
                              int32_t width, int32_t height);
  virtual void glTexStorage3D(uint32_t target, int32_t levels, uint32_t internalformat,
                              int32_t width, int32_t height, int32_t depth);
  virtual void glGetInternalformativ(uint32_t target, uint32_t internalformat, uint32_t pname,
                                     int32_t count, const PointerData* params);
  virtual void glDispatchCompute(uint32_t num_groups_x, uint32_t num_groups_y,
                                 uint32_t num_groups_z);
  virtual void glDispatchComputeIndirect(uint32_t indirect);
  virtual void glDrawArraysIndirect(uint32_t mode, const PointerData* indirect);
  virtual void glDrawElementsIndirect(uint32_t mode, uint32_t type, const PointerData* indirect);
  virtual void glFramebufferParameteri(uint32_t target, uint32_t pname, int32_t param);
  virtual void glGetFramebufferParameteriv(uint32_t target, uint32_t pname,
                                           const PointerData* params);
  virtual void glGetProgramInterfaceiv(uint32_t program, uint32_t programInterface, uint32_t pname,
                                       const PointerData* params);
  virtual void glGetProgramResourceIndex(uint32_t result, uint32_t program,
                                         uint32_t programInterface, const PointerData* name);
  virtual void glGetProgramResourceName(uint32_t program, uint32_t programInterface, uint32_t index,
                                        int32_t bufSize, const PointerData* length,
                                        const PointerData* name);
  virtual void glGetProgramResourceiv(uint32_t program, uint32_t programInterface, uint32_t index,
                                      int32_t propCount, const PointerData* props, int32_t count,
                                      const PointerData* length, const PointerData* params);
  virtual void glGetProgramResourceLocation(int32_t result, uint32_t program,
                                            uint32_t programInterface, const PointerData* name);
  virtual void glUseProgramStages(uint32_t pipeline, uint32_t stages, uint32_t program);
  virtual void glActiveShaderProgram(uint32_t pipeline, uint32_t program);
  virtual void glCreateShaderProgramv(uint32_t result, uint32_t type, int32_t count,
                                      const PointerData* strings);
  virtual void glBindProgramPipeline(uint32_t pipeline);
  virtual void glDeleteProgramPipelines(int32_t n, const PointerData* pipelines);
  virtual void glGenProgramPipelines(int32_t n, const PointerData* pipelines);
  virtual void glIsProgramPipeline(uint32_t result, uint32_t pipeline);
  virtual void glGetProgramPipelineiv(uint32_t pipeline, uint32_t pname, const PointerData* params);
  virtual void glProgramUniform1i(uint32_t program, int32_t location, int32_t v0);
  virtual void glProgramUniform2i(uint32_t program, int32_t location, int32_t v0, int32_t v1);
  virtual void glProgramUniform3i(uint32_t program, int32_t location, int32_t v0, int32_t v1,
                                  int32_t v2);
  virtual void glProgramUniform4i(uint32_t program, int32_t location, int32_t v0, int32_t v1,
                                  int32_t v2, int32_t v3);
  virtual void glProgramUniform1ui(uint32_t program, int32_t location, uint32_t v0);
  virtual void glProgramUniform2ui(uint32_t program, int32_t location, uint32_t v0, uint32_t v1);
  virtual void glProgramUniform3ui(uint32_t program, int32_t location, uint32_t v0, uint32_t v1,
                                   uint32_t v2);
  virtual void glProgramUniform4ui(uint32_t program, int32_t location, uint32_t v0, uint32_t v1,
                                   uint32_t v2, uint32_t v3);
  virtual void glProgramUniform1f(uint32_t program, int32_t location, float v0);
  virtual void glProgramUniform2f(uint32_t program, int32_t location, float v0, float v1);
  virtual void glProgramUniform3f(uint32_t program, int32_t location, float v0, float v1, float v2);
  virtual void glProgramUniform4f(uint32_t program, int32_t location, float v0, float v1, float v2,
                                  float v3);
  virtual void glProgramUniform1iv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform2iv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform3iv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform4iv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform1uiv(uint32_t program, int32_t location, int32_t count,
                                    const PointerData* value);
  virtual void glProgramUniform2uiv(uint32_t program, int32_t location, int32_t count,
                                    const PointerData* value);
  virtual void glProgramUniform3uiv(uint32_t program, int32_t location, int32_t count,
                                    const PointerData* value);
  virtual void glProgramUniform4uiv(uint32_t program, int32_t location, int32_t count,
                                    const PointerData* value);
  virtual void glProgramUniform1fv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform2fv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform3fv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniform4fv(uint32_t program, int32_t location, int32_t count,
                                   const PointerData* value);
  virtual void glProgramUniformMatrix2fv(uint32_t program, int32_t location, int32_t count,
                                         uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix3fv(uint32_t program, int32_t location, int32_t count,
                                         uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix4fv(uint32_t program, int32_t location, int32_t count,
                                         uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix2x3fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix3x2fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix2x4fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix4x2fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix3x4fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glProgramUniformMatrix4x3fv(uint32_t program, int32_t location, int32_t count,
                                           uint32_t transpose, const PointerData* value);
  virtual void glValidateProgramPipeline(uint32_t pipeline);
  virtual void glGetProgramPipelineInfoLog(uint32_t pipeline, int32_t bufSize,
                                           const PointerData* length, const PointerData* infoLog);
  virtual void glGetActiveAtomicCounterBufferiv(uint32_t program, uint32_t bufferIndex,
                                                uint32_t pname, const PointerData* params);
  virtual void glBindImageTexture(uint32_t unit, uint32_t texture, int32_t level, uint32_t layered,
                                  int32_t layer, uint32_t access, uint32_t format);
  virtual void glMemoryBarrier(uint32_t barriers);
  virtual void glMemoryBarrierByRegion(uint32_t barriers);
  virtual void glTexStorage2DMultisample(uint32_t target, int32_t samples, uint32_t internalformat,
                                         int32_t width, int32_t height,
                                         uint32_t fixedsamplelocations);
  virtual void glTexStorage3DMultisampleOES(uint32_t target, int32_t samples,
                                            uint32_t internalformat, int32_t width, int32_t height,
                                            int32_t depth, uint32_t fixedsamplelocations);
  virtual void glGetMultisamplefv(uint32_t pname, uint32_t index, const PointerData* val);
  virtual void glSampleMaski(uint32_t maskNumber, uint32_t mask);
  virtual void glGetTexLevelParameteriv(uint32_t target, int32_t level, uint32_t pname,
                                        const PointerData* params);
  virtual void glGetTexLevelParameterfv(uint32_t target, int32_t level, uint32_t pname,
                                        const PointerData* params);
  virtual void glBindVertexBuffer(uint32_t bindingindex, uint32_t buffer, uint32_t offset,
                                  int32_t stride);
  virtual void glVertexAttribFormat(uint32_t attribindex, int32_t size, uint32_t type,
                                    uint32_t normalized, uint32_t relativeoffset);
  virtual void glVertexAttribIFormat(uint32_t attribindex, int32_t size, uint32_t type,
                                     uint32_t relativeoffset);
  virtual void glVertexAttribBinding(uint32_t attribindex, uint32_t bindingindex);
  virtual void glVertexBindingDivisor(uint32_t bindingindex, uint32_t divisor);
  virtual void glPatchParameteri(uint32_t pname, int32_t value);
  virtual void glGetFixedvAMD(uint32_t pname, const PointerData* params);
  virtual void glLogicOpAMD(uint32_t opcode);
  virtual void glFogfvAMD(uint32_t pname, const PointerData* params);
  virtual void glGetMemoryStatsKVRA(uint32_t pname, uint32_t usage, const PointerData* param);
  virtual void glGetSizedMemoryStatsKVRA(int32_t maxStats, const PointerData* numStats,
                                         const PointerData* stats);
  virtual void glBlitOverlapKVRA(int32_t dest_x, int32_t dest_y, int32_t src_x, int32_t src_y,
                                 int32_t src_width, int32_t src_height);
  virtual void glGetShaderStatsKVRA(uint32_t shader, int32_t maxLength, const PointerData* length,
                                    const PointerData* stats);
  virtual void glExtGetSamplersKVRA(const PointerData* samplers, int32_t maxSamplers,
                                    const PointerData* numSamplers);
  virtual void glClipPlanefKVRA(uint32_t p, const PointerData* eqn);
  virtual void glFramebufferTexture2DExternalKVRA(uint32_t target, uint32_t attachment,
                                                  uint32_t textarget, uint32_t texture,
                                                  int32_t level);
  virtual void glFramebufferRenderbufferExternalKVRA(uint32_t target, uint32_t attachment,
                                                     uint32_t renderbuffertarget,
                                                     uint32_t renderbuffer);
  virtual void glEGLImageTargetTexture2DOES(uint32_t target, uint32_t image);
  virtual void glEGLImageTargetRenderbufferStorageOES(uint32_t target, uint32_t image);
  virtual void glGetProgramBinaryOES(uint32_t program, int32_t bufSize, const PointerData* length,
                                     const PointerData* binaryFormat, const PointerData* binary);
  virtual void glProgramBinaryOES(uint32_t program, uint32_t binaryFormat,
                                  const PointerData* binary, int32_t length);
  virtual void glTexImage3DOES(uint32_t target, int32_t level, uint32_t internalformat,
                               int32_t width, int32_t height, int32_t depth, int32_t border,
                               uint32_t format, uint32_t type, const PointerData* pixels);
  virtual void glTexSubImage3DOES(uint32_t target, int32_t level, int32_t xoffset, int32_t yoffset,
                                  int32_t zoffset, int32_t width, int32_t height, int32_t depth,
                                  uint32_t format, uint32_t type, const PointerData* pixels);
  virtual void glCopyTexSubImage3DOES(uint32_t target, int32_t level, int32_t xoffset,
                                      int32_t yoffset, int32_t zoffset, int32_t x, int32_t y,
                                      int32_t width, int32_t height);
  virtual void glCompressedTexImage3DOES(uint32_t target, int32_t level, uint32_t internalformat,
                                         int32_t width, int32_t height, int32_t depth,
                                         int32_t border, int32_t imageSize,
                                         const PointerData* data);
  virtual void glCompressedTexSubImage3DOES(uint32_t target, int32_t level, int32_t xoffset,
                                            int32_t yoffset, int32_t zoffset, int32_t width,
                                            int32_t height, int32_t depth, uint32_t format,
                                            int32_t imageSize, const PointerData* data);
  virtual void glFramebufferTexture3DOES(uint32_t target, uint32_t attachment, uint32_t textarget,
                                         uint32_t texture, int32_t level, int32_t zoffset);
  virtual void glBindVertexArrayOES(uint32_t array);
  virtual void glDeleteVertexArraysOES(int32_t n, const PointerData* arrays);
  virtual void glGenVertexArraysOES(int32_t n, const PointerData* arrays);
  virtual void glIsVertexArrayOES(uint32_t result, uint32_t array);
  virtual void glGetPerfMonitorGroupsAMD(const PointerData* numGroups, int32_t groupsSize,
                                         const PointerData* groups);
  virtual void glGetPerfMonitorCountersAMD(uint32_t group, const PointerData* numCounters,
                                           const PointerData* maxActiveCounters,
                                           int32_t counterSize, const PointerData* counters);
  virtual void glGetPerfMonitorGroupStringAMD(uint32_t group, int32_t bufSize,
                                              const PointerData* length,
                                              const PointerData* groupString);
  virtual void glGetPerfMonitorCounterStringAMD(uint32_t group, uint32_t counter, int32_t bufSize,
                                                const PointerData* length,
                                                const PointerData* counterString);
  virtual void glGetPerfMonitorCounterInfoAMD(uint32_t group, uint32_t counter, uint32_t pname,
                                              const PointerData* data);
  virtual void glGenPerfMonitorsAMD(int32_t n, const PointerData* monitors);
  virtual void glDeletePerfMonitorsAMD(int32_t n, const PointerData* monitors);
  virtual void glSelectPerfMonitorCountersAMD(uint32_t monitor, uint32_t enable, uint32_t group,
                                              int32_t numCounters, const PointerData* counterList);
  virtual void glBeginPerfMonitorAMD(uint32_t monitor);
  virtual void glEndPerfMonitorAMD(uint32_t monitor);
  virtual void glGetPerfMonitorCounterDataAMD(uint32_t monitor, uint32_t pname, int32_t dataSize,
                                              const PointerData* data,
                                              const PointerData* bytesWritten);
  virtual void glLabelObjectEXT(uint32_t type, uint32_t object, int32_t length,
                                const PointerData* label);
  virtual void glGetObjectLabelEXT(uint32_t type, uint32_t object, int32_t bufSize,
                                   const PointerData* length, const PointerData* label);
  virtual void glInsertEventMarkerEXT(int32_t length, const PointerData* marker);
  virtual void glPushGroupMarkerEXT(int32_t length, const PointerData* marker);
  virtual void glPopGroupMarkerEXT();
  virtual void glDiscardFramebufferEXT(uint32_t target, int32_t numAttachments,
                                       const PointerData* attachments);
  virtual void glGenQueriesEXT(int32_t n, const PointerData* ids);
  virtual void glDeleteQueriesEXT(int32_t n, const PointerData* ids);
  virtual void glIsQueryEXT(uint32_t result, uint32_t id);
  virtual void glBeginQueryEXT(uint32_t target, uint32_t id);
  virtual void glEndQueryEXT(uint32_t target);
  virtual void glQueryCounterEXT(uint32_t id, uint32_t target);
  virtual void glGetQueryivEXT(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetQueryObjectivEXT(uint32_t id, uint32_t pname, const PointerData* params);
  virtual void glGetQueryObjectuivEXT(uint32_t id, uint32_t pname, const PointerData* params);
  virtual void glGetQueryObjecti64vEXT(uint32_t id, uint32_t pname, const PointerData* params);
  virtual void glGetQueryObjectui64vEXT(uint32_t id, uint32_t pname, const PointerData* params);
  virtual void glGetGraphicsResetStatusEXT(uint32_t result);
  virtual void glReadnPixelsEXT(int32_t x, int32_t y, int32_t width, int32_t height,
                                uint32_t format, uint32_t type, int32_t bufSize,
                                const PointerData* data);
  virtual void glGetnUniformfvEXT(uint32_t program, int32_t location, int32_t bufSize,
                                  const PointerData* params);
  virtual void glGetnUniformivEXT(uint32_t program, int32_t location, int32_t bufSize,
                                  const PointerData* params);
  virtual void glTexParameterIivEXT(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glTexParameterIuivEXT(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetTexParameterIivEXT(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetTexParameterIuivEXT(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glSamplerParameterIivEXT(uint32_t sampler, uint32_t pname, const PointerData* param);
  virtual void glSamplerParameterIuivEXT(uint32_t sampler, uint32_t pname,
                                         const PointerData* param);
  virtual void glGetSamplerParameterIivEXT(uint32_t sampler, uint32_t pname,
                                           const PointerData* params);
  virtual void glGetSamplerParameterIuivEXT(uint32_t sampler, uint32_t pname,
                                            const PointerData* params);
  virtual void glRenderbufferStorageMultisampleEXT(uint32_t target, int32_t samples,
                                                   uint32_t internalformat, int32_t width,
                                                   int32_t height);
  virtual void glFramebufferTexture2DMultisampleEXT(uint32_t target, uint32_t attachment,
                                                    uint32_t textarget, uint32_t texture,
                                                    int32_t level, int32_t samples);
  virtual void glAlphaFuncKVRA(uint32_t func, float ref);
  virtual void glStartTilingKVRA(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                 uint32_t preserveMask);
  virtual void glEndTilingKVRA(uint32_t preserveMask);
  virtual void glCopyImageSubDataEXT(uint32_t srcName, uint32_t srcTarget, int32_t srcLevel,
                                     int32_t srcX, int32_t srcY, int32_t srcZ, uint32_t dstName,
                                     uint32_t dstTarget, int32_t dstLevel, int32_t dstX,
                                     int32_t dstY, int32_t dstZ, int32_t srcWidth,
                                     int32_t srcHeight, int32_t srcDepth);
  virtual void glBlendBarrierKHR();
  virtual void glMinSampleShadingOES(float value);
  virtual void glEnableiEXT(uint32_t target, uint32_t index);
  virtual void glDisableiEXT(uint32_t target, uint32_t index);
  virtual void glBlendEquationiEXT(uint32_t buf, uint32_t mode);
  virtual void glBlendEquationSeparateiEXT(uint32_t buf, uint32_t modeRGB, uint32_t modeAlpha);
  virtual void glBlendFunciEXT(uint32_t buf, uint32_t src, uint32_t dst);
  virtual void glBlendFuncSeparateiEXT(uint32_t buf, uint32_t srcRGB, uint32_t dstRGB,
                                       uint32_t srcAlpha, uint32_t dstAlpha);
  virtual void glColorMaskiEXT(uint32_t index, uint32_t r, uint32_t g, uint32_t b, uint32_t a);
  virtual void glIsEnablediEXT(uint32_t result, uint32_t target, uint32_t index);
  virtual void glTexBufferEXT(uint32_t target, uint32_t internalformat, uint32_t buffer);
  virtual void glTexBufferRangeEXT(uint32_t target, uint32_t internalformat, uint32_t buffer,
                                   uint32_t offset, uint32_t size);
  virtual void glDebugMessageControlKHR(uint32_t source, uint32_t type, uint32_t severity,
                                        int32_t count, const PointerData* ids, uint32_t enabled);
  virtual void glDebugMessageInsertKHR(uint32_t source, uint32_t type, uint32_t id,
                                       uint32_t severity, int32_t length, const PointerData* buf);
  virtual void glDebugMessageCallbackKHR(const PointerData* callback, const PointerData* userParam);
  virtual void glGetDebugMessageLogKHR(uint32_t result, uint32_t count, int32_t bufSize,
                                       const PointerData* sources, const PointerData* types,
                                       const PointerData* ids, const PointerData* severities,
                                       const PointerData* lengths, const PointerData* messageLog);
  virtual void glPushDebugGroupKHR(uint32_t source, uint32_t id, int32_t length,
                                   const PointerData* message);
  virtual void glPopDebugGroupKHR();
  virtual void glObjectLabelKHR(uint32_t identifier, uint32_t name, int32_t length,
                                const PointerData* label);
  virtual void glGetObjectLabelKHR(uint32_t identifier, uint32_t name, int32_t bufSize,
                                   const PointerData* length, const PointerData* label);
  virtual void glObjectPtrLabelKHR(const PointerData* ptr, int32_t length,
                                   const PointerData* label);
  virtual void glGetObjectPtrLabelKHR(const PointerData* ptr, int32_t bufSize,
                                      const PointerData* length, const PointerData* label);
  virtual void glGetPointervKHR(uint32_t pname, const PointerData* params);
  virtual void glPrimitiveBoundingBoxEXT(float minX, float minY, float minZ, float minW, float maxX,
                                         float maxY, float maxZ, float maxW);
  virtual void glPatchParameteriEXT(uint32_t pname, int32_t value);
  virtual void glDrawElementsBaseVertex(uint32_t mode, int32_t count, uint32_t type,
                                        const PointerData* indices, int32_t basevertex);
  virtual void glDrawRangeElementsBaseVertex(uint32_t mode, uint32_t start, uint32_t end,
                                             int32_t count, uint32_t type,
                                             const PointerData* indices, int32_t basevertex);
  virtual void glDrawElementsInstancedBaseVertex(uint32_t mode, int32_t count, uint32_t type,
                                                 const PointerData* indices, int32_t instancecount,
                                                 int32_t basevertex);
  virtual void glFramebufferTextureEXT(uint32_t target, uint32_t attachment, uint32_t texture,
                                       int32_t level);
  virtual void glFramebufferTextureMultiviewOVR(uint32_t target, uint32_t attachment,
                                                uint32_t texture, int32_t level,
                                                int32_t baseViewIndex, int32_t numViews);
  virtual void glFramebufferTextureMultisampleMultiviewOVR(uint32_t target, uint32_t attachment,
                                                           uint32_t texture, int32_t level,
                                                           int32_t samples, int32_t baseViewIndex,
                                                           int32_t numViews);
  virtual void glBufferStorageEXT(uint32_t target, uint32_t size, const PointerData* data,
                                  uint32_t flags);
  virtual void glGetGraphicsResetStatus(uint32_t result);
  virtual void glReadnPixels(int32_t x, int32_t y, int32_t width, int32_t height, uint32_t format,
                             uint32_t type, int32_t bufSize, const PointerData* data);
  virtual void glGetnUniformfv(uint32_t program, int32_t location, int32_t bufSize,
                               const PointerData* params);
  virtual void glGetnUniformiv(uint32_t program, int32_t location, int32_t bufSize,
                               const PointerData* params);
  virtual void glGetnUniformuiv(uint32_t program, int32_t location, int32_t bufSize,
                                const PointerData* params);
  virtual void glTexParameterIiv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glTexParameterIuiv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetTexParameterIiv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glGetTexParameterIuiv(uint32_t target, uint32_t pname, const PointerData* params);
  virtual void glSamplerParameterIiv(uint32_t sampler, uint32_t pname, const PointerData* param);
  virtual void glSamplerParameterIuiv(uint32_t sampler, uint32_t pname, const PointerData* param);
  virtual void glGetSamplerParameterIiv(uint32_t sampler, uint32_t pname,
                                        const PointerData* params);
  virtual void glGetSamplerParameterIuiv(uint32_t sampler, uint32_t pname,
                                         const PointerData* params);
  virtual void glNumBinsPerSubmitKVRA(uint32_t numBins, uint32_t separateBinningPass);
  virtual void glCopyImageSubData(uint32_t srcName, uint32_t srcTarget, int32_t srcLevel,
                                  int32_t srcX, int32_t srcY, int32_t srcZ, uint32_t dstName,
                                  uint32_t dstTarget, int32_t dstLevel, int32_t dstX, int32_t dstY,
                                  int32_t dstZ, int32_t srcWidth, int32_t srcHeight,
                                  int32_t srcDepth);
  virtual void glBlendBarrier();
  virtual void glMinSampleShading(float value);
  virtual void glEnablei(uint32_t target, uint32_t index);
  virtual void glDisablei(uint32_t target, uint32_t index);
  virtual void glBlendEquationi(uint32_t buf, uint32_t mode);
  virtual void glBlendEquationSeparatei(uint32_t buf, uint32_t modeRGB, uint32_t modeAlpha);
  virtual void glBlendFunci(uint32_t buf, uint32_t src, uint32_t dst);
  virtual void glBlendFuncSeparatei(uint32_t buf, uint32_t srcRGB, uint32_t dstRGB,
                                    uint32_t srcAlpha, uint32_t dstAlpha);
  virtual void glColorMaski(uint32_t index, uint32_t r, uint32_t g, uint32_t b, uint32_t a);
  virtual void glIsEnabledi(uint32_t result, uint32_t target, uint32_t index);
  virtual void glTexBuffer(uint32_t target, uint32_t internalformat, uint32_t buffer);
  virtual void glTexBufferRange(uint32_t target, uint32_t internalformat, uint32_t buffer,
                                uint32_t offset, uint32_t size);
  virtual void glDebugMessageControl(uint32_t source, uint32_t type, uint32_t severity,
                                     int32_t count, const PointerData* ids, uint32_t enabled);
  virtual void glDebugMessageInsert(uint32_t source, uint32_t type, uint32_t id, uint32_t severity,
                                    int32_t length, const PointerData* buf);
  virtual void glDebugMessageCallback(const PointerData* callback, const PointerData* userParam);
  virtual void glGetDebugMessageLog(uint32_t result, uint32_t count, int32_t bufSize,
                                    const PointerData* sources, const PointerData* types,
                                    const PointerData* ids, const PointerData* severities,
                                    const PointerData* lengths, const PointerData* messageLog);
  virtual void glPushDebugGroup(uint32_t source, uint32_t id, int32_t length,
                                const PointerData* message);
  virtual void glPopDebugGroup();
  virtual void glObjectLabel(uint32_t identifier, uint32_t name, int32_t length,
                             const PointerData* label);
  virtual void glGetObjectLabel(uint32_t identifier, uint32_t name, int32_t bufSize,
                                const PointerData* length, const PointerData* label);
  virtual void glObjectPtrLabel(const PointerData* ptr, int32_t length, const PointerData* label);
  virtual void glGetObjectPtrLabel(const PointerData* ptr, int32_t bufSize,
                                   const PointerData* length, const PointerData* label);
  virtual void glGetPointerv(uint32_t pname, const PointerData* params);
  virtual void glPrimitiveBoundingBox(float minX, float minY, float minZ, float minW, float maxX,
                                      float maxY, float maxZ, float maxW);
  virtual void glBlitBlendColor(float red, float green, float blue, float alpha);
  virtual void glBlitBlendEquationSeparate(uint32_t modeRGB, uint32_t modeAlpha);
  virtual void glBlitBlendFuncSeparate(uint32_t sfactorRGB, uint32_t dfactorRGB,
                                       uint32_t sfactorAlpha, uint32_t dfactorAlpha);
  virtual void glBlitRotation(uint32_t rotation);
  virtual void glBindSharedBufferKVRA(uint32_t target, uint32_t sizeInBytes, int32_t fd);
  virtual void glCreateSharedBufferKVRA(uint32_t sizeInBytes, uint32_t cacheMode,
                                        const PointerData* outFd);
  virtual void glDestroySharedBufferKVRA(int32_t fd);
  virtual void glTextureBarrier();
  virtual void glFramebufferFoveationConfigKVRA(uint32_t framebuffer, uint32_t numLayers,
                                                uint32_t focalPointsPerLayer,
                                                uint32_t requestedFeatures,
                                                const PointerData* providedFeatures);
  virtual void glFramebufferFoveationParametersKVRA(uint32_t framebuffer, uint32_t layer,
                                                    uint32_t focalPoint, float focalX, float focalY,
                                                    float gainX, float gainY, float foveaArea);
  virtual void glBufferStorageExternalEXT(uint32_t target, uint32_t offset, uint32_t size,
                                          uint32_t clientBuffer, uint32_t flags);
  virtual void glFramebufferFetchBarrierKVRA();
  virtual void glCreateMemoryObjectsEXT(int32_t n, const PointerData* memoryObjects);
  virtual void glDeleteMemoryObjectsEXT(int32_t n, const PointerData* memoryObjects);
  virtual void glIsMemoryObjectEXT(uint32_t result, uint32_t memoryObject);
  virtual void glMemoryObjectParameterivEXT(uint32_t memoryObject, uint32_t pname,
                                            const PointerData* params);
  virtual void glGetMemoryObjectParameterivEXT(uint32_t memoryObject, uint32_t pname,
                                               const PointerData* params);
  virtual void glTexStorageMem2DEXT(uint32_t target, int32_t levels, uint32_t internalFormat,
                                    int32_t width, int32_t height, uint32_t memory,
                                    uint64_t offset);
  virtual void glTexStorageMem2DMultisampleEXT(uint32_t target, int32_t samples,
                                               uint32_t internalFormat, int32_t width,
                                               int32_t height, uint32_t fixedSampleLocations,
                                               uint32_t memory, uint64_t offset);
  virtual void glTexStorageMem3DEXT(uint32_t target, int32_t levels, uint32_t internalFormat,
                                    int32_t width, int32_t height, int32_t depth, uint32_t memory,
                                    uint64_t offset);
  virtual void glTexStorageMem3DMultisampleEXT(uint32_t target, int32_t samples,
                                               uint32_t internalFormat, int32_t width,
                                               int32_t height, int32_t depth,
                                               uint32_t fixedSampleLocations, uint32_t memory,
                                               uint64_t offset);
  virtual void glBufferStorageMemEXT(uint32_t target, uint32_t size, uint32_t memory,
                                     uint64_t offset);
  virtual void glGenSemaphoresKHR(int32_t n, const PointerData* semaphores);
  virtual void glDeleteSemaphoresKHR(int32_t n, const PointerData* semaphores);
  virtual void glIsSemaphoreKHR(uint32_t result, uint32_t semaphore);
  virtual void glWaitSemaphoreKHR(uint32_t semaphore, uint32_t numBufferBarriers,
                                  const PointerData* buffers, uint32_t numTextureBarriers,
                                  const PointerData* textures, const PointerData* srcLayouts);
  virtual void glSignalSemaphoreKHR(uint32_t semaphore, uint32_t numBufferBarriers,
                                    const PointerData* buffers, uint32_t numTextureBarriers,
                                    const PointerData* textures, const PointerData* dstLayouts);
  virtual void glImportMemoryFdEXT(uint32_t memory, uint64_t size, uint32_t handleType, int32_t fd);
  virtual void glImportSemaphoreFdEXT(uint32_t semaphore, uint32_t handleType, int32_t fd);
  virtual void glGetUnsignedBytevEXT(uint32_t pname, const PointerData* data);
  virtual void glGetUnsignedBytei_vEXT(uint32_t target, uint32_t index, const PointerData* data);
  virtual void glTextureFoveationParametersKVRA(uint32_t texture, uint32_t layer,
                                                uint32_t focalPoint, float focalX, float focalY,
                                                float gainX, float gainY, float foveaArea);
  virtual void glBindFragDataLocationIndexedEXT(uint32_t program, uint32_t colorNumber,
                                                uint32_t index, const PointerData* name);
  virtual void glBindFragDataLocationEXT(uint32_t program, uint32_t color, const PointerData* name);
  virtual void glGetProgramResourceLocationIndexEXT(int32_t result, uint32_t program,
                                                    uint32_t programInterface,
                                                    const PointerData* name);
  virtual void glGetFragDataIndexEXT(int32_t result, uint32_t program, const PointerData* name);
  virtual void glShadingRateKVRA(uint32_t rate);
  virtual void glExtrapolateTex2DKVRA(uint32_t src1, uint32_t src2, uint32_t output,
                                      float scaleFactor);
};

}  // namespace Data

#endif  // DCAPKIT_DATA_GLADAPTER_H
