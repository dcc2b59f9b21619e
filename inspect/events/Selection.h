// The selection language, which names part of a capture. docs/selection.md defines it.
#ifndef DCAP_INSPECT_SELECTION_H
#define DCAP_INSPECT_SELECTION_H

#include <bitset>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Data/ApiCallType.h"
#include "Data/Calls/CallTable.h"

namespace Inspect {

/// A set of 32-bit numbers, kept as sorted, disjoint intervals that do not touch.
class Ranges {
 public:
  struct Range {
    uint32_t first;
    uint32_t last;  ///< inclusive
  };

  /// All numbers.
  Ranges() = default;
  /// Reads "10-20,35,100-". Throws std::invalid_argument, whose text quotes the part at fault.
  explicit Ranges(std::string_view text);

  [[nodiscard]] bool IsAll() const { return ranges_.size() == 1 && Last() - First() == UINT32_MAX; }
  [[nodiscard]] bool Contains(uint32_t number) const;
  /// The first interval that ends at `number` or later; null when there is none. Borrowed.
  [[nodiscard]] const Range* Next(uint32_t number) const;
  [[nodiscard]] uint32_t First() const { return ranges_.front().first; }
  [[nodiscard]] uint32_t Last() const { return ranges_.back().last; }
  /// Never empty.
  [[nodiscard]] std::span<const Range> All() const { return ranges_; }

 private:
  std::vector<Range> ranges_ = {{0, UINT32_MAX}};
};

/// Selects part of a capture: everything, until it is narrowed. The questions are cheap enough to
/// be asked before each call is decoded.
class Selection {
 public:
  Selection() { calls_.set(); }
  static const Selection& Everything();

  /// Frames by their ordinal in the file, counted from 1; 0 stands for the set-up blocks before the
  /// first frame.
  Ranges frames;
  /// Recorded thread ids. In a capture without thread ids, everything counts as thread 0.
  Ranges threads;

  /// Narrows to the calls and `meta.` records that a list of globs names: "glDraw*,!glGet*". Throws
  /// std::invalid_argument, whose text quotes the part at fault.
  void SetCalls(std::string_view globs);
  /// Narrows to the calls of a list of classes: "draw,upload". Throws as `SetCalls`.
  void SetClasses(std::string_view classes);

  [[nodiscard]] bool SelectsFrame(uint32_t ordinal) const { return frames.Contains(ordinal); }
  [[nodiscard]] bool SelectsThread(uint32_t threadId) const { return threads.Contains(threadId); }
  /// An identifier that no call has is selected unless calls or classes are named.
  [[nodiscard]] bool SelectsCall(Data::ApiCallType id) const {
    return calls_[static_cast<uint16_t>(id)];
  }
  /// Types and subtypes as in a `Data::MetadataDesc`.
  [[nodiscard]] bool SelectsMetadata(uint32_t type, uint32_t subtype) const;
  /// True when every call and record of the selected frames and threads is selected.
  [[nodiscard]] bool SelectsAllCalls() const;

  /// No frame after this ordinal is selected: a walk may end there.
  [[nodiscard]] uint32_t LastFrame() const { return frames.Last(); }

 private:
  [[nodiscard]] bool NameIsSelected(const char* name) const;
  void FindSelectedCalls();

  // As given; empty for no restriction.
  std::vector<std::string> included_;
  std::vector<std::string> excluded_;
  std::vector<Data::CallClass> classes_;
  std::bitset<size_t{1} << 16> calls_;  // by identifier
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_SELECTION_H
