// The library's log lines, in the order of the capture.
#ifndef DCAP_INSPECT_ORDEREDLOG_H
#define DCAP_INSPECT_ORDEREDLOG_H

#include "Core/Log.h"

#include "inspect/parallel/InOrder.h"

namespace Inspect {

/// A log sink in front of another, for work on several threads. Lines that are logged within a
/// `Scope` are delivered in order, as results of that piece of work. All other lines pass at once.
class OrderedLog final : public Core::Log::Sink {
 public:
  /// While it lives, its thread logs results of `turn`, which it borrows.
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

  /// Drops the line when the run that it belongs to was cancelled. Throws nothing on that account.
  void Write(const Core::Log::Record& record) override;

 private:
  Core::Log::Sink* target_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_ORDEREDLOG_H
