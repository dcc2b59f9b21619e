// Numbers as text.
#ifndef DCAPKIT_UTIL_STRING_H
#define DCAPKIT_UTIL_STRING_H

#include <string>

#include "Core/Export.h"

namespace Util {

/// Text conversions, independent of the locale.
class DCAPKIT_API String {
 public:
  String() = delete;

  /// Returns `value` in `base` 2 to 36, with lower-case letters as digits above 9 and a minus sign
  /// for negative values: `FromInt(-255, 16)` is "-ff". Returns an empty text for any other base.
  [[nodiscard]] static std::string FromInt(int value, unsigned int base);
};

}  // namespace Util

#endif  // DCAPKIT_UTIL_STRING_H
