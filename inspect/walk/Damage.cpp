#include "inspect/walk/Damage.h"

#include <new>

namespace Inspect {

Damage CurrentDamage(const Place& place) {
  try {
    throw;
  } catch (const DamageError& error) {
    return error.damage;
  } catch (const Core::BasicException& error) {
    return {place, error.what()};
  } catch (const std::bad_alloc&) {
    return {place, "A recorded size asks for more memory than there is to be had."};
  }
}

}  // namespace Inspect
