// The classes of calls, as a list.
#ifndef DCAP_INSPECT_CALLCLASSES_H
#define DCAP_INSPECT_CALLCLASSES_H

#include <array>
#include <cstddef>

#include "Data/Calls/CallTable.h"

namespace Inspect {

/// All classes, in the order of their enumerators.
inline constexpr std::array kCallClasses = {
    Data::CallClass::kDraw,   Data::CallClass::kCompute, Data::CallClass::kTransfer,
    Data::CallClass::kUpload, Data::CallClass::kCreate,  Data::CallClass::kDelete,
    Data::CallClass::kState,  Data::CallClass::kQuery,   Data::CallClass::kSync,
    Data::CallClass::kMarker, Data::CallClass::kPresent};
static_assert(static_cast<size_t>(kCallClasses.back()) + 1 == kCallClasses.size());

}  // namespace Inspect

#endif  // DCAP_INSPECT_CALLCLASSES_H
