// Reads a capture and feeds its blocks and sub-blocks to a consumer.
#ifndef DCAPKIT_DATA_DCAPFILEPROCESSOR_H
#define DCAPKIT_DATA_DCAPFILEPROCESSOR_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Core/DataReader.h"
#include "Core/Export.h"
#include "Data/DCAPConsumer.h"
#include "Data/DCAPFormat.h"

namespace Core {
class ViewReader;
}
namespace Util {
class Compressor;
}

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
/// A processor serves one capture and one thread at a time. It shares the reader, borrows the
/// consumer, and reads ahead inside a block, never beyond it: between two calls of
/// `ProcessNextBlock` the reader stands at a block boundary. Inside a block nobody else may use the
/// reader; what the consumer receives may lie in the reader's own memory (`Core/ViewReader.h`).
///
/// Errors of the format or of the stream are thrown as `Core::BasicException` with one of the texts
/// below and end processing; what a consumer throws passes through and ends it too. Whatever bytes
/// the stream holds, sizes found in it neither wrap nor get memory that the stream does not back.
/// Survived, with a log line: blocks and sub-blocks of unknown type (skipped), a file size in the
/// header that is not the actual one, compressed calls that state a size of 0 (dropped), and a last
/// frame cut short (ends the stream).
class DCAPKIT_API DCAPFileProcessor {
 public:
  DCAPFileProcessor();
  ~DCAPFileProcessor();
  DCAPFileProcessor(const DCAPFileProcessor&) = delete;
  DCAPFileProcessor& operator=(const DCAPFileProcessor&) = delete;

  /// Reads the file header from `reader` and hands it to the `consumer`, which must outlive its
  /// use. `fileSize` is the size of the whole stream in bytes, 0 when unknown; it is only compared
  /// with the size in the header, and a difference logged.
  ///
  /// Returns false when it initialised now and true when the processor had been initialised before,
  /// in which case nothing else happens: false is NOT a failure. Failures are thrown:
  /// `InvalidReaderMsg` (also for null), `FileHeaderFailMsg`, `FourCCFailMsg`,
  /// `CompressionTypeFailMsg`.
  bool Initialize(DCAPConsumer* consumer, const std::shared_ptr<Core::DataReader>& reader,
                  uint64_t fileSize);

  /// Processes one block of any type. True when there is more to come; false when the stream has
  /// ended: the consumer has then had `ProcessFileEnd`, unless no further block header could be
  /// read. Must not be called again after it returned false or threw.
  bool ProcessNextBlock();

  /// Processes blocks up to and including the next frame. Result and rules as `ProcessNextBlock`.
  bool ProcessNextFrame();

  /// Goes on with the block that begins at `position`, as if all before it had been processed and
  /// the last frame there had the sequence number `frameNumber` (0 when there is none: a type-2
  /// block counts as standing before the first frame then). To be called after `Initialize`,
  /// between two blocks, at any time, going back included; indices of threads are those of what has
  /// been processed. Throws `BlockHeaderFailMsg` when the stream cannot be there.
  void ContinueAt(uint64_t position, uint32_t frameNumber);

  [[nodiscard]] unsigned char GetFileVersionMajor() const;
  [[nodiscard]] unsigned char GetFileVersionMinor() const;

  /// True when all of the capture has been processed: measured by the file size in the header, or,
  /// when that is 0 (unfinished capture), by the reader. True before `Initialize`.
  [[nodiscard]] bool AtEof() const;

  /// Bytes of the capture processed so far: after a failure, where in the stream it was noticed.
  /// The reader may stand further on, since blocks are read ahead.
  [[nodiscard]] uint64_t Position() const { return position_ - Ahead(); }

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

 private:
  void ReadFileHeader(unsigned long actualSize);
  void ProcessOptionMask(unsigned int mask);
  unsigned long Read(void* buffer, unsigned long size);
  unsigned long CheckedRead(void* buffer, unsigned long size, const std::string& message);
  bool SkipBlock(unsigned int size);
  static void EnsureSpace(std::unique_ptr<unsigned char[]>* buffer, unsigned long* size,
                          unsigned long needed, unsigned long kept = 0);
  bool ProcessFrameBlock(const BlockHeader& header);
  unsigned int ProcessApiCall(const SubBlockHeader& subHeader);
  template <typename Desc, bool kIsPacked>
  unsigned int ProcessCall(const SubBlockHeader& subHeader);
  unsigned int ProcessMetadata(const SubBlockHeader& subHeader);
  bool IsThreadFiltered(const SubBlockHeader& subHeader);
  void NoteThread(uint32_t threadId);
  [[nodiscard]] bool FilterDropsThread() const;

  // The read-ahead window; see the source.
  [[nodiscard]] unsigned long Ahead() const {
    return static_cast<unsigned long>(windowEnd_ - windowCursor_);
  }
  const unsigned char* Take(unsigned long size, const std::string& message);
  const unsigned char* TakeBody(const SubBlockHeader& subHeader, unsigned int descSize);
  void Fill(unsigned long size, const std::string& message);
  bool FillByView(unsigned long size);
  const unsigned char* TakeBodyAcrossWindow(unsigned int size, unsigned int descSize);
  const unsigned char* Inflate(const unsigned char* payload, unsigned int size,
                               uint32_t inflatedSize);

  DCAPConsumer* consumer_ = nullptr;
  std::shared_ptr<Core::DataReader> reader_;
  Core::ViewReader* viewer_ = nullptr;  // the reader, when it is one of the library's own
  uint32_t versionWord_ = 0;            // header bytes 4-7
  uint64_t headerFileSize_ = 0;         // 0 in an unfinished capture
  uint64_t blockStart_ = 0;             // reader position of the current block header
  uint32_t headerFrameCount_ = 0;       // 0 in an unfinished capture
  uint32_t currentFrame_ = 0;           // sequence number of the last type-1 block
  uint64_t position_ = 0;               // bytes got from the reader, the window's included
  uint32_t lastBlockType_ = 0;
  uint8_t optionHighByte_ = 0;
  bool optionBit4_ = false;
  bool optionBit5_ = false;
  bool threadIdsPresent_ = false;
  bool optionBit7_ = false;
  bool blockTrailersPresent_ = true;
  bool type2BeforeFirstFrame_ = false;
  bool compressed_ = false;
  bool initialized_ = false;

 public:
  // Settings of the caller, to be changed at any time between two calls.

  /// Processes the next type-2 block instead of skipping it; cleared by that block. `Initialize`
  /// clears it, so set it afterwards.
  bool processNextType2Block = false;
  /// Sequence number of the frame to replay; 0 for none. The capture ends with that frame.
  uint32_t loopFrameNumber = 0;
  /// How many times the frame is still to be delivered in all; 0 is for ever. Counts down.
  uint32_t loopRepeatCount = 0;

 private:
  uint32_t lastThreadId_ = 0;
  uint32_t lastThreadIndex_ = 0;  // 0 until a thread id was met

 public:
  /// Indices of the threads whose calls and metadata reach the consumer; empty lets all pass.
  /// Threads are counted 1, 2, 3, ... in the order of their first sub-block in the stream, frame
  /// loops not starting the count again. In a capture without thread ids every index is 0.
  std::vector<uint32_t> threadFilter;
  /// The filter applies once the current sequence number is this or greater.
  uint32_t threadFilterStartFrame = 0;

 private:
  uint32_t threadCount_ = 0;
  std::unordered_map<uint32_t, uint32_t> threadIndexById_;
  std::unique_ptr<unsigned char[]> dataBuffer_;  // what the window cannot hold or align
  unsigned long dataBufferSize_ = 0;
  std::unique_ptr<unsigned char[]> inflateBuffer_;
  unsigned long inflateBufferSize_ = 0;
  uint32_t lastCallId_ = 0;
  std::unique_ptr<Util::Compressor> compressor_;
  uint32_t compressionType_ = 0;

  std::unique_ptr<unsigned char[]> window_;      // allocated with the first block
  const unsigned char* windowCursor_ = nullptr;  // next byte to process
  const unsigned char* windowEnd_ = nullptr;
  uint64_t unfetched_ = 0;  // bytes of the current block that are still with the reader
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPFILEPROCESSOR_H
