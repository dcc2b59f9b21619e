// Finds readers that show their bytes where they lie. Private to the library.
#ifndef DCAPKIT_DATA_DETAIL_VIEWING_H
#define DCAPKIT_DATA_DETAIL_VIEWING_H

#include "Core/DataReader.h"
#include "Core/ViewReader.h"

namespace Data {

/// Returns the reader as a `ViewReader` when it is of exactly a class of the library that is one;
/// otherwise null. A class that a user derived may read other bytes than its base would show.
Core::ViewReader* AsViewer(Core::DataReader* reader);

}  // namespace Data

#endif  // DCAPKIT_DATA_DETAIL_VIEWING_H
