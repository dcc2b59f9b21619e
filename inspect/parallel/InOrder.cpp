#include "inspect/parallel/InOrder.h"

#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Inspect {

namespace {

// Bytes that the first piece may hold before it waits, and likewise all others together.
constexpr size_t kMaxBytes = size_t{1} << 20;
// Pieces that may be begun at a time. Most hold few bytes or none.
constexpr size_t kMaxPieces = 64;

}  // namespace

void InOrder::Run(unsigned threads, Source source) {
  InOrder order(std::move(source));
  {
    std::vector<std::jthread> workers;
    try {
      while (workers.size() + 1 < threads) {
        workers.emplace_back([&order] { order.WorkOnPieces(); });
      }
    } catch (const std::system_error&) {
      // Fewer threads are enough.
    }
    order.WorkOnPieces();
  }
  if (order.failure_ != nullptr) std::rethrow_exception(order.failure_);
}

void InOrder::WorkOnPieces() {
  Work work;
  while (const std::shared_ptr<Piece> piece = NextPiece(&work)) {
    Turn turn(this, piece.get());
    std::exception_ptr failure;
    try {
      work(&turn);
    } catch (const Stopped&) {
      return;
    } catch (...) {
      failure = std::current_exception();
    }
    work = nullptr;
    std::unique_lock lock(mutex_);
    piece->failure = failure;
    piece->ended = true;
    TakeActions(&lock);
  }
}

// Gives the next piece and its work; null when there is none.
std::shared_ptr<InOrder::Piece> InOrder::NextPiece(Work* work) {
  const std::lock_guard sourceLock(sourceMutex_);
  {
    std::unique_lock lock(mutex_);
    workersMayGoOn_.wait(lock, [this] { return stopped_ || pieces_.size() < kMaxPieces; });
    if (stopped_ || sourceIsEmpty_) return nullptr;
  }
  auto piece = std::make_shared<Piece>();
  try {
    *work = source_();
  } catch (...) {
    *work = [failure = std::current_exception()](Turn*) { std::rethrow_exception(failure); };
  }
  const std::lock_guard lock(mutex_);
  if (*work == nullptr) {
    sourceIsEmpty_ = true;
    return nullptr;
  }
  pieces_.push_back(piece);
  return piece;
}

// Runs all due actions. If another thread is doing so, leaves them to it.
void InOrder::TakeActions(std::unique_lock<std::mutex>* lock) {
  if (actionsAreTaken_) return;
  actionsAreTaken_ = true;
  while (!stopped_ && !pieces_.empty() && pieces_.front()->IsWorthTaking()) {
    Piece& piece = *pieces_.front();
    if (!piece.actions.empty()) {
      std::deque<Action> actions = std::exchange(piece.actions, {});
      const size_t bytes = piece.bytes;
      lock->unlock();
      std::exception_ptr failure;
      try {
        for (; !actions.empty(); actions.pop_front()) actions.front()();
      } catch (...) {
        failure = std::current_exception();
      }
      lock->lock();
      piece.bytes -= bytes;
      bytes_ -= bytes;
      if (failure != nullptr) Stop(failure);
    } else if (piece.failure != nullptr || piece.isLast) {
      Stop(piece.failure);
    } else {
      pieces_.pop_front();
    }
    workersMayGoOn_.notify_all();
  }
  actionsAreTaken_ = false;
}

// Below this size, releasing the lock costs more than it gains.
bool InOrder::Piece::IsWorthTaking() const { return ended || bytes >= kMaxBytes / 2; }

void InOrder::Stop(std::exception_ptr failure) {
  failure_ = std::move(failure);
  stopped_ = true;
}

// Waits until the condition holds. False when the run was cancelled.
template <typename Condition>
bool InOrder::Wait(std::unique_lock<std::mutex>* lock, Condition condition) {
  workersMayGoOn_.wait(*lock, [&] { return stopped_ || condition(); });
  return !stopped_;
}

void InOrder::Turn::Do(size_t bytes, Action action) {
  if (!TryDo(bytes, std::move(action))) throw Stopped();
}

bool InOrder::Turn::TryDo(size_t bytes, Action action) {
  std::unique_lock lock(order_->mutex_);
  // The first piece never waits for later ones: that would deadlock.
  const bool goesOn = order_->Wait(&lock, [this] {
    const size_t others = order_->bytes_ - order_->pieces_.front()->bytes;
    return order_->pieces_.front().get() == piece_ ? piece_->bytes < kMaxBytes : others < kMaxBytes;
  });
  if (!goesOn) return false;
  piece_->actions.push_back(std::move(action));
  piece_->bytes += bytes;
  order_->bytes_ += bytes;
  order_->TakeActions(&lock);
  return true;
}

void InOrder::Turn::Await() {
  std::unique_lock lock(order_->mutex_);
  if (!order_->Wait(&lock, [this] { return order_->pieces_.front().get() == piece_; })) {
    throw Stopped();
  }
}

void InOrder::Turn::IsLast() {
  const std::lock_guard lock(order_->mutex_);
  piece_->isLast = true;
}

}  // namespace Inspect
