#include "inspect/parallel/WalkCapture.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "Core/Exceptions.h"
#include "Data/DCAPFileProcessor.h"

#include "inspect/parallel/OrderedLog.h"
#include "inspect/parallel/RangeWorkers.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/WalkRange.h"

namespace Inspect {

namespace {

// Size of the ranges that a single thread walks, large enough to amortise the cost of a range.
constexpr uint64_t kRangeSize = uint64_t{16} << 20;
// Bytes of payloads that several threads together may hold at once.
constexpr uint64_t kSharedPayloads = uint64_t{2} << 20;

// True when a payload in the range has more than `bytes` bytes, decompressed, or there is damage.
bool HasLargePayload(const std::shared_ptr<Core::DataReader>& reader, const BlockRange& range,
                     uint64_t bytes) {
  try {
    BlockWalk walk(reader, range);
    while (walk.NextBlock()) {
      Data::StoredSubBlock subBlock{};
      while (walk.NextSubBlock(&subBlock)) {
        if (walk.InflatedSize(subBlock) > bytes) return true;
      }
    }
  } catch (const Core::BasicException&) {
    return true;
  }
  return false;
}

// Hands the selected events of ranges to a handler.
class Walker : public RangeWorker {
 public:
  Walker(const Selection& selection, uint64_t largePayload, bool compressed,
         std::unique_ptr<RangeHandler> handler, std::shared_ptr<Core::DataReader> reader)
      : largePayload_(largePayload),
        compressed_(compressed),
        handler_(std::move(handler)),
        reader_(std::move(reader)),
        consumer_(handler_->Events(), &selection) {}

  bool WorkOn(const BlockRange& range, InOrder::Turn* turn) override {
    handler_->Begin(turn);
    OrderedLog::Scope log(turn);
    bool isReusable = false;
    std::optional<Damage> damage;
    try {
      isReusable = Walk(range, turn, &log);
    } catch (const std::exception&) {
      damage = CurrentDamage(PlaceOf(processor_, consumer_));
    }
    handler_->Finish();
    if (damage) throw DamageError(*damage);
    return isReusable;
  }

 private:
  bool Walk(const BlockRange& range, InOrder::Turn* turn, OrderedLog::Scope* log) {
    Begin(range, log);
    bool isReusable = true;
    // One thread at a time holds large payloads, or memory would grow with the number of threads.
    if ((compressed_ || range.largestBlock > largePayload_) &&
        HasLargePayload(reader_, range, largePayload_)) {
      turn->Await();
      isReusable = false;
    }
    ExpectToRead(range, reader_.get());
    if (!WalkRange(&processor_, &consumer_, range, nullptr)) {
      turn->IsLast();
      isReusable = false;
    }
    return isReusable;
  }

  void Begin(const BlockRange& range, OrderedLog::Scope* log) {
    consumer_.ContinueAfter(range.framesBefore, range.numberBefore);
    // The seek makes the reader start with short fetches again, so that it does not read far into
    // the next range.
    reader_->Seek(SEEK_SET, 0);
    log->muted = true;  // its log lines about the start of the file have been written
    processor_.Initialize(&consumer_, reader_, 0);
    log->muted = false;
  }

  uint64_t largePayload_;
  bool compressed_;
  std::unique_ptr<RangeHandler> handler_;
  std::shared_ptr<Core::DataReader> reader_;
  EventConsumer consumer_;
  Data::DCAPFileProcessor processor_;
};

void WalkInParallel(const Capture& capture, RangeWorkers* workers, const Selection& selection,
                    const ParallelWalk& walk, ProgressSink* progress) {
  // Compressed payloads may be larger than their blocks.
  const bool compressed =
      (capture.Recovery().header.optionMask & Data::kOptionCompressionMask) != 0;
  const uint64_t largePayload = kSharedPayloads / workers->Threads();
  walk.start();
  workers->Run(selection.frames, progress, [&](auto reader) {
    return std::make_unique<Walker>(selection, largePayload, compressed, walk.makeHandler(),
                                    std::move(reader));
  });
}

}  // namespace

std::optional<Damage> WalkCapture(const Capture& capture, EventHandler* handler,
                                  const Selection& selection, ProgressSink* progress,
                                  const ParallelWalk* parallel) {
  EventConsumer consumer(handler, &selection);
  Data::DCAPFileProcessor processor;
  try {
    processor.Initialize(&consumer, capture.Reader(), capture.Reader()->Size());
    RangeWorkers workers(capture, parallel != nullptr ? parallel->jobs : 1);
    if (workers.Threads() > 1) {
      WalkInParallel(capture, &workers, selection, *parallel, progress);
    } else if (selection.frames.IsAll() || capture.Headers() == nullptr) {
      WalkRange(&processor, &consumer, BlockRange::All(), progress);
    } else {
      BlockRanges ranges(capture.Headers(), selection.frames, kRangeSize);
      BlockRange range;
      while (ranges.Next(&range) && WalkRange(&processor, &consumer, range, progress)) {
      }
    }
    return std::nullopt;
  } catch (const std::exception&) {
    return CurrentDamage(PlaceOf(processor, consumer));
  }
}

}  // namespace Inspect
