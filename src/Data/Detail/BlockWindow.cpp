#include "Data/Detail/BlockWindow.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Core/Detail/CopyBytes.h"
#include "Core/Detail/Reading.h"
#include "Core/ViewReader.h"
#include "Data/Detail/Format.h"
#include "Data/Detail/Viewing.h"

namespace Data {

namespace {

// Small enough to stay in the first-level cache between the copy in and the decoding.
constexpr uint64_t kLargestFetch = 16ul * 1024;
// After bytes were left out less is fetched, as more of them may be.
constexpr uint64_t kFirstFetch = 4096;
constexpr uint64_t kFetchGrowth = 2;
// Pieces up to this size get their memory on the file's word, larger ones as bytes arrive.
constexpr uint64_t kTrustedSize = 1024ul * 1024;

}  // namespace

BlockWindow::BlockWindow(std::shared_ptr<Core::DataReader> reader)
    : reader_(std::move(reader)),
      viewer_(reader_ == nullptr ? nullptr : AsViewer(reader_.get())),
      fetchSize_(kLargestFetch) {}

unsigned long BlockWindow::ReadOutside(void* buffer, unsigned long size) {
  const unsigned long count = Core::ReadUpTo(reader_.get(), buffer, size);
  position_ += count;
  return count;
}

void BlockWindow::BeginBlock(uint64_t size) {
  cursor_ = end_;
  unfetched_ = size;
}

std::span<const unsigned char> BlockWindow::TakeSome() {
  if (Ahead() == 0 && unfetched_ != 0 && (viewer_ == nullptr || !FillByView(1))) FillByCopy(1);
  return {std::exchange(cursor_, end_), end_};
}

void BlockWindow::Skip(uint64_t size) {
  const uint64_t inWindow = std::min(size, Ahead());
  cursor_ += inWindow;
  size -= inWindow;
  if (size == 0) return;
  unfetched_ -= std::min(unfetched_, size);
  Core::LeaveOut(reader_.get(), size);
  position_ += size;
  fetchSize_ = kFirstFetch;
}

void BlockWindow::SkipToEnd(uint64_t position) {
  Core::LeaveOutRest(reader_.get());
  cursor_ = end_;
  position_ = position;
}

bool BlockWindow::SeekTo(uint64_t position) {
  if (reader_->Seek(SEEK_SET, static_cast<int64_t>(position)) != 0) return false;
  cursor_ = end_;
  unfetched_ = 0;
  position_ = position;
  fetchSize_ = kFirstFetch;
  return true;
}

void BlockWindow::Abandon() {
  position_ = Position();
  cursor_ = end_ = nullptr;
  unfetched_ = 0;
}

void BlockWindow::Fill(uint64_t size, const std::string& message) {
  if (viewer_ != nullptr && FillByView(size)) return;
  if (!FillByCopy(size)) Fail(message);
}

// Goes back to the bytes that were read and not taken, so that they are shown in one piece with
// those that follow. Leaves the reader there when it cannot show so many.
bool BlockWindow::FillByView(uint64_t size) {
  const uint64_t kept = Ahead();
  if (kept != 0 && reader_->Seek(SEEK_CUR, -static_cast<int64_t>(kept)) != 0) return false;
  cursor_ = end_;
  unfetched_ += kept;
  position_ -= kept;
  const std::span<const unsigned char> bytes = viewer_->View(size, unfetched_);
  if (bytes.empty()) return false;
  cursor_ = bytes.data();
  end_ = cursor_ + bytes.size();
  unfetched_ -= bytes.size();
  position_ += bytes.size();
  return true;
}

bool BlockWindow::FillByCopy(uint64_t size) {
  uint64_t have = Ahead();
  Reserve(std::max(kLargestFetch, have), 0);
  if (have != 0) std::memmove(buffer_.get(), cursor_, have);
  bool isComplete = true;
  do {
    // Beyond 1 MiB memory follows the bytes that have arrived: at most twice as much is made as the
    // stream has been seen to hold, whatever size the file claims.
    const uint64_t trusted = std::max({kTrustedSize, 2 * have, capacity_});
    const uint64_t target = std::max(std::min(size, trusted), fetchSize_);
    Reserve(target, have);
    const uint64_t wanted = std::min(target - have, unfetched_);
    const unsigned long count = ReadInto(buffer_.get() + have, wanted);
    have += count;
    isComplete = count == wanted && wanted != 0;
  } while (have < size && isComplete);
  fetchSize_ = std::min(fetchSize_ * kFetchGrowth, kLargestFetch);
  end_ = buffer_.get() + have;
  // Of a large piece that is not there whole, the part that is counts as taken.
  cursor_ = have < size && size > kLargestFetch ? end_ : buffer_.get();
  return have >= size;
}

unsigned long BlockWindow::ReadInto(unsigned char* destination, uint64_t size) {
  const unsigned long count = size == 0 ? 0 : Core::ReadUpTo(reader_.get(), destination, size);
  position_ += count;
  unfetched_ -= count;
  return count;
}

// Makes room in the buffer, of which the first `kept` bytes stay.
void BlockWindow::Reserve(uint64_t capacity, uint64_t kept) {
  if (capacity_ >= capacity) return;
  auto grown = std::make_unique_for_overwrite<unsigned char[]>(capacity);
  if (kept != 0) Core::CopyBytes(grown.get(), buffer_.get(), kept);
  buffer_ = std::move(grown);
  capacity_ = capacity;
}

}  // namespace Data
