// The interface that receives decoded EGL calls.
#ifndef DCAPKIT_DATA_EGLADAPTER_H
#define DCAPKIT_DATA_EGLADAPTER_H

#include <cstdint>

#include "Core/Export.h"

namespace Data {

class PointerData;

/// Receives every decoded EGL call: one operation for each call, named after the EGL function.
///
/// Derive from it, override the operations of interest and register the object with
/// `EGLDecoder::AddAdapter`; the defaults do nothing. Classes compiled with -fno-rtti work. The
/// order of the operations is part of the interface.
///
/// Every operation receives first the recorded result (if the function returns one), then the
/// parameters in the order of the EGL prototype. Handles, `EGLint`, `EGLenum` and `EGLBoolean` come
/// as 32-bit values, as recorded. Pointers (arrays, strings, out-parameters) come as a
/// `PointerData`, which is never null and valid only during the operation. A value that the capture
/// does not hold is 0, or has all bits set where it names an object.
///
/// An exception that an operation throws leaves the decoder; further adapters do not receive the
/// call.
class DCAPKIT_API EGLAdapter {
 public:
  virtual ~EGLAdapter();

  /// The calls that follow were recorded on thread `threadId`.
  virtual void ProcessThreadChange(uint32_t threadId);

  virtual void eglGetError(int32_t result);
  virtual void eglGetDisplay(uint32_t result, uint32_t display_id);
  virtual void eglInitialize(uint32_t result, uint32_t dpy, const PointerData* major,
                             const PointerData* minor);
  virtual void eglTerminate(uint32_t result, uint32_t dpy);
  virtual void eglQueryString(const PointerData* result, uint32_t dpy, int32_t name);
  virtual void eglGetConfigs(uint32_t result, uint32_t dpy, const PointerData* configs,
                             int32_t config_size, const PointerData* num_config);
  virtual void eglChooseConfig(uint32_t result, uint32_t dpy, const PointerData* attrib_list,
                               const PointerData* configs, int32_t config_size,
                               const PointerData* num_config);
  virtual void eglGetConfigAttrib(uint32_t result, uint32_t dpy, uint32_t config, int32_t attribute,
                                  const PointerData* value);
  virtual void eglCreateWindowSurface(uint32_t result, uint32_t dpy, uint32_t config, uint32_t win,
                                      const PointerData* attrib_list);
  virtual void eglCreatePbufferSurface(uint32_t result, uint32_t dpy, uint32_t config,
                                       const PointerData* attrib_list);
  virtual void eglCreatePixmapSurface(uint32_t result, uint32_t dpy, uint32_t config,
                                      uint32_t pixmap, const PointerData* attrib_list);
  virtual void eglDestroySurface(uint32_t result, uint32_t dpy, uint32_t surface);
  virtual void eglQuerySurface(uint32_t result, uint32_t dpy, uint32_t surface, int32_t attribute,
                               const PointerData* value);
  virtual void eglBindAPI(uint32_t result, uint32_t api);
  virtual void eglQueryAPI(uint32_t result);
  virtual void eglWaitClient(uint32_t result);
  virtual void eglReleaseThread(uint32_t result);
  virtual void eglCreatePbufferFromClientBuffer(uint32_t result, uint32_t dpy, uint32_t buftype,
                                                uint32_t buffer, uint32_t config,
                                                const PointerData* attrib_list);
  virtual void eglSurfaceAttrib(uint32_t result, uint32_t dpy, uint32_t surface, int32_t attribute,
                                int32_t value);
  virtual void eglBindTexImage(uint32_t result, uint32_t dpy, uint32_t surface, int32_t buffer);
  virtual void eglReleaseTexImage(uint32_t result, uint32_t dpy, uint32_t surface, int32_t buffer);
  virtual void eglSwapInterval(uint32_t result, uint32_t dpy, int32_t interval);
  virtual void eglCreateContext(uint32_t result, uint32_t dpy, uint32_t config,
                                uint32_t share_context, const PointerData* attrib_list);
  virtual void eglDestroyContext(uint32_t result, uint32_t dpy, uint32_t ctx);
  virtual void eglMakeCurrent(uint32_t result, uint32_t dpy, uint32_t draw, uint32_t read,
                              uint32_t ctx);
  virtual void eglGetCurrentContext(uint32_t result);
  virtual void eglGetCurrentSurface(uint32_t result, int32_t readdraw);
  virtual void eglGetCurrentDisplay(uint32_t result);
  virtual void eglQueryContext(uint32_t result, uint32_t dpy, uint32_t ctx, int32_t attribute,
                               const PointerData* value);
  virtual void eglWaitGL(uint32_t result);
  virtual void eglWaitNative(uint32_t result, int32_t engine);
  virtual void eglSwapBuffers(uint32_t result, uint32_t dpy, uint32_t surface);
  virtual void eglCopyBuffers(uint32_t result, uint32_t dpy, uint32_t surface, uint32_t target);
  virtual void eglGetProcAddress(const PointerData* result, const PointerData* procname);
  virtual void eglCreateImageKHR(uint32_t result, uint32_t dpy, uint32_t ctx, uint32_t target,
                                 uint32_t buffer, const PointerData* attrib_list);
  virtual void eglDestroyImageKHR(uint32_t result, uint32_t dpy, uint32_t image);
  virtual void eglLockImageKVRA(uint32_t result, uint32_t dpy, uint32_t image,
                                const PointerData* attrib_list);
  virtual void eglUnlockImageKVRA(uint32_t result, uint32_t dpy, uint32_t image);
  virtual void eglQueryImageKVRA(uint32_t result, uint32_t dpy, uint32_t image, int32_t attribute,
                                 const PointerData* value);
  virtual void eglQueryImage64KVRA(uint32_t result, uint32_t dpy, uint32_t image, int32_t attribute,
                                   const PointerData* value);
  virtual void eglSetBlobCacheFuncsANDROID(uint32_t dpy, const PointerData* set,
                                           const PointerData* get);
  virtual void eglCreateSync(uint32_t result, uint32_t dpy, uint32_t type,
                             const PointerData* attrib_list);
  virtual void eglCreateSyncKHR(uint32_t result, uint32_t dpy, uint32_t type,
                                const PointerData* attrib_list);
  virtual void eglCreateSync64KHR(uint32_t result, uint32_t dpy, uint32_t type,
                                  const PointerData* attrib_list);
  virtual void eglDestroySyncKHR(uint32_t result, uint32_t dpy, uint32_t sync);
  virtual void eglClientWaitSyncKHR(int32_t result, uint32_t dpy, uint32_t sync, int32_t flags,
                                    uint64_t timeout);
  virtual void eglWaitSyncKHR(int32_t result, uint32_t dpy, uint32_t sync, int32_t flags);
  virtual void eglSignalSyncKHR(uint32_t result, uint32_t dpy, uint32_t sync, uint32_t mode);
  virtual void eglGetSyncAttribKHR(uint32_t result, uint32_t dpy, uint32_t sync, int32_t attribute,
                                   const PointerData* value);
  virtual void eglDupNativeFenceFDANDROID(int32_t result, uint32_t dpy, uint32_t sync);
  virtual void eglGetSyncObjFromEglSyncKVRA(uint32_t result, uint32_t dpy, uint32_t sync,
                                            uint32_t obj);
  virtual void eglLockSurfaceKHR(uint32_t result, uint32_t dpy, uint32_t surface,
                                 const PointerData* attrib_list);
  virtual void eglUnlockSurfaceKHR(uint32_t result, uint32_t dpy, uint32_t surface);
  virtual void eglQuerySurface64KHR(uint32_t result, uint32_t dpy, uint32_t surface,
                                    int32_t attribute, const PointerData* value);
  virtual void eglGpuPerfHintKVRA(uint32_t result, uint32_t dpy, uint32_t ctx,
                                  const PointerData* attrib_list);
  virtual void eglSetDamageRegionKHR(uint32_t result, uint32_t dpy, uint32_t surface,
                                     const PointerData* rects, int32_t n_rects);
  virtual void eglCreateImageKHRv1(uint32_t result, uint32_t dpy, uint32_t ctx, uint32_t target,
                                   uint32_t buffer, const PointerData* attrib_list);
};

}  // namespace Data

#endif  // DCAPKIT_DATA_EGLADAPTER_H
