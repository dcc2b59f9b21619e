// Walks one range of a capture.
#ifndef DCAP_INSPECT_WALKRANGE_H
#define DCAP_INSPECT_WALKRANGE_H

#include "Data/DCAPFileProcessor.h"

#include "inspect/events/Events.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// Walks the blocks of one range. Requires that `processor` has been initialised with `consumer`.
/// Returns false when nothing that follows the range is selected. `progress` may be null. Throws as
/// `Data::DCAPFileProcessor::ProcessNextBlock`.
bool WalkRange(Data::DCAPFileProcessor* processor, EventConsumer* consumer, const BlockRange& range,
               ProgressSink* progress);

/// The place to which processor and consumer have read.
Place PlaceOf(const Data::DCAPFileProcessor& processor, const EventConsumer& consumer);

}  // namespace Inspect

#endif  // DCAP_INSPECT_WALKRANGE_H
