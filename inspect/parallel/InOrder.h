// Tasks on several threads, whose results come in order.
#ifndef DCAP_INSPECT_INORDER_H
#define DCAP_INSPECT_INORDER_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace Inspect {

/// Runs pieces of work on several threads and delivers their results in order, one at a time. A
/// result is an action; any free worker takes it, so that none has to be woken. Buffered results
/// are bounded: a worker too far ahead blocks.
class InOrder {
 public:
  /// The place of a piece of work among the others.
  class Turn;

  using Action = std::function<void()>;
  using Work = std::function<void(Turn*)>;
  /// Gives the pieces in their order, and then an empty one. Called on different threads, but by
  /// one at a time.
  using Source = std::function<Work()>;

  /// Runs all pieces. The calling thread is one of the `threads`. When a piece throws, takes the
  /// actions before that and throws the same; when an action throws, throws the same. Later actions
  /// are dropped then. No piece is at work any more when this returns or throws.
  static void Run(unsigned threads, Source source);

 private:
  struct Piece {
    [[nodiscard]] bool IsWorthTaking() const;

    std::deque<Action> actions;
    size_t bytes = 0;  // held by the actions
    bool ended = false;
    bool isLast = false;
    std::exception_ptr failure;
  };
  struct Stopped {};

  explicit InOrder(Source source) : source_(std::move(source)) {}

  void WorkOnPieces();
  std::shared_ptr<Piece> NextPiece(Work* work);
  void TakeActions(std::unique_lock<std::mutex>* lock);
  void Stop(std::exception_ptr failure);
  template <typename Condition>
  bool Wait(std::unique_lock<std::mutex>* lock, Condition condition);

  Source source_;
  std::mutex sourceMutex_;

  std::mutex mutex_;  // guards all members below
  std::condition_variable workersMayGoOn_;
  std::deque<std::shared_ptr<Piece>> pieces_;  // at work or with actions, in order
  size_t bytes_ = 0;                           // of all of them
  bool sourceIsEmpty_ = false;
  bool actionsAreTaken_ = false;  // some thread is in TakeActions
  bool stopped_ = false;
  std::exception_ptr failure_;  // the reason why it stopped; null for the last piece
};

class InOrder::Turn {
 public:
  /// Delivers a result: `action` runs after all before it, perhaps at once, perhaps on another
  /// thread. `bytes` is about the memory that it holds. May wait. Throws an internal exception when
  /// the run was cancelled; let it propagate.
  void Do(size_t bytes, Action action);

  /// The same, but drops `action` and returns false when the run was cancelled.
  bool TryDo(size_t bytes, Action action);

  /// Waits until all pieces before this one are done. Throws as `Do`.
  void Await();

  /// Makes this piece the last: all later ones are dropped.
  void IsLast();

 private:
  friend class InOrder;
  Turn(InOrder* order, Piece* piece) : order_(order), piece_(piece) {}

  InOrder* order_;
  Piece* piece_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_INORDER_H
