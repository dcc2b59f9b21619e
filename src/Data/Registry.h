// Lists of borrowed listeners.
#ifndef DCAPKIT_DATA_REGISTRY_H
#define DCAPKIT_DATA_REGISTRY_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Data {

/// The adapters, decoders or handlers that were registered with an object, in the order of
/// registration. It borrows them and never deletes any.
///
///     for (GLAdapter* adapter : adapters_) adapter->glFlush();
///
/// Listeners may be added and removed while such a loop runs, and loops may be nested. No loop
/// calls a listener after its removal; those begun after an addition call the new listener.
template <typename Listener>
class Registry {
 public:
  /// `nobody` is a listener that does nothing and takes the places of removed ones. Borrowed.
  explicit Registry(Listener* nobody) : nobody_(nobody) {}
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  /// Appends a listener. Checks neither for null nor for a second entry.
  void Add(Listener* listener) {
    if (end_ == limit_) MakeRoom();
    *end_++ = listener;
  }

  /// Removes the first entry of `listener`; does nothing when there is none.
  void Remove(Listener* listener) {
    for (const Array& array : arrays_) {
      Listener** end = array.entries.get() + array.size;
      Listener** found = std::find(array.entries.get(), end, listener);
      if (found != end) *found = nobody_;
    }
  }

  /// True when a loop would call nobody.
  [[nodiscard]] bool IsEmpty() const { return std::count(begin_, end_, nobody_) == end_ - begin_; }

  /// The entries for a loop, which reads both ends once, before it begins.
  Listener* const* begin() const { return begin_; }
  Listener* const* end() const { return end_; }

 private:
  // Loops bear no cost of additions and removals: they walk from a begin to an end that they read
  // at their start. So entries keep their places, and an array that became too small stays until
  // the registry goes. Only an array that is full, with `nobody_` in most of its places, is closed
  // up; a loop that runs just then may miss a listener, or call a new one.
  struct Array {
    std::unique_ptr<Listener*[]> entries;
    size_t size;
  };

  void MakeRoom() {
    const auto used = static_cast<size_t>(end_ - begin_);
    const auto gaps = static_cast<size_t>(std::count(begin_, end_, nobody_));
    if (gaps > used / 2) {
      end_ = std::remove(begin_, end_, nobody_);
      std::fill(end_, limit_, nobody_);
      return;
    }
    const size_t size = 2 * used + 2;
    Array& grown = arrays_.emplace_back(Array{std::make_unique<Listener*[]>(size), size});
    end_ = std::remove_copy(begin_, end_, grown.entries.get(), nobody_);
    begin_ = grown.entries.get();
    limit_ = begin_ + size;
  }

  Listener** begin_ = nullptr;
  Listener** end_ = nullptr;
  Listener** limit_ = nullptr;
  Listener* nobody_;
  std::vector<Array> arrays_;  // the last is in use
};

}  // namespace Data

#endif  // DCAPKIT_DATA_REGISTRY_H
