// One operation for every call: the adapter for tools that print, count, filter or convert.
#ifndef DCAPKIT_DATA_GENERICADAPTER_H
#define DCAPKIT_DATA_GENERICADAPTER_H

#include <cstdint>
#include <memory>
#include <span>

#include "Core/Export.h"
#include "Data/Calls/CallTable.h"

namespace Data {

class EGLAdapter;
class GLAdapter;
class PointerData;

/// One value of a call: a parameter or the result. `type` tells which member holds it.
struct CallValue {
  ValueType type;
  uint32_t byteCount = 0;  ///< of `bytes`
  union {
    uint32_t u32;
    int32_t i32;
    float f32;
    uint64_t u64;
    const PointerData* pointer;  ///< never null
    const uint8_t* bytes;        ///< may be null
  };

  // Implicit, so that values can be listed as they are; the union has one member at a time.
  // NOLINTBEGIN(google-explicit-constructor,cppcoreguidelines-pro-type-member-init)
  CallValue(uint32_t value) noexcept : type(ValueType::kUint32), u32(value) {}
  CallValue(int32_t value) noexcept : type(ValueType::kInt32), i32(value) {}
  CallValue(float value) noexcept : type(ValueType::kFloat), f32(value) {}
  CallValue(uint64_t value) noexcept : type(ValueType::kUint64), u64(value) {}
  CallValue(const PointerData* value) noexcept : type(ValueType::kPointer), pointer(value) {}
  CallValue(const uint8_t* value, uint32_t count) noexcept
      : type(ValueType::kBytes), byteCount(count), bytes(value) {}
  // NOLINTEND(google-explicit-constructor,cppcoreguidelines-pro-type-member-init)
};

/// Receives every EGL and OpenGL ES call as its description and an array of tagged values.
///
///     class CountDraws : public Data::GenericAdapter {
///       void ProcessCall(const Data::CallDesc& call, std::span<const Data::CallValue>) override {
///         draws += call.callClass == Data::CallClass::kDraw;
///       }
///      public:
///       int draws = 0;
///     };
///
///     CountDraws count;
///     eglDecoder.AddAdapter(count.AsEGLAdapter());
///     glDecoder.AddAdapter(count.AsGLAdapter());
///
/// Values stand in the order of `CallDesc::Values`: parameters as in the prototype, then the
/// result. Values and the memory that they point to are valid only during the operation;
/// descriptions live as long as the library. The object must outlive its use by the decoders; it is
/// not copied.
class DCAPKIT_API GenericAdapter {
 public:
  GenericAdapter();
  virtual ~GenericAdapter();
  GenericAdapter(const GenericAdapter&) = delete;
  GenericAdapter& operator=(const GenericAdapter&) = delete;

  /// The calls of `api` that follow were recorded on thread `threadId`.
  virtual void ProcessThreadChange(Api api, uint32_t threadId);

  /// Brings a recorded call.
  virtual void ProcessCall(const CallDesc& call, std::span<const CallValue> values);

  /// Brings client memory of the call that follows. `operation` is named "VertexAttribPointerData",
  /// "VertexAttribIPointerData", "FlushMappedBufferRangeData" or "UnmapBufferData" and bears the
  /// identifier of the call that set or used the memory. The bytes are those recorded: for a vertex
  /// array the `dataLength` bytes that belong at `dataOffset` of the client's array.
  virtual void ProcessClientData(const CallDesc& operation, std::span<const CallValue> values);

  /// Return the adapters to register with the decoders. This object owns them.
  [[nodiscard]] EGLAdapter* AsEGLAdapter() noexcept { return eglAdapter_.get(); }
  [[nodiscard]] GLAdapter* AsGLAdapter() noexcept { return glAdapter_.get(); }

 private:
  std::unique_ptr<EGLAdapter> eglAdapter_;
  std::unique_ptr<GLAdapter> glAdapter_;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_GENERICADAPTER_H
