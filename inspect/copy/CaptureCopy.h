// Copies of captures: whole or in part, one after another, stored in another way.
#ifndef DCAP_CAPTURECOPY_H
#define DCAP_CAPTURECOPY_H

#include <optional>
#include <string>
#include <vector>

#include "Data/DCAPFormat.h"

#include "inspect/events/Selection.h"

/// What a copy is to be. Without further settings it has the bytes of a well-formed original.
struct CopySettings {
  std::string output;
  Selection selection;
  bool renumber = false;  ///< frames get the numbers 1, 2, 3, ...
  // As in the (first) original, unless they are given.
  std::optional<Data::CompressionType> compression;
  std::optional<bool> trailers;
};

/// Writes the captures at `paths`, one after another, into one, whose header is that of the first.
/// All must have the same options. The output appears complete or not at all. What goes wrong is
/// reported on stderr. Returns an `ExitStatus`.
///
/// Sub-blocks are copied as they are stored, known or not; only where the compression changes are
/// payloads decompressed and compressed. A block that is no frame goes with the frame before it;
/// those before the first frame stay in any case.
int CopyCaptures(const std::vector<std::string>& paths, const CopySettings& settings);

#endif  // DCAP_CAPTURECOPY_H
