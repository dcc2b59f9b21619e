// The library's log lines, in the order of the capture.
#ifndef DCAP_INSPECT_ORDEREDLOG_H
#define DCAP_INSPECT_ORDEREDLOG_H

#include "Core/Log.h"

#include "inspect/parallel/InOrder.h"

namespace Inspect {

/// A log sink in front of another, for walks on several threads: lines that are logged within a
/// `Scope` take their turn with the other results of that piece of work. All others pass at once.
/// Writes to the target are made by one thread at a time while nothing else logs.
class OrderedLog final : public Core::Log::Sink {
 public:
  /// Marks what its thread logs while it lives as results of `turn`, which it borrows.
  class Scope {
   public:
    explicit Scope(InOrder::Turn* turn);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    bool muted = false;  ///< lines are dropped

   private:
    friend class OrderedLog;
    InOrder::Turn* turn_;
  };

  /// Borrows `target`.
  explicit OrderedLog(Core::Log::Sink* target) : target_(target) {}

  /// Drops the line when the walk that it belongs to was cancelled.
  void Write(const Core::Log::Record& record) override;

 private:
  Core::Log::Sink* target_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_ORDEREDLOG_H
