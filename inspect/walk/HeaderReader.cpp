#include "inspect/walk/HeaderReader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>
#include <system_error>

#include "Data/DCAPFormat.h"

namespace Inspect {

namespace {

constexpr size_t kMaxKept = size_t{256} << 10;  // 6 MiB of them
// A smaller part is read before a thread has started.
constexpr uint64_t kPartSize = uint64_t{4} << 20;
// The end of a block and the beginning of a frame.
constexpr std::string_view kBorder("\xEE\xEE\xEE\xEE\xEE\xEE\xEE\xEE\x01\x00", 10);

}  // namespace

HeaderReader::Window::Window(const std::string& path)
    : file_(path, Core::StdioReader::Access::kScattered),
      bytes_(std::make_unique_for_overwrite<unsigned char[]>(kRoom)) {}

bool HeaderReader::Window::Fetch(uint64_t position) {
  Read(position, kHeaderSize);
  return size_ != 0;
}

void HeaderReader::Window::Read(uint64_t position, unsigned long size) {
  begin_ = position;
  size_ = file_.Seek(SEEK_SET, static_cast<int64_t>(position)) == 0 ? file_.Read(bytes_.get(), size)
                                                                    : 0;
}

void HeaderReader::Window::Show(const Header& header) {
  std::memcpy(bytes_.get(), header.bytes.data(), kHeaderSize);
  begin_ = header.position;
  size_ = kHeaderSize;
}

HeaderReader::HeaderReader(const std::string& path, unsigned threads) : window_(path) {
  const uint64_t size = window_.FileSize();
  const uint64_t count = std::min<uint64_t>(threads, size / kPartSize);
  try {
    for (uint64_t i = 1; i < count; ++i) {
      const uint64_t begin = size / count * i;
      const uint64_t end = i + 1 == count ? size : begin + size / count;
      parts_.push_back(
          {begin, std::async(std::launch::async, ReadAhead, path, begin, end, kMaxKept / count)});
    }
  } catch (const std::system_error&) {
    // Fewer threads are enough.
  }
}

unsigned long HeaderReader::Read(void* buffer, unsigned long size) {
  auto* destination = static_cast<unsigned char*>(buffer);
  unsigned long done = 0;
  while (done < size) {
    if (window_.Offset(position_) >= window_.Size() && !Fetch()) break;
    const unsigned long offset = window_.Offset(position_);
    const unsigned long count = std::min(size - done, window_.Size() - offset);
    std::memcpy(destination + done, window_.Begin() + offset, count);
    position_ += count;
    done += count;
  }
  return done;
}

// Makes the window begin at position_. False when no byte is there.
bool HeaderReader::Fetch() {
  TakeParts();
  if (Recall()) return true;
  if (!window_.Fetch(position_)) return false;
  if (window_.Size() == kHeaderSize) {
    Header header{position_, {}};
    std::memcpy(header.bytes.data(), window_.Begin(), kHeaderSize);
    Keep(header);
  }
  return true;
}

bool HeaderReader::Recall() {
  if (kept_.empty() || kept_.back().position < position_) return false;
  if (nextKept_ == kept_.size() || kept_[nextKept_].position != position_) {
    const auto header = std::lower_bound(
        kept_.begin(), kept_.end(), position_,
        [](const Header& kept, uint64_t position) { return kept.position < position; });
    nextKept_ = static_cast<size_t>(header - kept_.begin());
    if (header == kept_.end() || header->position != position_) return false;
  }
  window_.Show(kept_[nextKept_++]);
  return true;
}

void HeaderReader::Keep(const Header& header) {
  const bool isNext = kept_.empty() || kept_.back().position < header.position;
  if (isNext && kept_.size() < kMaxKept) kept_.push_back(header);
}

// Keeps the headers that other threads have found up to position_ and behind. If one of them
// failed, the walk reads that part itself.
void HeaderReader::TakeParts() {
  while (!parts_.empty() && parts_.front().begin <= position_) {
    try {
      for (const Header& header : parts_.front().headers.get()) Keep(header);
    } catch (const std::exception&) {
    }
    parts_.pop_front();
  }
}

// Reads headers from the first bytes behind `begin` that look like the start of a block.
std::vector<HeaderReader::Header> HeaderReader::ReadAhead(const std::string& path, uint64_t begin,
                                                          uint64_t end, size_t most) {
  Window window(path);
  window.Fill(begin);
  const std::string_view bytes(reinterpret_cast<const char*>(window.Begin()), window.Size());
  const size_t border = bytes.find(kBorder);
  if (border == std::string_view::npos) return {};
  uint64_t position = begin + border + sizeof(Data::DCAPFrameTrailer);
  std::vector<Header> headers;
  while (position < end && headers.size() < most) {
    if (window.Offset(position) + kHeaderSize > window.Size()) window.Fetch(position);
    if (window.Offset(position) + kHeaderSize > window.Size()) break;
    Header& header = headers.emplace_back(Header{position, {}});
    std::memcpy(header.bytes.data(), window.Begin() + window.Offset(position), kHeaderSize);
    Data::BlockHeader block{};
    std::memcpy(&block, header.bytes.data(), sizeof(block));
    position += sizeof(block) + block.size;
  }
  return headers;
}

int HeaderReader::Seek(int origin, int64_t offset) {
  const uint64_t base = origin == SEEK_CUR ? position_ : origin == SEEK_END ? Size() : 0;
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  position_ = static_cast<uint64_t>(target);
  return 0;
}

}  // namespace Inspect
