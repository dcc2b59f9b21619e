// Walking the events of one range of a capture.
#ifndef DCAP_INSPECT_WALKRANGE_H
#define DCAP_INSPECT_WALKRANGE_H

#include "Data/DCAPFileProcessor.h"

#include "inspect/events/Events.h"
#include "inspect/walk/BlockRanges.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// Walks the blocks of one range. `processor` has been initialised with `consumer`. Returns false
/// when nothing that is selected follows the range. `progress` may be null.
bool WalkRange(Data::DCAPFileProcessor* processor, EventConsumer* consumer, const BlockRange& range,
               ProgressSink* progress);

/// The place that processor and consumer have come to.
Place PlaceOf(const Data::DCAPFileProcessor& processor, const EventConsumer& consumer);

}  // namespace Inspect

#endif  // DCAP_INSPECT_WALKRANGE_H
