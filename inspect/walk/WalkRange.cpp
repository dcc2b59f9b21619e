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
    // A block may end behind the range when its size was changed after the range had been cut.
  } while (processor->Position() < range.end);
  return true;
}

}  // namespace Inspect
