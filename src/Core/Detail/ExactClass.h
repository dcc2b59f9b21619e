// Tells the library's own classes from those that users derive. Private to the library.
#ifndef DCAPKIT_CORE_DETAIL_EXACTCLASS_H
#define DCAPKIT_CORE_DETAIL_EXACTCLASS_H

#include <cstring>

/// Declares `name`: the table of virtual operations of the class with that mangled name, as every
/// compiler for Linux lays it out and calls it (Itanium C++ ABI, 2.5.2 and 5.1.4).
#define DCAPKIT_CLASS_TABLE(name, mangled) extern const void* const name[] __asm__("_ZTV" mangled)

namespace Core {

/// True when `object` is of exactly the class whose table is `table`, not of one derived from it.
///
/// Reads nothing but the object's pointer to its table. `typeid` and `dynamic_cast` would look for
/// type information beside that table, where classes compiled with -fno-rtti have none and tables
/// that were made by hand need not have room for it.
inline bool IsExactly(const void* object, const void* const* table) {
  constexpr int kFirstOperation = 2;  // behind the offset to the top and the type information
  const void* own = nullptr;
  std::memcpy(&own, object, sizeof(own));
  return own == table + kFirstOperation;
}

}  // namespace Core

#endif  // DCAPKIT_CORE_DETAIL_EXACTCLASS_H
