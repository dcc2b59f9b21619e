// The records of a DCAP file, as they lie in the file and as consumers receive them. docs/format.md
// describes the whole format.
#ifndef DCAPKIT_DATA_DCAPFORMAT_H
#define DCAPKIT_DATA_DCAPFORMAT_H

#include <bit>
#include <cstdint>

namespace Data {

// Values are copied between file and memory byte for byte.
static_assert(std::endian::native == std::endian::little, "DCAP files are little-endian");
static_assert(sizeof(unsigned long) == 8, "stream sizes are 64-bit");

/// The first four bytes of a file: "DCAP".
inline constexpr uint32_t kDCAPFourCC = 0x50414344;
/// The eight bytes that end a block when the file has block trailers.
inline constexpr uint64_t DCAPFrameTrailer = 0xEEEEEEEEEEEEEEEE;

/// The bits of `FileHeader::optionMask` that the library acts on. It carries all others.
enum OptionMask : uint32_t {
  kOptionThreadIds = 1u << 6,          ///< sub-block headers carry a thread id
  kOptionNoTrailers = 1u << 8,         ///< blocks do NOT end with a trailer
  kOptionType2BeforeFirst = 1u << 12,  ///< type-2 blocks before the first frame are processed
  kOptionCompressionShift = 13,        ///< `(mask >> shift) & 7` is a `CompressionType`
  kOptionCompressionMask = 7u << 13,
};

enum CompressionType : uint32_t { kCompressionNone = 0, kCompressionLZ4 = 1, kCompressionLZ77 = 2 };

enum BlockType : uint16_t { kBlockFrame = 1, kBlockType2 = 2 };

enum SubBlockType : uint16_t {
  kSubBlockMetadata = 1,
  kSubBlockMethodCall = 2,
  kSubBlockFunctionCall = 3,
  kSubBlockCompressedMethodCall = 4,
  kSubBlockCompressedFunctionCall = 5,
};

#pragma pack(push, 1)

/// The first 32 bytes of a file.
struct FileHeader {
  uint32_t fourCC;      ///< `kDCAPFourCC`
  uint16_t versionLow;  ///< not interpreted
  uint8_t versionMinor;
  uint8_t versionMajor;
  uint32_t optionMask;
  uint8_t reserved[8];  ///< not interpreted
  uint32_t frameCount;  ///< number of frames; 0 while the capture is unfinished
  uint64_t fileSize;    ///< bytes in the whole file; 0 while the capture is unfinished
};

/// Precedes every block.
struct BlockHeader {
  uint16_t type;  ///< `BlockType`; any other value is skipped
  uint32_t size;  ///< bytes that follow this header, trailer included
};

/// Precedes every sub-block; 6 bytes in the file when it records no thread ids, otherwise 10.
struct SubBlockHeader {
  uint16_t type;      ///< `SubBlockType`; any other value is skipped
  uint32_t size;      ///< bytes that follow the header: description and payload
  uint32_t threadId;  ///< recording-side thread, opaque; 0 when the file records none
};

/// Describes a function call.
struct FunctionCallDesc {
  uint16_t callId;  ///< an `ApiCallType`
};

/// Describes a method call.
struct MethodCallDesc {
  uint32_t objectValue;  ///< opaque
  uint16_t callId;       ///< an `ApiCallType`
};

/// Describes a metadata record; `Data/MetaDecoder.h` lists types and subtypes.
struct MetadataDesc {
  uint16_t type;
  uint16_t subtype;
};

#pragma pack(pop)

static_assert(sizeof(FileHeader) == 32);
static_assert(sizeof(BlockHeader) == 6);
static_assert(sizeof(SubBlockHeader) == 10);
static_assert(sizeof(FunctionCallDesc) == 2);
static_assert(sizeof(MethodCallDesc) == 6);
static_assert(sizeof(MetadataDesc) == 4);

/// One entry of a frame index (`CaptureFileUtil::GenerateFrameIndex`). Not a file record.
struct FrameEntry {
  /// Ordinal of the type-1 block in the file, counted from 1; not its sequence number.
  uint32_t frameNumber;
  uint64_t filePosition;  ///< bytes from the start of the file to the block's `BlockHeader`
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPFORMAT_H
