// How the commands say that a capture is damaged: where, why, and what can be done about it.
#ifndef DCAP_DAMAGE_H
#define DCAP_DAMAGE_H

#include <cstdint>
#include <string>

#include "Core/Exceptions.h"

/// How far a capture had been read.
struct Place {
  uint64_t offset = 0;   ///< bytes from its start; 0 before anything of it was understood
  uint32_t frame = 0;    ///< ordinal of the last frame that began; 0 for none
  uint32_t number = 0;   ///< its recorded sequence number
  bool inFrame = false;  ///< that frame has not ended
};

/// Damage found by a command that reads a capture by itself.
class DamageError : public Core::BasicException {
 public:
  DamageError(const Place& damage, const std::string& cause)
      : BasicException(cause), place(damage) {}

  Place place;
};

/// Says on stderr what ended the reading of the capture at `path`, and how to save the frames
/// before that place, if there are any. Returns an `ExitStatus`.
int ReportDamage(const std::string& path, const Place& place, const std::string& cause);

/// What is said when a capture asks for more memory than the system has.
inline constexpr const char* kTooLargeMsg =
    "A recorded size asks for more memory than there is to be had.";

#endif  // DCAP_DAMAGE_H
