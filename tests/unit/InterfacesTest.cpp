// Programs are compiled against the places of virtual operations and of members: they never change.
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Core/DataReader.h"
#include "Core/DataWriter.h"
#include "Core/Log.h"
#include "Data/BlockEventHandler.h"
#include "Data/Calls/CallEncoder.h"
#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFormat.h"
#include "Data/Decoder.h"
#include "Data/EGLAdapter.h"
#include "Data/GLAdapter.h"
#include "Data/MetaDecoder.h"
#include "Data/MetaHandler.h"
#include "Data/PointerData.h"
#include "Util/Compressor.h"

namespace {

using testing::ElementsAre;

// MACRO(ARGUMENT, NAME) for each of up to 256 names.
#define PARENTHESES ()
#define EXPAND(...) EXPAND3(EXPAND3(EXPAND3(EXPAND3(__VA_ARGS__))))
#define EXPAND3(...) EXPAND2(EXPAND2(EXPAND2(EXPAND2(__VA_ARGS__))))
#define EXPAND2(...) EXPAND1(EXPAND1(EXPAND1(EXPAND1(__VA_ARGS__))))
#define EXPAND1(...) EXPAND0(EXPAND0(EXPAND0(EXPAND0(__VA_ARGS__))))
#define EXPAND0(...) __VA_ARGS__
#define FOR_EACH(macro, argument, ...) __VA_OPT__(EXPAND(NEXT(macro, argument, __VA_ARGS__)))
#define NEXT(macro, argument, name, ...) \
  macro(argument, name) __VA_OPT__(NEXT_AGAIN PARENTHESES(macro, argument, __VA_ARGS__))
#define NEXT_AGAIN() NEXT

// ---- Operations.

// The slot of a virtual operation, as the C++ ABI of this platform encodes it.
template <typename Operation>
size_t SlotOf(Operation operation) {
  static_assert(sizeof(operation) == 2 * sizeof(uintptr_t));
  uintptr_t words[2];
  std::memcpy(words, &operation, sizeof(words));
#if defined(__aarch64__)
  return words[0] / sizeof(void*);
#else
  return (words[0] - 1) / sizeof(void*);
#endif
}

constexpr size_t kDestructors = 2;  // every table begins with a pair of them

void ExpectInOrder(size_t first, const std::vector<std::pair<const char*, size_t>>& operations) {
  for (const auto& [name, slot] : operations) EXPECT_EQ(slot, first++) << name;
}

#define OPERATION(type, name) {#name, SlotOf(&type::name)},
#define EXPECT_OPERATIONS(type, first, ...) \
  ExpectInOrder(first, {FOR_EACH(OPERATION, type, __VA_ARGS__)})

TEST(InterfacesTest, OperationsStandWhereProgramsExpectThem) {
  EXPECT_OPERATIONS(Core::DataReader, kDestructors, IsValid, Close, Read, Size, AtEof, Seek, Tell);
  EXPECT_OPERATIONS(Core::DataWriter, kDestructors, IsValid, Write, Flush, WriteAt);
  EXPECT_OPERATIONS(Core::Log::Sink, kDestructors, Write);
  EXPECT_OPERATIONS(Util::Compressor, kDestructors, CompressBound, Compress, Decompress,
                    MaxDecompressedSize);
  EXPECT_OPERATIONS(Data::DCAPConsumer, kDestructors, ProcessFileStart, ProcessFileEnd,
                    ProcessBlockStart, ProcessBlockEnd, ProcessFrameNumber, ProcessMethodCall,
                    ProcessFunctionCall, ProcessMetadata);
  EXPECT_OPERATIONS(Data::BlockEventHandler, kDestructors, ProcessBlockStart, ProcessBlockEnd);
  EXPECT_OPERATIONS(Data::Decoder, kDestructors, SupportsId, ProcessFunctionCall, ProcessMethodCall,
                    ProcessThreadChange);
  EXPECT_OPERATIONS(Data::MetaDecoder, kDestructors, ProcessMetadata, ProcessThreadChange);
  EXPECT_OPERATIONS(Data::MetaHandler, kDestructors, ProcessThreadChange, ProcessTextMetadata1,
                    ProcessTextMetadata2, ProcessTextMetadata3, DisplayMessage, SetWindowSize,
                    CreateEglImageBuffer, SetEglImageContent, EGLConfigStateDesc,
                    EGLSurfaceStateDesc, GLUniformsStateDesc, GLUniformBlocksStateDesc,
                    GLAttributesStateDesc, GLAtomicCounterBufferStateDesc,
                    GLBufferVariablesStateDesc, GLStorageBlocksStateDesc, ProcessRawMetadata,
                    GLLimitsDesc, DefaultColorBuffer, DefaultDepthBuffer, DefaultStencilBuffer,
                    MultiSampleTexture);
  EXPECT_OPERATIONS(Data::GenericAdapter, kDestructors, ProcessThreadChange, ProcessCall,
                    ProcessClientData);
  EXPECT_OPERATIONS(Data::CallSink, kDestructors, EncodedCall);
}

TEST(InterfacesTest, OperationsOfEGLAdaptersStandWhereProgramsExpectThem) {
  EXPECT_OPERATIONS(
      Data::EGLAdapter, kDestructors, ProcessThreadChange, eglGetError, eglGetDisplay,
      eglInitialize, eglTerminate, eglQueryString, eglGetConfigs, eglChooseConfig,
      eglGetConfigAttrib, eglCreateWindowSurface, eglCreatePbufferSurface, eglCreatePixmapSurface,
      eglDestroySurface, eglQuerySurface, eglBindAPI, eglQueryAPI, eglWaitClient, eglReleaseThread,
      eglCreatePbufferFromClientBuffer, eglSurfaceAttrib, eglBindTexImage, eglReleaseTexImage,
      eglSwapInterval, eglCreateContext, eglDestroyContext, eglMakeCurrent, eglGetCurrentContext,
      eglGetCurrentSurface, eglGetCurrentDisplay, eglQueryContext, eglWaitGL, eglWaitNative,
      eglSwapBuffers, eglCopyBuffers, eglGetProcAddress, eglCreateImageKHR, eglDestroyImageKHR,
      eglLockImageKVRA, eglUnlockImageKVRA, eglQueryImageKVRA, eglQueryImage64KVRA,
      eglSetBlobCacheFuncsANDROID, eglCreateSync, eglCreateSyncKHR, eglCreateSync64KHR,
      eglDestroySyncKHR, eglClientWaitSyncKHR, eglWaitSyncKHR, eglSignalSyncKHR,
      eglGetSyncAttribKHR, eglDupNativeFenceFDANDROID, eglGetSyncObjFromEglSyncKVRA,
      eglLockSurfaceKHR, eglUnlockSurfaceKHR, eglQuerySurface64KHR, eglGpuPerfHintKVRA,
      eglSetDamageRegionKHR, eglCreateImageKHRv1);
}

TEST(InterfacesTest, OperationsOfGLAdaptersStandWhereProgramsExpectThem) {
  EXPECT_OPERATIONS(Data::GLAdapter, kDestructors, ProcessThreadChange, VertexAttribPointerData,
                    VertexAttribIPointerData, FlushMappedBufferRangeData, UnmapBufferData);
  constexpr size_t kCalls = kDestructors + 5;
  EXPECT_OPERATIONS(
      Data::GLAdapter, kCalls, glActiveTexture, glAttachShader, glBindAttribLocation, glBindBuffer,
      glBindFramebuffer, glBindRenderbuffer, glBindTexture, glBlendColor, glBlendEquation,
      glBlendEquationSeparate, glBlendFunc, glBlendFuncSeparate, glBufferData, glBufferSubData,
      glCheckFramebufferStatus, glClear, glClearColor, glClearDepthf, glClearStencil, glColorMask,
      glCompileShader, glCompressedTexImage2D, glCompressedTexSubImage2D, glCopyTexImage2D,
      glCopyTexSubImage2D, glCreateProgram, glCreateShader, glCullFace, glDeleteBuffers,
      glDeleteFramebuffers, glDeleteProgram, glDeleteRenderbuffers, glDeleteShader,
      glDeleteTextures, glDepthFunc, glDepthMask, glDepthRangef, glDetachShader, glDisable,
      glDisableVertexAttribArray, glDrawArrays, glDrawElements, glEnable, glEnableVertexAttribArray,
      glFinish, glFlush, glFramebufferRenderbuffer, glFramebufferTexture2D, glFrontFace,
      glGenBuffers, glGenerateMipmap, glGenFramebuffers, glGenRenderbuffers, glGenTextures,
      glGetActiveAttrib, glGetActiveUniform, glGetAttachedShaders, glGetAttribLocation,
      glGetBooleanv, glGetBufferParameteriv, glGetError, glGetFloatv,
      glGetFramebufferAttachmentParameteriv, glGetIntegerv, glGetProgramiv, glGetProgramInfoLog,
      glGetRenderbufferParameteriv, glGetShaderiv, glGetShaderInfoLog, glGetShaderPrecisionFormat,
      glGetShaderSource, glGetString, glGetTexParameterfv, glGetTexParameteriv, glGetUniformfv,
      glGetUniformiv, glGetUniformLocation, glGetVertexAttribfv, glGetVertexAttribiv,
      glGetVertexAttribPointerv, glHint, glIsBuffer, glIsEnabled, glIsFramebuffer, glIsProgram,
      glIsRenderbuffer, glIsShader, glIsTexture, glLineWidth, glLinkProgram, glPixelStorei,
      glPolygonOffset, glReadPixels, glReleaseShaderCompiler, glRenderbufferStorage,
      glSampleCoverage, glScissor, glShaderBinary, glShaderSource, glStencilFunc);
  EXPECT_OPERATIONS(
      Data::GLAdapter, kCalls + 100, glStencilFuncSeparate, glStencilMask, glStencilMaskSeparate,
      glStencilOp, glStencilOpSeparate, glTexImage2D, glTexParameterf, glTexParameterfv,
      glTexParameteri, glTexParameteriv, glTexSubImage2D, glUniform1f, glUniform1fv, glUniform1i,
      glUniform1iv, glUniform2f, glUniform2fv, glUniform2i, glUniform2iv, glUniform3f, glUniform3fv,
      glUniform3i, glUniform3iv, glUniform4f, glUniform4fv, glUniform4i, glUniform4iv,
      glUniformMatrix2fv, glUniformMatrix3fv, glUniformMatrix4fv, glUseProgram, glValidateProgram,
      glVertexAttrib1f, glVertexAttrib1fv, glVertexAttrib2f, glVertexAttrib2fv, glVertexAttrib3f,
      glVertexAttrib3fv, glVertexAttrib4f, glVertexAttrib4fv, glVertexAttribPointer, glViewport,
      glReadBuffer, glDrawRangeElements, glTexImage3D, glTexSubImage3D, glCopyTexSubImage3D,
      glCompressedTexImage3D, glCompressedTexSubImage3D, glGenQueries, glDeleteQueries, glIsQuery,
      glBeginQuery, glEndQuery, glGetQueryiv, glGetQueryObjectuiv, glUnmapBuffer,
      glGetBufferPointerv, glDrawBuffers, glUniformMatrix2x3fv, glUniformMatrix3x2fv,
      glUniformMatrix2x4fv, glUniformMatrix4x2fv, glUniformMatrix3x4fv, glUniformMatrix4x3fv,
      glBlitFramebuffer, glRenderbufferStorageMultisample, glFramebufferTextureLayer,
      glMapBufferRange, glFlushMappedBufferRange, glBindVertexArray, glDeleteVertexArrays,
      glGenVertexArrays, glIsVertexArray, glGetIntegeri_v, glGetBooleani_v,
      glBeginTransformFeedback, glEndTransformFeedback, glBindBufferRange, glBindBufferBase,
      glTransformFeedbackVaryings, glGetTransformFeedbackVarying, glVertexAttribIPointer,
      glGetVertexAttribIiv, glGetVertexAttribIuiv, glVertexAttribI4i, glVertexAttribI4ui,
      glVertexAttribI4iv, glVertexAttribI4uiv, glGetUniformuiv, glGetFragDataLocation, glUniform1ui,
      glUniform2ui, glUniform3ui, glUniform4ui, glUniform1uiv, glUniform2uiv, glUniform3uiv,
      glUniform4uiv, glClearBufferiv);
  EXPECT_OPERATIONS(
      Data::GLAdapter, kCalls + 200, glClearBufferuiv, glClearBufferfv, glClearBufferfi,
      glGetStringi, glCopyBufferSubData, glGetUniformIndices, glGetActiveUniformsiv,
      glGetUniformBlockIndex, glGetActiveUniformBlockiv, glGetActiveUniformBlockName,
      glUniformBlockBinding, glDrawArraysInstanced, glDrawElementsInstanced, glFenceSync, glIsSync,
      glDeleteSync, glClientWaitSync, glWaitSync, glGetInteger64v, glGetSynciv, glGetInteger64i_v,
      glGetBufferParameteri64v, glGenSamplers, glDeleteSamplers, glIsSampler, glBindSampler,
      glSamplerParameteri, glSamplerParameteriv, glSamplerParameterf, glSamplerParameterfv,
      glGetSamplerParameteriv, glGetSamplerParameterfv, glVertexAttribDivisor,
      glBindTransformFeedback, glDeleteTransformFeedbacks, glGenTransformFeedbacks,
      glIsTransformFeedback, glPauseTransformFeedback, glResumeTransformFeedback,
      glGetProgramBinary, glProgramBinary, glProgramParameteri, glInvalidateFramebuffer,
      glInvalidateSubFramebuffer, glTexStorage2D, glTexStorage3D, glGetInternalformativ,
      glDispatchCompute, glDispatchComputeIndirect, glDrawArraysIndirect, glDrawElementsIndirect,
      glFramebufferParameteri, glGetFramebufferParameteriv, glGetProgramInterfaceiv,
      glGetProgramResourceIndex, glGetProgramResourceName, glGetProgramResourceiv,
      glGetProgramResourceLocation, glUseProgramStages, glActiveShaderProgram,
      glCreateShaderProgramv, glBindProgramPipeline, glDeleteProgramPipelines,
      glGenProgramPipelines, glIsProgramPipeline, glGetProgramPipelineiv, glProgramUniform1i,
      glProgramUniform2i, glProgramUniform3i, glProgramUniform4i, glProgramUniform1ui,
      glProgramUniform2ui, glProgramUniform3ui, glProgramUniform4ui, glProgramUniform1f,
      glProgramUniform2f, glProgramUniform3f, glProgramUniform4f, glProgramUniform1iv,
      glProgramUniform2iv, glProgramUniform3iv, glProgramUniform4iv, glProgramUniform1uiv,
      glProgramUniform2uiv, glProgramUniform3uiv, glProgramUniform4uiv, glProgramUniform1fv,
      glProgramUniform2fv, glProgramUniform3fv, glProgramUniform4fv, glProgramUniformMatrix2fv,
      glProgramUniformMatrix3fv, glProgramUniformMatrix4fv, glProgramUniformMatrix2x3fv,
      glProgramUniformMatrix3x2fv, glProgramUniformMatrix2x4fv, glProgramUniformMatrix4x2fv,
      glProgramUniformMatrix3x4fv, glProgramUniformMatrix4x3fv, glValidateProgramPipeline);
  EXPECT_OPERATIONS(
      Data::GLAdapter, kCalls + 300, glGetProgramPipelineInfoLog, glGetActiveAtomicCounterBufferiv,
      glBindImageTexture, glMemoryBarrier, glMemoryBarrierByRegion, glTexStorage2DMultisample,
      glTexStorage3DMultisampleOES, glGetMultisamplefv, glSampleMaski, glGetTexLevelParameteriv,
      glGetTexLevelParameterfv, glBindVertexBuffer, glVertexAttribFormat, glVertexAttribIFormat,
      glVertexAttribBinding, glVertexBindingDivisor, glPatchParameteri, glGetFixedvAMD,
      glLogicOpAMD, glFogfvAMD, glGetMemoryStatsKVRA, glGetSizedMemoryStatsKVRA, glBlitOverlapKVRA,
      glGetShaderStatsKVRA, glExtGetSamplersKVRA, glClipPlanefKVRA,
      glFramebufferTexture2DExternalKVRA, glFramebufferRenderbufferExternalKVRA,
      glEGLImageTargetTexture2DOES, glEGLImageTargetRenderbufferStorageOES, glGetProgramBinaryOES,
      glProgramBinaryOES, glTexImage3DOES, glTexSubImage3DOES, glCopyTexSubImage3DOES,
      glCompressedTexImage3DOES, glCompressedTexSubImage3DOES, glFramebufferTexture3DOES,
      glBindVertexArrayOES, glDeleteVertexArraysOES, glGenVertexArraysOES, glIsVertexArrayOES,
      glGetPerfMonitorGroupsAMD, glGetPerfMonitorCountersAMD, glGetPerfMonitorGroupStringAMD,
      glGetPerfMonitorCounterStringAMD, glGetPerfMonitorCounterInfoAMD, glGenPerfMonitorsAMD,
      glDeletePerfMonitorsAMD, glSelectPerfMonitorCountersAMD, glBeginPerfMonitorAMD,
      glEndPerfMonitorAMD, glGetPerfMonitorCounterDataAMD, glLabelObjectEXT, glGetObjectLabelEXT,
      glInsertEventMarkerEXT, glPushGroupMarkerEXT, glPopGroupMarkerEXT, glDiscardFramebufferEXT,
      glGenQueriesEXT, glDeleteQueriesEXT, glIsQueryEXT, glBeginQueryEXT, glEndQueryEXT,
      glQueryCounterEXT, glGetQueryivEXT, glGetQueryObjectivEXT, glGetQueryObjectuivEXT,
      glGetQueryObjecti64vEXT, glGetQueryObjectui64vEXT, glGetGraphicsResetStatusEXT,
      glReadnPixelsEXT, glGetnUniformfvEXT, glGetnUniformivEXT, glTexParameterIivEXT,
      glTexParameterIuivEXT, glGetTexParameterIivEXT, glGetTexParameterIuivEXT,
      glSamplerParameterIivEXT, glSamplerParameterIuivEXT, glGetSamplerParameterIivEXT,
      glGetSamplerParameterIuivEXT, glRenderbufferStorageMultisampleEXT,
      glFramebufferTexture2DMultisampleEXT, glAlphaFuncKVRA, glStartTilingKVRA, glEndTilingKVRA,
      glCopyImageSubDataEXT, glBlendBarrierKHR, glMinSampleShadingOES, glEnableiEXT, glDisableiEXT,
      glBlendEquationiEXT, glBlendEquationSeparateiEXT, glBlendFunciEXT, glBlendFuncSeparateiEXT,
      glColorMaskiEXT, glIsEnablediEXT, glTexBufferEXT, glTexBufferRangeEXT);
  EXPECT_OPERATIONS(
      Data::GLAdapter, kCalls + 400, glDebugMessageControlKHR, glDebugMessageInsertKHR,
      glDebugMessageCallbackKHR, glGetDebugMessageLogKHR, glPushDebugGroupKHR, glPopDebugGroupKHR,
      glObjectLabelKHR, glGetObjectLabelKHR, glObjectPtrLabelKHR, glGetObjectPtrLabelKHR,
      glGetPointervKHR, glPrimitiveBoundingBoxEXT, glPatchParameteriEXT, glDrawElementsBaseVertex,
      glDrawRangeElementsBaseVertex, glDrawElementsInstancedBaseVertex, glFramebufferTextureEXT,
      glFramebufferTextureMultiviewOVR, glFramebufferTextureMultisampleMultiviewOVR,
      glBufferStorageEXT, glGetGraphicsResetStatus, glReadnPixels, glGetnUniformfv, glGetnUniformiv,
      glGetnUniformuiv, glTexParameterIiv, glTexParameterIuiv, glGetTexParameterIiv,
      glGetTexParameterIuiv, glSamplerParameterIiv, glSamplerParameterIuiv,
      glGetSamplerParameterIiv, glGetSamplerParameterIuiv, glNumBinsPerSubmitKVRA,
      glCopyImageSubData, glBlendBarrier, glMinSampleShading, glEnablei, glDisablei,
      glBlendEquationi, glBlendEquationSeparatei, glBlendFunci, glBlendFuncSeparatei, glColorMaski,
      glIsEnabledi, glTexBuffer, glTexBufferRange, glDebugMessageControl, glDebugMessageInsert,
      glDebugMessageCallback, glGetDebugMessageLog, glPushDebugGroup, glPopDebugGroup,
      glObjectLabel, glGetObjectLabel, glObjectPtrLabel, glGetObjectPtrLabel, glGetPointerv,
      glPrimitiveBoundingBox, glBlitBlendColor, glBlitBlendEquationSeparate,
      glBlitBlendFuncSeparate, glBlitRotation, glBindSharedBufferKVRA, glCreateSharedBufferKVRA,
      glDestroySharedBufferKVRA, glTextureBarrier, glFramebufferFoveationConfigKVRA,
      glFramebufferFoveationParametersKVRA, glBufferStorageExternalEXT,
      glFramebufferFetchBarrierKVRA, glCreateMemoryObjectsEXT, glDeleteMemoryObjectsEXT,
      glIsMemoryObjectEXT, glMemoryObjectParameterivEXT, glGetMemoryObjectParameterivEXT,
      glTexStorageMem2DEXT, glTexStorageMem2DMultisampleEXT, glTexStorageMem3DEXT,
      glTexStorageMem3DMultisampleEXT, glBufferStorageMemEXT, glGenSemaphoresKHR,
      glDeleteSemaphoresKHR, glIsSemaphoreKHR, glWaitSemaphoreKHR, glSignalSemaphoreKHR,
      glImportMemoryFdEXT, glImportSemaphoreFdEXT, glGetUnsignedBytevEXT, glGetUnsignedBytei_vEXT,
      glTextureFoveationParametersKVRA, glBindFragDataLocationIndexedEXT, glBindFragDataLocationEXT,
      glGetProgramResourceLocationIndexEXT, glGetFragDataIndexEXT, glShadingRateKVRA,
      glExtrapolateTex2DKVRA);
}

// ---- Members.

#define PLACE(object, name) \
  reinterpret_cast<const char*>(&(object).name) - reinterpret_cast<const char*>(&(object)),
#define EXPECT_PLACES(type, size, places, ...)                           \
  {                                                                      \
    const type object{};                                                 \
    EXPECT_EQ(sizeof(type), size);                                       \
    const std::vector<long> found{FOR_EACH(PLACE, object, __VA_ARGS__)}; \
    EXPECT_THAT(found, places) << #type;                                 \
  }

TEST(InterfacesTest, RecordsLieInTheFileAsTheyAre) {
  using namespace Data;
  EXPECT_PLACES(FileHeader, 32, ElementsAre(0, 4, 6, 7, 8, 12, 20, 24), fourCC, versionLow,
                versionMinor, versionMajor, optionMask, reserved, frameCount, fileSize);
  EXPECT_PLACES(BlockHeader, 6, ElementsAre(0, 2), type, size);
  EXPECT_PLACES(SubBlockHeader, 10, ElementsAre(0, 2, 6), type, size, threadId);
  EXPECT_PLACES(FunctionCallDesc, 2, ElementsAre(0), callId);
  EXPECT_PLACES(MethodCallDesc, 6, ElementsAre(0, 4), objectValue, callId);
  EXPECT_PLACES(MetadataDesc, 4, ElementsAre(0, 2), type, subtype);
}

TEST(InterfacesTest, MembersStandWhereProgramsExpectThem) {
  using namespace Data;
  EXPECT_PLACES(FrameEntry, 16, ElementsAre(0, 8), frameNumber, filePosition);
  EXPECT_PLACES(Core::Log::Record, 32, ElementsAre(0, 4, 8, 16, 24), level, zone, line, file,
                message);
  // Private members follow.
  EXPECT_PLACES(PointerData, sizeof(PointerData),
                ElementsAre(8, 12, 16, 24, 28, 32, 40, 48, 56, 64, 72, 80), decoded, flags,
                pointerValue, elementSize, count, arrayData, stringData, stringFlags,
                stringPointerValues, stringLengths, strings, data);
  EXPECT_PLACES(EglImagePlane, 32, ElementsAre(0, 8, 16, 24), p0, size, p1, data);
  EXPECT_PLACES(EglImageBufferDesc, 32, ElementsAre(0, 4, 8, 12, 16, 24), f0, f1, f2, f3,
                planeCount, planes);
  EXPECT_PLACES(GLResourceDesc, 32, ElementsAre(0, 4, 8, 12, 16, 24), e0, e1, e2, e3, nameLength,
                name);
  EXPECT_PLACES(GLUniformBlockDesc, 112, ElementsAre(0, 4, 8, 16, 24, 28, 32, 36, 40, 48), e0, e1,
                nameLength, name, e3, e4, e5, e6, arrayLength, arrays);
  EXPECT_PLACES(GLAtomicCounterBufferDesc, 40, ElementsAre(0, 4, 8, 12, 16, 20, 24, 32), e0, e1, e2,
                e3, e4, e5, arrayLength, array);
  EXPECT_PLACES(GLBufferVariableDesc, 64,
                ElementsAre(0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56), e0, e1, e2,
                e3, e4, e5, e6, e7, e8, e9, e10, e11, e12, nameLength, name);
  EXPECT_PLACES(GLStorageBlockDesc, 48, ElementsAre(0, 4, 8, 16, 20, 24, 28, 32, 36, 40), e0,
                nameLength, name, e2, e3, e4, e5, e6, arrayLength, array);
  EXPECT_PLACES(GLLimitPair, 8, ElementsAre(0, 4), first, second);
}

}  // namespace
