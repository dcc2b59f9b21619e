#include "Data/Capture/CaptureRecovery.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "Core/Exceptions.h"
#include "Data/Detail/CaptureFileTexts.h"
#include "Data/Detail/Format.h"

namespace Data {

using namespace CaptureFileTexts;

namespace {

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
  Examination(Core::DataReader* reader, uint64_t fileSize)
      : reader_(reader), size_(fileSize), end_(fileSize) {}

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
    trailers_ = HasTrailers(header.optionMask);
  }

  // Counts the blocks that are there whole and returns where they end. Goes from size to size and
  // believes them; the last block, where the recorder or the copy stopped, is looked into later.
  uint64_t WalkBlocks() {
    uint64_t position = sizeof(FileHeader);
    uint64_t doubtful = 0;  // a block that is empty if what follows makes sense
    Block lastBeforeDoubt;
    while (size_ - position >= sizeof(BlockHeader)) {
      const Block block = ReadBlock(position);
      if (block.HasSubBlocks()) doubtful = 0;
      if (block.IsUnfinished() || block.End() > size_) break;
      // A block of another type may be empty, or its recorder died: only the blocks behind it can
      // tell.
      if (block.size == 0 && doubtful == 0) {
        doubtful = position;
        lastBeforeDoubt = last_;
      }
      Keep(block);
      position = block.End();
    }
    if (position == size_ || doubtful == 0) return position;
    SetLast(lastBeforeDoubt);
    return doubtful;
  }

  Block ReadBlock(uint64_t position) {
    BlockHeader header{};
    ReadAt(position, &header, sizeof(header), kBlockHeaderUnreadable);
    return {position, header.type, header.size};
  }

  void Keep(const Block& block) {
    SetLast(block);
    frames_ += block.type == kBlockFrame ? 1 : 0;
  }

  void SetLast(const Block& block) {
    last_ = block;
    found_.lastBlock = block.position;
    found_.storedLastBlockSize = found_.lastBlockSize = block.size;
  }

  void KeepBrokenBlock(uint64_t position) {
    const uint64_t rest = size_ - position;
    const Block block = rest < sizeof(BlockHeader) ? Block{} : ReadBlock(position);
    if (block.HasSubBlocks() && rest >= sizeof(BlockHeader) + kFrameNumberSize) {
      Keep(block);
    } else {
      LeaveOut(position, true);
    }
    if (last_.HasSubBlocks()) KeepSubBlocks();
    if (!block.IsUnfinished() && found_.leftOutSize != 0 && found_.storedHeader.fileSize == size_) {
      // No byte of the file is missing, so a size in it lies; dropping bytes would be a guess.
      const FileHeader header = found_.storedHeader;
      found_ = {};
      found_.storedHeader = header;
      found_.keptSize = size_;
      found_.damaged = true;
    }
  }

  // Makes the last block, which reaches to end_, end after its last whole sub-block.
  void KeepSubBlocks() {
    const uint64_t body = last_.position + sizeof(BlockHeader);
    const uint64_t firstSubBlock = body + kFrameNumberSize;
    if (firstSubBlock > end_) return;  // too small for its frame number; a lie, not a cut
    // The block has a size of 32 bits, so sub-blocks beyond that cannot be kept.
    const uint64_t largest = UINT32_MAX - (trailers_ ? kTrailerSize : 0);
    const uint64_t bytesEnd = std::min(end_, body + largest);

    // A trailer counts as one only where nothing else can stand.
    bool trailed = trailers_ && last_.End() <= end_ && end_ - firstSubBlock >= kTrailerSize &&
                   IsPartOfTrailer(end_ - kTrailerSize);
    const uint64_t limit = trailed ? std::min(bytesEnd, end_ - kTrailerSize) : bytesEnd;
    uint64_t end = SkipSubBlocks(firstSubBlock, limit);
    if (trailed && end != limit && last_.size == 0 && found_.storedHeader.fileSize != size_) {
      // Nobody has begun to finish this capture: the last bytes belong to a payload after all.
      trailed = false;
      end = SkipSubBlocks(end, bytesEnd);
    }

    const bool trailerIsWhole = end_ - end == kTrailerSize && IsPartOfTrailer(end);
    found_.appendsTrailer = trailers_ && !trailerIsWhole;
    found_.keptSize = trailerIsWhole ? end_ : end;
    found_.lastBlockSize = static_cast<uint32_t>(end - body + (trailers_ ? kTrailerSize : 0));
    if (!IsPartOfTrailer(end)) LeaveOut(end, false, trailed ? kTrailerSize : 0);
  }

  uint64_t SkipSubBlocks(uint64_t position, uint64_t limit) {
    const uint64_t headerSize = SubBlockHeaderSize(HasThreadIds(found_.storedHeader.optionMask));
    SubBlockHeader header{};
    while (limit - position >= headerSize) {
      ReadAt(position, &header, headerSize, kBlockHeaderUnreadable);
      if (header.size > limit - position - headerSize) break;
      position += headerSize + header.size;
    }
    return position;
  }

  // True when the bytes from `position` to end_ are a trailer or its beginning, or when there are
  // none. Nothing else can stand there: no block or sub-block of that size fits.
  bool IsPartOfTrailer(uint64_t position) {
    const uint64_t count = end_ - position;
    if (count == 0) return true;
    uint64_t bytes = DCAPFrameTrailer;
    if (!trailers_ || count > kTrailerSize) return false;
    ReadAt(position, &bytes, count, kBlockHeaderUnreadable);
    return bytes == DCAPFrameTrailer;
  }

  // Leaves out everything from `start`, and reports all of it but a trailer that will be written
  // anew.
  void LeaveOut(uint64_t start, bool isBlock, uint64_t trailerSize = 0) {
    found_.keptSize = start;
    found_.leftOutStart = start;
    found_.leftOutSize = size_ - start - (end_ == size_ ? trailerSize : 0);
    found_.leftOutIsBlock = isBlock;
    end_ = start;
  }

  CaptureRecovery Conclude() {
    found_.storedSize = size_;
    found_.header = found_.storedHeader;
    found_.header.fileSize = found_.keptSize + (found_.appendsTrailer ? kTrailerSize : 0);
    // A count that came with the right size stays, however frames were counted for it.
    const bool hasCount = found_.storedHeader.frameCount != 0 &&
                          found_.storedHeader.fileSize == found_.header.fileSize;
    if (!hasCount && !found_.damaged) found_.header.frameCount = frames_;
    return found_;
  }

  Core::DataReader* reader_;
  uint64_t size_;  // of the file
  uint64_t end_;   // of the part that is to be kept, trailer included
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
    // A size half written must not be that of a smaller block, behind which the walk would take
    // payload for headers. So the block claims to run past the end of the file, which makes it the
    // last one, until its highest byte is there.
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
  // Last, since a header that says the right size declares the file finished.
  if (header.frameCount != storedHeader.frameCount || header.fileSize != storedHeader.fileSize) {
    if (header.fileSize == storedHeader.fileSize) {
      // Half a count must not stand beside the right size: examining trusts a count that does.
      const uint64_t unknown = 0;
      WriteAt(writer, &unknown, sizeof(unknown), offsetof(FileHeader, fileSize),
              kFrameCountUnwritten);
    }
    constexpr uint64_t kOffset = offsetof(FileHeader, frameCount);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&header) + kOffset;
    WriteAt(writer, bytes, sizeof(header) - kOffset, kOffset, kFrameCountUnwritten);
  }
}

}  // namespace Data
