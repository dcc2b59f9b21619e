// The place and the cause of damage in a capture.
#ifndef DCAP_INSPECT_DAMAGE_H
#define DCAP_INSPECT_DAMAGE_H

#include <cstdint>
#include <string>
#include <utility>

#include "Core/Exceptions.h"

namespace Inspect {

/// The place to which a capture was read.
struct Place {
  uint64_t offset = 0;   ///< bytes from its start; 0 before anything of it was understood
  uint32_t frame = 0;    ///< ordinal of the last frame that began; 0 for none
  uint32_t number = 0;   ///< its recorded sequence number
  bool inFrame = false;  ///< that frame has not ended
};

/// Damage that ended the reading of a capture.
struct Damage {
  Place place;
  std::string cause;  ///< a sentence
};

/// The same, thrown; `what()` is the cause.
class DamageError : public Core::BasicException {
 public:
  explicit DamageError(Damage found) : BasicException(found.cause), damage(std::move(found)) {}

  Damage damage;
};

/// Turns the exception at hand, which reading a capture at `place` has thrown, into damage. A
/// `DamageError` keeps its own place. `std::bad_alloc` becomes a recorded size that asks for too
/// much memory. An exception that is neither that nor a `Core::BasicException` is thrown on. To be
/// called in a catch block.
Damage CurrentDamage(const Place& place);

}  // namespace Inspect

#endif  // DCAP_INSPECT_DAMAGE_H
