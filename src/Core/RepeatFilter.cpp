#include "Core/RepeatFilter.h"

#include <bit>

namespace Core {

namespace {

// More sites than the library has: keeps a caller with made-up ones from growing the table.
constexpr size_t kMaxSites = 4096;

}  // namespace

RepeatFilterSink::RepeatFilterSink(Log::Sink* target) : target_(target) {}

RepeatFilterSink::~RepeatFilterSink() { FlushLocked(); }

void RepeatFilterSink::Write(const Log::Record& record) {
  const std::lock_guard lock(mutex_);
  if (counts_.size() >= kMaxSites) {
    FlushLocked();
  }
  const auto [entry, isNew] = counts_.try_emplace(Site{record.file, record.line});
  auto& [site, count] = *entry;
  count.level = record.level;
  count.zone = record.zone;
  ++count.seen;
  if (count.seen > kPassedAtFirst && !std::has_single_bit(count.seen)) {
    ++count.dropped;
    return;
  }
  ReportDropped(site, &count);
  target_->Write(record);
}

void RepeatFilterSink::Flush() {
  const std::lock_guard lock(mutex_);
  FlushLocked();
}

void RepeatFilterSink::FlushLocked() {
  for (auto& [site, count] : counts_) {
    ReportDropped(site, &count);
  }
  counts_.clear();
}

void RepeatFilterSink::ReportDropped(const Site& site, Count* count) {
  if (count->dropped == 0) {
    return;
  }
  const std::string text =
      "repeated " + std::to_string(count->dropped) + (count->dropped == 1 ? " time" : " times");
  count->dropped = 0;
  target_->Write({count->level, count->zone, site.line, site.file.c_str(), text.c_str()});
}

}  // namespace Core
