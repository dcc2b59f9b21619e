#include "Data/Capture/RecoveredReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Core/Detail/Reading.h"
#include "Core/Exceptions.h"
#include "Data/Detail/CaptureFileTexts.h"
#include "Data/Detail/Viewing.h"

namespace Data {

namespace {

// Puts the part of a field that lies among the `size` bytes read at `position` in its place.
void Overlay(const void* field, uint64_t fieldSize, uint64_t fieldPosition, unsigned char* buffer,
             uint64_t size, uint64_t position) {
  const uint64_t first = std::max(fieldPosition, position);
  const uint64_t end = std::min(fieldPosition + fieldSize, position + size);
  if (first < end) {
    std::memcpy(buffer + (first - position),
                static_cast<const unsigned char*>(field) + (first - fieldPosition), end - first);
  }
}

}  // namespace

RecoveredReader::RecoveredReader(std::shared_ptr<Core::DataReader> source, uint64_t fileSize)
    : RecoveredReader(source, CaptureRecovery::Examine(source.get(), fileSize)) {}

RecoveredReader::RecoveredReader(std::shared_ptr<Core::DataReader> source,
                                 const CaptureRecovery& recovery)
    : source_(std::move(source)), recovery_(recovery) {
  if (source_ == nullptr) throw Core::BasicException(CaptureFileTexts::kInvalidReader);
  viewer_ = AsViewer(source_.get());
  source_->Seek(SEEK_SET, 0);
}

RecoveredReader::~RecoveredReader() = default;

bool RecoveredReader::IsValid() const { return source_->IsValid(); }

void RecoveredReader::Close() { source_->Close(); }

unsigned long RecoveredReader::Read(void* buffer, unsigned long size) {
  auto* bytes = static_cast<unsigned char*>(buffer);
  unsigned long count = 0;
  if (position_ < recovery_.keptSize) {
    const unsigned long kept = std::min(size, recovery_.keptSize - position_);
    count = Core::ReadUpTo(source_.get(), bytes, kept);
    Overlay(&recovery_.header, sizeof(FileHeader), 0, bytes, count, position_);
    if (recovery_.lastBlock != 0) {
      Overlay(&recovery_.lastBlockSize, sizeof(recovery_.lastBlockSize),
              recovery_.lastBlock + offsetof(BlockHeader, size), bytes, count, position_);
    }
    position_ += count;
    // A read that failed: the trailer must not follow a gap.
    if (count < kept) return count;
  }
  if (position_ < Size() && IsValid()) {
    const unsigned long supplied = std::min(size - count, Size() - position_);
    Overlay(&DCAPFrameTrailer, sizeof(DCAPFrameTrailer), recovery_.keptSize, bytes + count,
            supplied, position_);
    count += supplied;
    position_ += supplied;
  }
  return count;
}

uint64_t RecoveredReader::Size() const {
  return recovery_.keptSize + (recovery_.appendsTrailer ? sizeof(DCAPFrameTrailer) : 0);
}

bool RecoveredReader::AtEof() const {
  return position_ >= Size() || (position_ < recovery_.keptSize && source_->AtEof());
}

int RecoveredReader::Seek(int origin, int64_t offset) {
  uint64_t base = 0;
  if (origin == SEEK_CUR) {
    base = position_;
  } else if (origin == SEEK_END) {
    base = Size();
  } else if (origin != SEEK_SET) {
    return -1;
  }
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  const auto position = static_cast<uint64_t>(target);
  const uint64_t inSource = std::min(position, recovery_.keptSize);
  // The source follows first, so that a failure leaves both where they were.
  if (source_->Seek(SEEK_SET, static_cast<int64_t>(inSource)) != 0) return -1;
  position_ = position;
  return 0;
}

uint64_t RecoveredReader::Tell() const { return position_; }

std::span<const unsigned char> RecoveredReader::View(unsigned long atLeast, unsigned long atMost) {
  // The header, the size of the last block and the trailer differ from the source: Read supplies
  // them.
  const uint64_t size = recovery_.lastBlock + offsetof(BlockHeader, size);
  const uint64_t sizeEnd = size + sizeof(recovery_.lastBlockSize);
  const uint64_t end = recovery_.lastBlock != 0 && position_ < sizeEnd ? size : recovery_.keptSize;
  if (viewer_ == nullptr || position_ < sizeof(FileHeader) || position_ >= end ||
      end - position_ < atLeast) {
    return {};
  }
  const auto bytes = viewer_->View(atLeast, std::min(atMost, end - position_));
  position_ += bytes.size();
  return bytes;
}

}  // namespace Data
