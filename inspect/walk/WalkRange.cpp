#include "inspect/walk/WalkRange.h"

namespace Inspect {

Place PlaceOf(const Data::DCAPFileProcessor& processor, const EventConsumer& consumer) {
  return {processor.Position(), consumer.Context().frameOrdinal, consumer.FrameNumber(),
          consumer.IsInFrame()};
}

bool WalkRange(Data::DCAPFileProcessor* processor, EventConsumer* consumer, const BlockRange& range,
               ProgressSink* progress) {
  processor->ContinueAt(range.begin, range.numberBefore);
  consumer->ContinueAfter(range.framesBefore, range.numberBefore);
  do {
    if (!processor->ProcessNextBlock() || consumer->IsFinished()) return false;
    if (progress != nullptr) progress->Show(processor->Position());
    // If a block grew after the range was cut, it ends behind the range.
  } while (processor->Position() < range.end);
  return true;
}

}  // namespace Inspect
