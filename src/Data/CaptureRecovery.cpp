#include "Data/CaptureRecovery.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "Core/Exceptions.h"
#include "Data/CaptureFileTexts.h"

namespace Data {

using namespace CaptureFileTexts;

namespace {

constexpr uint64_t kTrailerSize = sizeof(DCAPFrameTrailer);
constexpr uint64_t kFrameNumberSize = sizeof(uint32_t);

struct Block {
  uint64_t position = 0;  // 0 for no block
  uint16_t type = 0;
  uint32_t size = 0;

  [[nodiscard]] uint64_t End() const { return position + sizeof(BlockHeader) + size; }
  [[nodiscard]] bool HasSubBlocks() const { return type == kBlockFrame || type == kBlockType2; }
  // The recorder writes the size of a block when it ends the block.
  [[nodiscard]] bool IsUnfinished() const { return HasSubBlocks() && size == 0; }
};

class Examination {
 public:
  Examination(Core::DataReader* reader, uint64_t fileSize) : reader_(reader), size_(fileSize) {}

  CaptureRecovery Run() {
    ReadHeader();
    const uint64_t chainEnd = WalkBlocks();
    if (chainEnd == size_) {
      if (last_.HasSubBlocks()) KeepSubBlocks();
    } else if (last_.HasSubBlocks() && IsPartOfTrailer(chainEnd)) {
      KeepSubBlocks();  // the block's size does not count its trailer yet
    } else {
      KeepBrokenBlock(chainEnd);
    }
    return Conclude();
  }

 private:
  void ReadAt(uint64_t position, void* buffer, unsigned long size, const char* failure) {
    if (reader_->Seek(SEEK_SET, static_cast<int64_t>(position)) != 0 ||
        reader_->Read(buffer, size) != size) {
      throw Core::BasicException(failure);
    }
  }

  void ReadHeader() {
    if (reader_ == nullptr || !reader_->IsValid()) throw Core::BasicException(kInvalidReader);
    FileHeader& header = found_.storedHeader;
    if (size_ < sizeof(header)) throw Core::BasicException(kHeaderUnreadable);
    ReadAt(0, &header, sizeof(header), kHeaderUnreadable);
    if (header.fourCC != kDCAPFourCC) throw Core::BasicException(kNotACapture);
    found_.keptSize = size_;
    trailers_ = (header.optionMask & kOptionNoTrailers) == 0;
  }

  // Counts the blocks that are there whole and returns where they end.
  uint64_t WalkBlocks() {
    uint64_t position = sizeof(FileHeader);
    uint64_t doubtful = 0;  // a block that is empty if what follows makes sense
    while (size_ - position >= sizeof(BlockHeader)) {
      const Block block = ReadBlock(position);
      if (block.HasSubBlocks()) doubtful = 0;
      if (block.IsUnfinished() || block.End() > size_) break;
      if (block.size == 0 && doubtful == 0) doubtful = position;
      Keep(block);
      position = block.End();
    }
    return position == size_ || doubtful == 0 ? position : doubtful;
  }

  Block ReadBlock(uint64_t position) {
    BlockHeader header{};
    ReadAt(position, &header, sizeof(header), kBlockHeaderUnreadable);
    return {position, header.type, header.size};
  }

  void Keep(const Block& block) {
    last_ = block;
    found_.lastBlock = block.position;
    found_.storedLastBlockSize = found_.lastBlockSize = block.size;
    frames_ += block.type == kBlockFrame ? 1 : 0;
  }

  void KeepBrokenBlock(uint64_t position) {
    const uint64_t rest = size_ - position;
    const Block block = rest < sizeof(BlockHeader) ? Block{} : ReadBlock(position);
    if (block.HasSubBlocks() && rest >= sizeof(BlockHeader) + kFrameNumberSize) {
      Keep(block);
      KeepSubBlocks();
    } else if (block.position != 0 && !block.HasSubBlocks() && block.size == 0) {
      Keep(block);
      const uint64_t body = std::min<uint64_t>(rest - sizeof(BlockHeader), UINT32_MAX);
      found_.lastBlockSize = static_cast<uint32_t>(body);
      LeaveOut(position + sizeof(BlockHeader) + body, size_, true);
    } else {
      LeaveOut(position, size_, true);
    }
    const bool isUnfinished = block.position != 0 && block.size == 0;
    if (!isUnfinished && found_.leftOutSize != 0 && found_.storedHeader.fileSize == size_) {
      const FileHeader header = found_.storedHeader;
      found_ = {};
      found_.storedHeader = header;
      found_.keptSize = size_;
      found_.damaged = true;
    }
  }

  // Makes the last block, which reaches the end of the file, end after its last whole sub-block.
  void KeepSubBlocks() {
    const uint64_t body = last_.position + sizeof(BlockHeader);
    const uint64_t firstSubBlock = body + kFrameNumberSize;
    if (firstSubBlock > size_) return;  // too small for its frame number; a lie, not a cut
    const uint64_t largest = UINT32_MAX - (trailers_ ? kTrailerSize : 0);
    const uint64_t bytesEnd = std::min(size_, body + largest);
    const bool isCut = last_.End() > size_;

    // Where sub-blocks must end. A trailer counts as one only where nothing else can stand.
    bool trailed = false;
    uint64_t limit = bytesEnd;
    if (trailers_ && isCut) {
      limit = std::min(bytesEnd, std::max(last_.End() - kTrailerSize, firstSubBlock));
    } else if (trailers_ && size_ - firstSubBlock >= kTrailerSize) {
      trailed = IsPartOfTrailer(size_ - kTrailerSize);
      limit = trailed ? std::min(bytesEnd, size_ - kTrailerSize) : bytesEnd;
    }
    uint64_t end = SkipSubBlocks(firstSubBlock, limit);
    if (trailed && end != limit && last_.size == 0 && found_.storedHeader.fileSize != size_) {
      // Nobody has begun to finish this capture: the last bytes belong to a payload after all.
      trailed = false;
      limit = bytesEnd;
      end = SkipSubBlocks(end, limit);
    }

    const bool trailerIsWhole = size_ - end == kTrailerSize && IsPartOfTrailer(end);
    found_.appendsTrailer = trailers_ && !trailerIsWhole;
    found_.keptSize = trailerIsWhole ? size_ : end;
    found_.lastBlockSize = static_cast<uint32_t>(end - body + (trailers_ ? kTrailerSize : 0));
    if (!IsPartOfTrailer(end) && !(isCut && end == limit)) {
      LeaveOut(end, size_ - (trailed ? kTrailerSize : 0), false);
    }
  }

  uint64_t SkipSubBlocks(uint64_t position, uint64_t limit) {
    const bool threadIds = (found_.storedHeader.optionMask & kOptionThreadIds) != 0;
    const uint64_t headerSize = sizeof(SubBlockHeader) - (threadIds ? 0 : sizeof(uint32_t));
    SubBlockHeader header{};
    while (limit - position >= headerSize) {
      ReadAt(position, &header, headerSize, kBlockHeaderUnreadable);
      if (header.size > limit - position - headerSize) break;
      position += headerSize + header.size;
    }
    return position;
  }

  // True when the bytes from `position` to the end are a trailer or its beginning, or when there
  // are none. They cannot be anything else: no (sub-)block of that size fits.
  bool IsPartOfTrailer(uint64_t position) {
    const uint64_t count = size_ - position;
    if (count == 0) return true;
    uint64_t bytes = DCAPFrameTrailer;
    if (!trailers_ || count > kTrailerSize) return false;
    ReadAt(position, &bytes, count, kBlockHeaderUnreadable);
    return bytes == DCAPFrameTrailer;
  }

  void LeaveOut(uint64_t start, uint64_t end, bool isBlock) {
    if (isBlock) found_.keptSize = start;
    found_.leftOutStart = start;
    found_.leftOutSize = end - start;
    found_.leftOutIsBlock = isBlock;
  }

  CaptureRecovery Conclude() {
    found_.storedSize = size_;
    found_.header = found_.storedHeader;
    found_.header.fileSize = found_.keptSize + (found_.appendsTrailer ? kTrailerSize : 0);
    const bool needsCount = !found_.IsComplete() || found_.header.frameCount == 0;
    if (needsCount && !found_.damaged) found_.header.frameCount = frames_;
    return found_;
  }

  Core::DataReader* reader_;
  uint64_t size_;
  bool trailers_ = false;
  Block last_;  // the last block that is kept
  uint32_t frames_ = 0;
  CaptureRecovery found_;
};

void WriteAt(Core::DataWriter* writer, const void* bytes, uint64_t size, uint64_t offset,
             const char* failure) {
  if (writer->WriteAt(bytes, size, offset) != size) throw Core::BasicException(failure);
}

}  // namespace

CaptureRecovery CaptureRecovery::Examine(Core::DataReader* reader, uint64_t fileSize) {
  return Examination(reader, fileSize).Run();
}

bool CaptureRecovery::IsComplete() const {
  return damaged || (header.frameCount == storedHeader.frameCount &&
                     header.fileSize == storedHeader.fileSize && keptSize == storedSize &&
                     !appendsTrailer && lastBlockSize == storedLastBlockSize);
}

bool CaptureRecovery::IsCut() const {
  const uint64_t blockEnd = lastBlock + sizeof(BlockHeader) + storedLastBlockSize;
  return leftOutSize != 0 || (!damaged && (storedHeader.fileSize > header.fileSize ||
                                           (lastBlock != 0 && blockEnd > header.fileSize)));
}

void CaptureRecovery::Finish(Core::DataWriter* writer) const {
  if (writer == nullptr || !writer->IsValid()) throw Core::BasicException(kInvalidWriter);
  if (lastBlockSize != storedLastBlockSize) {
    // A size half written must not be that of a smaller block, behind which the walk would go
    // astray. So the block claims to run past the end of the file until its highest byte is there.
    const uint64_t offset = lastBlock + offsetof(BlockHeader, size);
    std::array<uint8_t, sizeof(lastBlockSize)> bytes{};
    std::memcpy(bytes.data(), &lastBlockSize, bytes.size());
    const uint8_t pastEnd = UINT8_MAX;
    WriteAt(writer, &pastEnd, 1, offset + 3, kFrameSizeUnwritten);
    WriteAt(writer, bytes.data(), 3, offset, kFrameSizeUnwritten);
    WriteAt(writer, bytes.data() + 3, 1, offset + 3, kFrameSizeUnwritten);
  }
  if (appendsTrailer) {
    WriteAt(writer, &DCAPFrameTrailer, kTrailerSize, keptSize, kTrailerUnwritten);
  }
  if (header.frameCount != storedHeader.frameCount || header.fileSize != storedHeader.fileSize) {
    constexpr uint64_t kOffset = offsetof(FileHeader, frameCount);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&header) + kOffset;
    WriteAt(writer, bytes, sizeof(header) - kOffset, kOffset, kFrameCountUnwritten);
  }
}

}  // namespace Data
