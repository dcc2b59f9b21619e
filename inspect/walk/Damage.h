// Where and why the reading of a capture ended early.
#ifndef DCAP_INSPECT_DAMAGE_H
#define DCAP_INSPECT_DAMAGE_H

#include <cstdint>
#include <string>
#include <utility>

#include "Core/Exceptions.h"

namespace Inspect {

/// How far a capture had been read.
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

/// To be called while an exception is handled: the damage that it tells of, if it was thrown while
/// the capture was read at `place`. A `DamageError` knows its own place. `std::bad_alloc` means
/// that a recorded size asks for too much memory. Throws on what is neither that nor a
/// `Core::BasicException`.
Damage CurrentDamage(const Place& place);

}  // namespace Inspect

#endif  // DCAP_INSPECT_DAMAGE_H
