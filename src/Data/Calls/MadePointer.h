// Pointer parameters for programs that make calls instead of reading them.
#ifndef DCAPKIT_DATA_MADEPOINTER_H
#define DCAPKIT_DATA_MADEPOINTER_H

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <type_traits>

#include "Core/Export.h"
#include "Data/PointerData.h"

namespace Data {

/// A `PointerData` made from the memory that a pointer points to, to be passed where a call takes
/// one:
///
///     gl.glGenTextures(2, MadePointer::Array<uint32_t>({7, 8}));
///     gl.glShaderSource(1, 1, MadePointer::Strings({source}), MadePointer::Null());
///     gl.glGetProgramiv(1, GL_LINK_STATUS, MadePointer::Value(GL_TRUE));
///
/// It copies the content. Elements must have the size that the call's parameter has: 1 byte for
/// plain memory, otherwise 4 or 8. An `address` other than 0 is recorded too. Content of more than
/// 2^32 - 1 elements throws `CallEncoder::PayloadTooLargeMsg`.
class DCAPKIT_API MadePointer {
 public:
  /// Makes a null pointer or, with an address, one of which nothing else is recorded: an offset
  /// into a buffer, for instance.
  static MadePointer Null(uint64_t address = 0) { return MadePointer(0, address, nullptr, 0, 0); }

  /// Makes a pointer to one value, as out-parameters are.
  template <typename Element>
  static MadePointer Value(const Element& value, uint64_t address = 0) {
    static_assert(std::is_trivially_copyable_v<Element>);
    return MadePointer(PointerFlagValue, address, &value, 1, sizeof(Element));
  }

  template <typename Element>
  static MadePointer Array(std::span<const Element> elements, uint64_t address = 0) {
    static_assert(std::is_trivially_copyable_v<Element>);
    return MadePointer(PointerKindArray, address, elements.data(), elements.size(),
                       sizeof(Element));
  }
  template <typename Element>
  static MadePointer Array(std::initializer_list<Element> elements, uint64_t address = 0) {
    return Array(std::span(elements.begin(), elements.size()), address);
  }

  static MadePointer String(std::string_view text, uint64_t address = 0) {
    return MadePointer(text, address);
  }

  static MadePointer Strings(std::span<const std::string_view> texts, uint64_t address = 0) {
    return MadePointer(texts, address);
  }
  static MadePointer Strings(std::initializer_list<std::string_view> texts, uint64_t address = 0) {
    return MadePointer(std::span(texts.begin(), texts.size()), address);
  }

  // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): its purpose
  operator const PointerData*() const noexcept { return &pointer_; }

 private:
  MadePointer(uint32_t flags, uint64_t address, const void* elements, uint64_t count,
              uint32_t elementSize);
  MadePointer(std::string_view text, uint64_t address);
  MadePointer(std::span<const std::string_view> texts, uint64_t address);
  DCAPKIT_HIDDEN void Begin(uint32_t flags, uint64_t address, uint64_t count, uint32_t elementSize);

  PointerData pointer_;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_MADEPOINTER_H
