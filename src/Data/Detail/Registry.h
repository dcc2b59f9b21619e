// Lists of borrowed listeners. Private to the library.
#ifndef DCAPKIT_DATA_REGISTRY_H
#define DCAPKIT_DATA_REGISTRY_H

#include <algorithm>
#include <vector>

namespace Data {

/// Erases the first entry equal to `listener`; the others keep their order.
template <typename Listener>
void RemoveFirst(std::vector<Listener*>& listeners, Listener* listener) {
  const auto found = std::ranges::find(listeners, listener);
  if (found != listeners.end()) {
    listeners.erase(found);
  }
}

}  // namespace Data

#endif  // DCAPKIT_DATA_REGISTRY_H
