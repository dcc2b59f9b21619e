#include "Util/String.h"

#include <charconv>
#include <limits>

namespace Util {

std::string String::FromInt(int value, unsigned int base) {
  if (base < 2 || base > 36) {
    return {};
  }
  char digits[std::numeric_limits<int>::digits + 2];  // base 2, and the sign
  const auto result = std::to_chars(digits, digits + sizeof(digits), value, static_cast<int>(base));
  return std::string(digits, result.ptr);
}

}  // namespace Util
