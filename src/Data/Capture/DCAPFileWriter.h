// Writes a capture: the counterpart of the file processor.
#ifndef DCAPKIT_DATA_DCAPFILEWRITER_H
#define DCAPKIT_DATA_DCAPFILEWRITER_H

#include <cstdint>
#include <memory>
#include <string>

#include "Core/DataWriter.h"
#include "Core/Export.h"
#include "Data/ApiCallType.h"
#include "Data/DCAPFormat.h"
#include "Util/Compressor.h"

namespace Data {

/// What a capture is to be like.
struct DCAPKIT_API DCAPWriterOptions {
  uint16_t versionLow = 0;
  uint8_t versionMinor = 0;
  uint8_t versionMajor = 1;
  /// `OptionMask` bits. `kOptionThreadIds` and `kOptionNoTrailers` shape what is written; the
  /// compression bits are set from `compression`, whatever they are here; all others are kept.
  uint32_t optionMask = kOptionThreadIds;
  uint8_t reserved[8] = {};  ///< header bytes 12 to 19

  CompressionType compression = kCompressionNone;
  Util::Compressor::CompressorQuality quality = Util::Compressor::kDefault;
  /// Payloads of fewer bytes stay plain, and so do those that compressing would not make smaller.
  uint32_t compressionThreshold = 64;

  /// Hands every block to the operating system as it ends, so that it survives the death of the
  /// process. Without it blocks reach the file as the `DataWriter` pleases: for output that counts
  /// only when it is complete.
  bool flushBlocks = true;

  DCAPWriterOptions() = default;
  /// Those that make a capture like the one that begins with `header`.
  explicit DCAPWriterOptions(const FileHeader& header);
};

/// Writes a capture block by block, sub-block by sub-block, to a `DataWriter`.
///
///     auto file = std::make_shared<Core::StdioWriter>(path, false, true);  // a new file
///     Data::DCAPFileWriter writer(file, Data::DCAPWriterOptions());
///     writer.BeginFrame(1);
///     writer.WriteFunctionCall(threadId, Data::ApiCallType::glBindBuffer, payload, payloadSize);
///     writer.Close();
///
/// Payloads are made by `EGLEncoder` and `GLEncoder`. Bytes go straight to the `DataWriter`, which
/// is expected to buffer them; the capture may be of any size, a block of up to 4 GiB. One thread
/// at a time.
///
/// A block is written with size 0 and gets its size when it ends; the header keeps frame count and
/// file size 0 until `Close`. That is what an unfinished capture looks like: at every moment, the
/// bytes that have reached the file are a capture that `CaptureFileUtil::EnsureFinalization`
/// completes, and every frame that was ended is whole in it. docs/writing.md tells how it takes
/// blocks of other types.
///
/// Errors are thrown as `Core::BasicException` with one of the texts below. After `WriteFailMsg`
/// the writer is done: everything but destruction throws it again. The other errors change nothing.
class DCAPKIT_API DCAPFileWriter {
 public:
  /// Writes the file header to `writer`, which must be empty and able to `WriteAt`. Throws
  /// `InvalidWriterMsg` (also for null), `CompressionTypeFailMsg`, `WriteFailMsg`.
  DCAPFileWriter(std::shared_ptr<Core::DataWriter> writer, const DCAPWriterOptions& options);
  DCAPFileWriter(const DCAPFileWriter&) = delete;
  DCAPFileWriter& operator=(const DCAPFileWriter&) = delete;
  /// Leaves a capture that was not closed unfinished, its last block without its trailer.
  ~DCAPFileWriter();

  // Blocks. Each of these first ends the block at hand, if there is one.

  /// Begins a frame. Readers show `number` as its sequence number.
  void BeginFrame(uint32_t number);

  /// Begins a block of type 2, which readers process only on demand or, with
  /// `kOptionType2BeforeFirst`, before the first frame.
  void BeginType2Block(uint32_t number);

  /// Begins a block of any type whose body is given as it is to lie in the file, piece by piece
  /// with `WriteBytes`; it gets no frame number, no sub-blocks and no trailer.
  void BeginRawBlock(uint16_t type);

  /// Ends the block at hand; without one, does nothing.
  void EndBlock();

  // Sub-blocks of the frame or type-2 block at hand; `NoBlockMsg` without one. `threadId` is
  // dropped when the capture records no threads. A sub-block that would make the block larger than
  // 32 bits can say throws `BlockTooLargeMsg` and is not written; the block can go on without it.

  /// A function call with the given payload, compressed if the options say so.
  void WriteFunctionCall(uint32_t threadId, ApiCallType callId, const uint8_t* payload,
                         uint32_t size);

  /// A method call, likewise.
  void WriteMethodCall(uint32_t threadId, uint32_t objectValue, ApiCallType callId,
                       const uint8_t* payload, uint32_t size);

  /// A metadata record; never compressed. `Data/MetaDecoder.h` lists types and subtypes.
  void WriteMetadata(uint32_t threadId, uint16_t type, uint16_t subtype, const uint8_t* payload,
                     uint32_t size);

  /// A sub-block of any type, its description and payload given as they are to lie in the file.
  void WriteSubBlock(uint32_t threadId, uint16_t type, const uint8_t* body, uint32_t size);

  /// Bytes of a raw block; `NoBlockMsg` and `BlockTooLargeMsg` as for sub-blocks.
  void WriteBytes(const uint8_t* bytes, uint64_t size);

  /// Ends the last block and finishes the capture: its header gets the number of frames and the
  /// size. Nothing can be written afterwards (`NoBlockMsg`, `ClosedMsg`). Closing again does
  /// nothing.
  void Close();

  /// Frames begun so far.
  [[nodiscard]] uint32_t FrameCount() const noexcept { return frameCount_; }
  /// Bytes of the capture so far, the header included.
  [[nodiscard]] uint64_t Size() const noexcept { return size_; }

  // The texts of the exceptions, `what()`.
  static const std::string InvalidWriterMsg;
  static const std::string CompressionTypeFailMsg;
  static const std::string WriteFailMsg;
  static const std::string BlockTooLargeMsg;
  static const std::string NoBlockMsg;
  static const std::string ClosedMsg;

 private:
  enum class BlockKind : uint8_t { kNone, kFramed, kRaw };

  void BeginBlock(uint16_t type, BlockKind kind);
  void WriteCall(uint32_t threadId, const MethodCallDesc& desc, bool isMethod,
                 const uint8_t* payload, uint32_t size);
  void WriteParts(uint32_t threadId, uint16_t type, const uint8_t* desc, uint32_t descSize,
                  const uint8_t* payload, uint32_t size);
  uint32_t Compress(const uint8_t* payload, uint32_t size);
  void RequireRoom(uint64_t size) const;
  void Append(const void* bytes, uint64_t size);
  void Patch(const void* bytes, uint64_t size, uint64_t offset);
  void Flush();
  void RequireSuccess(bool success);

  std::shared_ptr<Core::DataWriter> writer_;
  std::unique_ptr<Util::Compressor> compressor_;  // null: nothing is compressed
  std::unique_ptr<uint8_t[]> packed_;             // where it compresses to
  uint32_t packedCapacity_ = 0;
  uint32_t compressionThreshold_;
  uint32_t frameCount_ = 0;
  uint64_t size_ = 0;        // of the stream
  uint64_t blockStart_ = 0;  // where the block at hand has its header
  BlockKind block_ = BlockKind::kNone;
  bool hasThreadIds_;
  bool hasTrailers_;
  bool flushBlocks_;
  bool closed_ = false;
  bool failed_ = false;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPFILEWRITER_H
