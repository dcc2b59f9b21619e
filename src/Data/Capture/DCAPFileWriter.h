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

/// The properties of a capture that is to be written.
struct DCAPKIT_API DCAPWriterOptions {
  uint16_t versionLow = 0;
  uint8_t versionMinor = 0;
  uint8_t versionMajor = 1;
  /// `OptionMask` bits. `kOptionThreadIds` and `kOptionNoTrailers` shape the output; `compression`
  /// overrides the compression bits; all others are kept.
  uint32_t optionMask = kOptionThreadIds;
  uint8_t reserved[8] = {};  ///< header bytes 12 to 19

  CompressionType compression = kCompressionNone;
  Util::Compressor::CompressorQuality quality = Util::Compressor::kDefault;
  /// Payloads of fewer bytes stay plain, and so do those that compressing does not make smaller.
  uint32_t compressionThreshold = 64;

  /// Hands every block to the operating system as it ends, so that it survives the death of the
  /// process. Otherwise the `DataWriter` decides when; use that for output that is useless until it
  /// is complete.
  bool flushBlocks = true;

  DCAPWriterOptions() = default;
  /// Makes the options of the capture that begins with `header`.
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
/// `EGLEncoder` and `GLEncoder` make payloads. Bytes go straight to the `DataWriter`, which should
/// buffer them. The capture may be of any size, a block of up to 4 GiB. One thread at a time.
///
/// The writer gives a block size 0 at first and its size when it ends; the header keeps frame count
/// and file size 0 until `Close`. Such is an unfinished capture: at every moment the bytes that
/// have reached the file are a capture that `CaptureFileUtil::EnsureFinalization` completes, with
/// every ended frame whole in it. docs/writing.md tells what that does to blocks of other types.
///
/// Errors are thrown as `Core::BasicException` with one of the texts below. After `WriteFailMsg`
/// every operation but destruction throws it again. The other errors change nothing.
class DCAPKIT_API DCAPFileWriter {
 public:
  /// Writes the file header to `writer`, which must be empty and able to `WriteAt`. Throws
  /// `InvalidWriterMsg` (also for null), `CompressionTypeFailMsg`, `WriteFailMsg`.
  DCAPFileWriter(std::shared_ptr<Core::DataWriter> writer, const DCAPWriterOptions& options);
  DCAPFileWriter(const DCAPFileWriter&) = delete;
  DCAPFileWriter& operator=(const DCAPFileWriter&) = delete;
  /// Leaves a capture without `Close` unfinished, its last block without its trailer.
  ~DCAPFileWriter();

  // Blocks. Each operation first ends the block at hand, if there is one.

  /// Begins a frame with the sequence number `number`.
  void BeginFrame(uint32_t number);

  /// Begins a block of type 2. Readers process it only on demand or, with
  /// `kOptionType2BeforeFirst`, before the first frame.
  void BeginType2Block(uint32_t number);

  /// Begins a block of any type. `WriteBytes` gives its body piece by piece, as it is to lie in the
  /// file; it gets no frame number, no sub-blocks and no trailer.
  void BeginRawBlock(uint16_t type);

  /// Ends the block at hand; does nothing without one.
  void EndBlock();

  // Sub-blocks of the frame or type-2 block at hand; without one they throw `NoBlockMsg`. Payloads
  // are borrowed for the call. `threadId` is dropped when the capture records no threads. A
  // sub-block that would make the block too large for its 32-bit size throws `BlockTooLargeMsg` and
  // is not written; the block can go on without it.

  /// Writes a function call with the given payload, compressed if the options say so.
  void WriteFunctionCall(uint32_t threadId, ApiCallType callId, const uint8_t* payload,
                         uint32_t size);

  /// Writes a method call, likewise.
  void WriteMethodCall(uint32_t threadId, uint32_t objectValue, ApiCallType callId,
                       const uint8_t* payload, uint32_t size);

  /// Writes a metadata record, never compressed. `Data/MetaDecoder.h` lists types and subtypes.
  void WriteMetadata(uint32_t threadId, uint16_t type, uint16_t subtype, const uint8_t* payload,
                     uint32_t size);

  /// Writes a sub-block of any type. `body` is its description and payload, as they are to lie in
  /// the file.
  void WriteSubBlock(uint32_t threadId, uint16_t type, const uint8_t* body, uint32_t size);

  /// Writes bytes of a raw block; throws `NoBlockMsg` and `BlockTooLargeMsg` as sub-blocks do.
  void WriteBytes(const uint8_t* bytes, uint64_t size);

  /// Ends the last block and finishes the capture: writes the number of frames and the size into
  /// its header. Nothing can be written afterwards (`NoBlockMsg`, `ClosedMsg`). Closing again does
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

  DCAPKIT_HIDDEN void BeginBlock(uint16_t type, BlockKind kind);
  DCAPKIT_HIDDEN void WriteCall(uint32_t threadId, const MethodCallDesc& desc, bool isMethod,
                                const uint8_t* payload, uint32_t size);
  DCAPKIT_HIDDEN void WriteParts(uint32_t threadId, uint16_t type, const uint8_t* desc,
                                 uint32_t descSize, const uint8_t* payload, uint32_t size);
  DCAPKIT_HIDDEN uint32_t Compress(const uint8_t* payload, uint32_t size);
  DCAPKIT_HIDDEN void RequireRoom(uint64_t size) const;
  DCAPKIT_HIDDEN void Append(const void* bytes, uint64_t size);
  DCAPKIT_HIDDEN void Patch(const void* bytes, uint64_t size, uint64_t offset);
  DCAPKIT_HIDDEN void Flush();
  DCAPKIT_HIDDEN void RequireSuccess(bool success);

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
