// Counts a capture by its headers, without its payloads.
#ifndef DCAP_INSPECT_HEADERSCAN_H
#define DCAP_INSPECT_HEADERSCAN_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/ProgressSink.h"

namespace Inspect {

/// Counts from the headers of blocks.
struct BlockCounts {
  uint32_t frames = 0;
  uint32_t firstNumber = 0;  ///< sequence number of the first frame
  uint32_t lastNumber = 0;
  uint64_t setUpBlocks = 0;  ///< type-2 blocks that readers process
  uint64_t otherBlocks = 0;
};

/// Counts from the headers of the sub-blocks in frames and set-up blocks.
struct SubBlockCounts {
  std::map<uint32_t, uint64_t> threads;  ///< sub-blocks by recorded id
  uint64_t eglCalls = 0;
  uint64_t glesCalls = 0;
  uint64_t methodCalls = 0;
  uint64_t unknownCalls = 0;
  uint64_t records = 0;
  uint64_t otherSubBlocks = 0;
  uint64_t storedBytes = 0;   ///< of payloads, as they lie in the file
  uint64_t bytes = 0;         ///< of payloads, decompressed
  uint32_t largestBytes = 0;  ///< of the largest payload, decompressed
  uint32_t largestFrame = 0;  ///< ordinal of its frame
  std::string largestName;    ///< name of its call, or "a metadata record"
};

/// The counts of a capture.
struct HeaderCounts {
  BlockCounts blocks;
  SubBlockCounts subBlocks;
};

/// The depth to which headers are read.
enum class ScanDepth : uint8_t { kBlocks, kSubBlocks };

/// Counts blocks and sub-blocks of a capture, which must be in a file. For sub-blocks it uses
/// `ThreadsFor(jobs, size)` threads, else one. Returns the damage that ended the scan early;
/// `counts` then has everything before it. `progress` may be null. Throws `Core::BasicException`
/// when the file header cannot be read.
std::optional<Damage> ScanHeaders(const Capture& capture, ScanDepth depth, unsigned jobs,
                                  ProgressSink* progress, HeaderCounts* counts);

}  // namespace Inspect

#endif  // DCAP_INSPECT_HEADERSCAN_H
