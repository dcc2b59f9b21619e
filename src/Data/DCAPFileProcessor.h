// Reads a capture and feeds its blocks and sub-blocks to a consumer.
#ifndef DCAPKIT_DATA_DCAPFILEPROCESSOR_H
#define DCAPKIT_DATA_DCAPFILEPROCESSOR_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Core/DataReader.h"
#include "Core/Export.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFormat.h"

namespace Data {

/// Walks one capture from its header to its end, block by block.
///
///     Data::DCAPDecodeConsumer consumer;  // or any other Data::DCAPConsumer
///     Data::DCAPFileProcessor processor;
///     processor.threadFilter = {2};  // optional: only the second thread of the capture
///     processor.Initialize(&consumer, std::make_shared<Core::StdioReader>(path), 0);
///     while (processor.ProcessNextFrame()) {
///     }
///
/// A processor serves one capture, on one thread at a time. It shares the reader and borrows the
/// consumer. It reads ahead inside a block, never beyond it: between two calls of
/// `ProcessNextBlock` the reader stands at a block boundary. Inside a block nobody else may use the
/// reader: the bytes that the consumer receives may lie in the reader's own memory
/// (`Core/ViewReader.h`).
///
/// The processor throws errors of the format and of the stream as `Core::BasicException` with one
/// of the texts below; they end processing. An exception of the consumer passes through and ends it
/// too. Whatever bytes the stream holds, sizes found in it neither wrap nor get memory that the
/// stream does not back.
///
/// It survives, with a log line: blocks and sub-blocks of unknown type (skipped), a file size in
/// the header that is not the actual one, compressed calls that state a size of 0 (dropped), and a
/// last frame cut short (ends the stream).
class DCAPKIT_API DCAPFileProcessor {
 public:
  DCAPFileProcessor();
  ~DCAPFileProcessor();
  DCAPFileProcessor(const DCAPFileProcessor&) = delete;
  DCAPFileProcessor& operator=(const DCAPFileProcessor&) = delete;

  /// Reads the file header from `reader` and hands it to the `consumer`, which must outlive its
  /// use. `fileSize` is the size of the whole stream in bytes, 0 when unknown. The processor only
  /// compares it with the size in the header and logs a difference.
  ///
  /// Returns false when it has initialised the processor. Returns true when the processor had been
  /// initialised before, and does nothing else then: false is NOT a failure. Throws
  /// `InvalidReaderMsg` (also for null), `FileHeaderFailMsg`, `FourCCFailMsg`,
  /// `CompressionTypeFailMsg`.
  bool Initialize(DCAPConsumer* consumer, const std::shared_ptr<Core::DataReader>& reader,
                  uint64_t fileSize);

  /// Processes one block of any type. Returns true when there is more to come, and false when the
  /// stream has ended: the consumer has then had `ProcessFileEnd`, unless no further block header
  /// could be read. Must not be called again after it returned false or threw.
  bool ProcessNextBlock();

  /// Processes blocks up to and including the next frame. Result and rules are those of
  /// `ProcessNextBlock`.
  bool ProcessNextFrame();

  /// Goes on with the block that begins at `position`, as if all blocks before it had been
  /// processed and the last frame among them had the sequence number `frameNumber`. 0 says that no
  /// frame comes before: a type-2 block then counts as standing before the first.
  ///
  /// Call it after `Initialize`, between two blocks, at any time; `position` may lie before the
  /// current one. Threads keep the indices that they have, and a new one gets the next. Throws
  /// `BlockHeaderFailMsg` when the stream cannot be there.
  void ContinueAt(uint64_t position, uint32_t frameNumber);

  /// Return the version in the file header, 0 before `Initialize`.
  [[nodiscard]] unsigned char GetFileVersionMajor() const;
  [[nodiscard]] unsigned char GetFileVersionMinor() const;

  /// True when all of the capture has been processed: by the file size in the header or, when that
  /// is 0 (unfinished capture), by the reader. True before `Initialize`.
  [[nodiscard]] bool AtEof() const;

  /// Returns the bytes of the capture processed so far; after a failure, the place in the stream
  /// where the processor noticed it. The reader may stand further on, since blocks are read ahead.
  [[nodiscard]] uint64_t Position() const;

  // The texts of the exceptions, `what()`.
  static const std::string InvalidReaderMsg;
  static const std::string FileHeaderFailMsg;
  static const std::string FourCCFailMsg;
  static const std::string CompressionTypeFailMsg;
  static const std::string DecompressFailMsg;
  static const std::string BlockHeaderFailMsg;
  static const std::string BlockTrailerMissingMsg;
  static const std::string BlockTrailerFailMsg;
  static const std::string FrameNumberFailMsg;
  static const std::string SubBlockHeaderFailMsg;
  static const std::string SubBlockDescFailMsg;
  static const std::string SubBlockDataFailMsg;

  // Settings of the caller, who may change them at any time between two calls.

  /// Processes the next type-2 block instead of skipping it; that block clears it. `Initialize`
  /// clears it too, so set it afterwards.
  bool processNextType2Block = false;
  /// Sequence number of the frame to replay; 0 for none. The capture ends with that frame.
  uint32_t loopFrameNumber = 0;
  /// How many times the frame is still to be delivered in all; 0 stands for endlessly. Counts down.
  uint32_t loopRepeatCount = 0;
  /// Indices of the threads whose calls and metadata reach the consumer; empty lets all pass. The
  /// processor counts threads 1, 2, 3, ... in the order of their first sub-block in the stream, and
  /// goes on counting when a frame is replayed. In a capture without thread ids every index is 0.
  std::vector<uint32_t> threadFilter;
  /// The filter applies once the current sequence number is this or greater.
  uint32_t threadFilterStartFrame = 0;

 private:
  struct DCAPKIT_HIDDEN Walk;

  DCAPKIT_HIDDEN bool ProcessBlock();

  std::unique_ptr<Walk> walk_;  // null before `Initialize`
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPFILEPROCESSOR_H
