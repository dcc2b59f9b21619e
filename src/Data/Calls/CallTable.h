// Describes every call by the call tables: names, types and classes, for tools that print, filter
// or count.
#ifndef DCAPKIT_DATA_CALLTABLE_H
#define DCAPKIT_DATA_CALLTABLE_H

#include <cstdint>
#include <span>
#include <string_view>

#include "Core/Export.h"
#include "Data/ApiCallType.h"

namespace Data {

enum class Api : uint8_t { kEGL, kGLES };

/// The purpose of a call; every call belongs to exactly one class.
enum class CallClass : uint8_t {
  kDraw,      ///< glDraw*: draws primitives
  kCompute,   ///< glDispatchCompute*
  kTransfer,  ///< clears, copies, blits and reads pixels
  kUpload,    ///< hands data or storage to the implementation
  kCreate,
  kDelete,
  kState,
  kQuery,
  kSync,
  kMarker,   ///< debug groups, labels and messages
  kPresent,  ///< ends a frame
};

/// The stored form of a value, in a payload and in a `CallValue`.
enum class ValueType : uint8_t {
  kUint8,  ///< only as the element of a pointer
  kUint32,
  kInt32,
  kFloat,
  kUint64,
  kInt64,    ///< only as the element of a pointer
  kPointer,  ///< `PointerData`
  kBytes,    ///< client data: plain bytes
};

/// The form in which a person wants to read a value, or the elements of a pointer.
enum class ValueFormat : uint8_t {
  kNumber,
  kHex,
  kBoolean,  ///< GL_TRUE, GL_FALSE, EGL_TRUE, EGL_FALSE
  kEnum,     ///< by name, `EnumerantName`
  kBits,     ///< names joined by |, `TypeDesc::names`
  kObject,   ///< name of an object or a handle, as a number
  kBytes,    ///< opaque memory
  kString,
  kStringArray,
};

/// An enumerant or a bit and its Khronos name.
struct EnumName {
  uint32_t value;
  const char* name;
};

/// A type of the call table.
struct TypeDesc {
  const char* name;                 ///< as in the call table: "buffer", "enum", "float[]"
  ValueType type;                   ///< `kPointer` for every pointer
  ValueFormat format;               ///< of the value, or of the elements of a pointer
  ValueType element;                ///< of a pointer; otherwise the same as `type`
  uint8_t elementSize;              ///< bytes of one element of a pointer; 0 for a scalar
  std::span<const EnumName> names;  ///< names of this type alone, sorted by value; often empty
};

/// A parameter or a result.
struct ParameterDesc {
  const char* name;  ///< as in the Khronos prototype; "result" for a result
  const TypeDesc* type;
};

/// A call, or one of the four client-data operations.
struct CallDesc {
  ApiCallType id;  ///< a client-data operation bears the identifier of the call that it belongs to
  Api api;
  CallClass callClass;
  const char* name;             ///< "glBindBuffer"
  const ParameterDesc* values;  ///< parameters in the order of the prototype, then the result
  uint8_t parameterCount;       ///< without the result
  bool hasResult;

  /// Returns the parameters in the order of the prototype, then the result if there is one: the
  /// order in which a payload holds them.
  [[nodiscard]] std::span<const ParameterDesc> Values() const {
    return {values, static_cast<size_t>(parameterCount) + (hasResult ? 1 : 0)};
  }
};

/// Returns the description of a call, or null when `id` is reserved or out of range. Descriptions
/// live as long as the library.
DCAPKIT_API const CallDesc* FindCall(ApiCallType id) noexcept;

/// Returns the call of that name, or null.
DCAPKIT_API const CallDesc* FindCall(std::string_view name) noexcept;

/// Returns all calls of an API in the order of its adapter's operations.
DCAPKIT_API std::span<const CallDesc> AllCalls(Api api) noexcept;

/// Returns "draw", "compute", "transfer", "upload", "create", "delete", "state", "query", "sync",
/// "marker" or "present".
DCAPKIT_API const char* CallClassName(CallClass callClass) noexcept;

/// Returns the Khronos name of an enumerant, or null. Looks among the names of `type` first, then
/// among those of `api`.
DCAPKIT_API const char* EnumerantName(Api api, const TypeDesc& type, uint32_t value) noexcept;

}  // namespace Data

#endif  // DCAPKIT_DATA_CALLTABLE_H
