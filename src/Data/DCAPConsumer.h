// The sink that a file processor feeds.
#ifndef DCAPKIT_DATA_DCAPCONSUMER_H
#define DCAPKIT_DATA_DCAPCONSUMER_H

#include "Core/Export.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Receives the blocks and sub-blocks of a capture in file order from a `DCAPFileProcessor`.
///
/// Derive from it to see undecoded payloads; the library's own consumer, `DCAPDecodeConsumer`,
/// turns calls into typed operations on adapters. The order of the operations is part of the
/// interface.
///
/// References and `data` are borrowed for the duration of one operation: the processor reuses its
/// buffer for the next sub-block. The payloads of calls start at any address; copy values out of
/// them. An exception that an operation throws ends processing.
class DCAPKIT_API DCAPConsumer {
 public:
  virtual ~DCAPConsumer() = default;

  /// Comes once, from `DCAPFileProcessor::Initialize`, with the header as read.
  virtual void ProcessFileStart(const FileHeader& header) = 0;
  /// Comes when a block turns out to be the last. Does not come when the stream ends where another
  /// block could begin.
  virtual void ProcessFileEnd() = 0;
  /// Comes before every block, skipped ones included.
  virtual void ProcessBlockStart(const BlockHeader& header) = 0;
  /// Comes after a processed block. `trailer` is the 64-bit value read, 0 when the file has no
  /// trailers.
  virtual void ProcessBlockEnd(unsigned long trailer) = 0;
  /// Brings the sequence number of a processed block, as stored in the file.
  virtual void ProcessFrameNumber(unsigned int frameNumber) = 0;
  /// Brings a recorded method call. `data` is the payload of `size` bytes, already decompressed.
  virtual void ProcessMethodCall(const SubBlockHeader& header, const MethodCallDesc& desc,
                                 const unsigned char* data, unsigned int size) = 0;
  /// Brings a recorded function call. `data` is the payload of `size` bytes, already decompressed.
  virtual void ProcessFunctionCall(const SubBlockHeader& header, const FunctionCallDesc& desc,
                                   const unsigned char* data, unsigned int size) = 0;
  /// Brings a metadata record. `data` is the payload of `size` bytes, aligned for 32-bit values.
  virtual void ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                               const unsigned char* data, unsigned int size) = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPCONSUMER_H
