// Lays captures down in memory.
#ifndef DCAPKIT_TESTS_CAPTUREBUILDER_H
#define DCAPKIT_TESTS_CAPTUREBUILDER_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Data/DCAPFormat.h"

/// The bytes given to a verb: text, a vector, or anything with `Data()` and `Size()`. A view.
class Payload {
 public:
  // NOLINTBEGIN(google-explicit-constructor): to be written where a verb takes one
  Payload(const char* text) : data_(text), size_(std::strlen(text)) {}
  Payload(std::string_view text) : data_(text.data()), size_(text.size()) {}
  Payload(const std::string& text) : data_(text.data()), size_(text.size()) {}
  Payload(const std::vector<uint8_t>& bytes) : data_(bytes.data()), size_(bytes.size()) {}
  template <typename T>
  requires requires(const T& bytes) {
    { bytes.Data() } -> std::convertible_to<const uint8_t*>;
  }
  Payload(const T& bytes) : data_(bytes.Data()), size_(bytes.Size()) {}
  // NOLINTEND(google-explicit-constructor)

  const uint8_t* Data() const { return static_cast<const uint8_t*>(data_); }
  uint32_t Size() const { return static_cast<uint32_t>(size_); }

 private:
  const void* data_;
  size_t size_;
};

/// A growing capture with a verb for everything that stands in one:
///
///     CaptureBuilder capture(Data::kOptionThreadIds);
///     capture.FrameBlock(1).Thread(7).Call(0x9003, payload).Metadata(2, 1, "hello");
///     capture.FrameBlock(2);
///     std::vector<uint8_t> bytes = capture.Finish();
///
/// Sizes, the frame count and trailers follow by themselves, unless a verb tells lies about them.
class CaptureBuilder {
 public:
  explicit CaptureBuilder(uint32_t optionMask = Data::kOptionThreadIds);

  /// The file header, for anything but the frame count and the file size.
  Data::FileHeader& Header() { return header_; }

  // Blocks. Each ends the block before it.
  CaptureBuilder& FrameBlock(uint32_t number);
  CaptureBuilder& Type2Block(uint32_t number);
  CaptureBuilder& OtherBlock(uint16_t type, Payload body);
  CaptureBuilder& EndBlock();

  // Sub-blocks of the block at hand.
  /// Thread id of the sub-blocks that follow; initially 0.
  CaptureBuilder& Thread(uint32_t id);
  CaptureBuilder& Call(uint16_t id, Payload payload);
  CaptureBuilder& MethodCall(uint32_t object, uint16_t id, Payload payload);
  /// Compresses the payload as the option mask says; stores it as it is when that says none.
  CaptureBuilder& CompressedCall(uint16_t id, Payload payload);
  CaptureBuilder& CompressedMethodCall(uint32_t object, uint16_t id, Payload payload);
  /// A compressed call that claims to yield `inflatedSize` bytes.
  CaptureBuilder& StoredCall(uint16_t id, uint32_t inflatedSize, Payload stored);
  CaptureBuilder& Metadata(uint16_t type, uint16_t subtype, Payload payload);
  /// A sub-block of any type; the body stands for description and payload.
  CaptureBuilder& SubBlock(uint16_t type, Payload body);

  // Lies and damage.
  /// Claims a size for the latest sub-block.
  CaptureBuilder& ClaimSubBlockSize(uint32_t size);
  /// Claims a size for the block at hand.
  CaptureBuilder& ClaimBlockSize(uint32_t size);
  CaptureBuilder& ClaimFrameCount(uint32_t count);
  CaptureBuilder& ClaimFileSize(uint64_t size);
  /// Leaves the capture as a recorder that died: no frame count, file size, last block size,
  /// trailer.
  CaptureBuilder& Unfinished();
  /// Sets a byte of the finished capture.
  CaptureBuilder& SetByte(size_t offset, uint8_t value);
  /// Drops the last bytes of the finished capture.
  CaptureBuilder& Shrink(size_t count);

  /// Bytes so far: where the next piece will stand.
  [[nodiscard]] size_t Size() const { return bytes_.size(); }

  /// The capture with its last block ended. The builder can go on from where it stands.
  [[nodiscard]] std::vector<uint8_t> Finish() const;
  /// Writes the same into a file.
  void WriteTo(const std::string& path) const;

 private:
  CaptureBuilder& BeginBlock(uint16_t type, uint32_t number);
  CaptureBuilder& BeginSubBlock(uint16_t type, size_t size);
  CaptureBuilder& Put(const void* from, size_t count);
  template <typename T>
  CaptureBuilder& PutValue(const T& value) {
    return Put(&value, sizeof value);
  }
  void PutAt(size_t offset, const void* from, size_t count);
  std::vector<uint8_t> Compress(Payload payload) const;

  Data::FileHeader header_{};
  std::vector<uint8_t> bytes_;
  size_t blockStart_ = 0;     // 0 outside a block
  size_t subBlockStart_ = 0;  // the latest sub-block's header
  uint32_t thread_ = 0;
  uint32_t frames_ = 0;
  bool unfinished_ = false;
  bool blockSizeClaimed_ = false;
  bool frameCountClaimed_ = false;
  bool fileSizeClaimed_ = false;
  std::vector<std::pair<size_t, uint8_t>> setBytes_;
  size_t dropped_ = 0;
};

#endif  // DCAPKIT_TESTS_CAPTUREBUILDER_H
