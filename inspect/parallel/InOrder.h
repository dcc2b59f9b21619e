// Work done on several threads at once, its results taken in order.
#ifndef DCAP_INSPECT_INORDER_H
#define DCAP_INSPECT_INORDER_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>

namespace Inspect {

/// Runs pieces of work on several threads. What a piece wants done with its results is done as if
/// the pieces had been worked on one after the other: in their order, by one thread at a time. That
/// is whichever comes by, as waking one for it would take longer than most of it does. Little waits
/// to be done at any time: whoever is too far ahead pauses.
class InOrder {
 public:
  /// What a piece of work knows of the others.
  class Turn;

  using Action = std::function<void()>;
  using Work = std::function<void(Turn*)>;
  /// Gives the pieces in their order, and then an empty one. Called by one thread at a time, though
  /// not always the same.
  using Source = std::function<Work()>;

  /// Returns when all is done, or throws what the first piece threw that threw anything, after the
  /// actions of all before it and its own; or what an action threw. Nothing of later pieces is done
  /// then. No piece is still at work when it returns. The calling thread is one of the `threads`.
  static void Run(unsigned threads, Source source);

 private:
  struct Piece {
    [[nodiscard]] bool IsWorthTaking() const;

    std::deque<Action> actions;
    size_t bytes = 0;  // that the actions hold on to
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

  std::mutex mutex_;  // for all that follows
  std::condition_variable workersMayGoOn_;
  std::deque<std::shared_ptr<Piece>> pieces_;  // at work or waiting to be taken, in order
  size_t bytes_ = 0;                           // of all of them
  bool sourceIsEmpty_ = false;
  bool actionsAreTaken_ = false;  // by some thread at the moment
  bool stopped_ = false;
  std::exception_ptr failure_;  // that stopped it
};

class InOrder::Turn {
 public:
  /// Has `action` done after everything before it, perhaps at once. `bytes` is about what it holds
  /// on to. May wait. Throws an internal exception when the run was cancelled; let it propagate.
  void Do(size_t bytes, Action action);

  /// The same, but returns false, having dropped `action`, when the run was cancelled.
  bool TryDo(size_t bytes, Action action);

  /// Waits until all pieces before this one are done. Throws as `Do`.
  void Await();

  /// Nothing after this piece is wanted.
  void IsLast();

 private:
  friend class InOrder;
  Turn(InOrder* order, Piece* piece) : order_(order), piece_(piece) {}

  InOrder* order_;
  Piece* piece_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_INORDER_H
