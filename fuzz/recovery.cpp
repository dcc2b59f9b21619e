// Recovery of unfinished and cut captures: what the reader shows and what is written in place must
// be the same finished capture, also when finishing is interrupted and begun again.
#include <algorithm>
#include <memory>
#include <vector>

#include "Core/DataWriter.h"
#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/Capture/CaptureRecovery.h"
#include "Data/Capture/RecoveredReader.h"

#include "CaptureMutator.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Accepts so many bytes and no more.
class LimitedWriter : public Core::DataWriter {
 public:
  LimitedWriter(Bytes* bytes, uint64_t limit) : bytes_(bytes), limit_(limit) {}
  [[nodiscard]] bool IsValid() const override { return true; }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    const uint64_t count = std::min(size, limit_);
    limit_ -= count;
    if (count != 0 && offset + count > bytes_->size()) {
      bytes_->resize(offset + count);
    }
    std::copy_n(static_cast<const uint8_t*>(buffer), count,
                bytes_->begin() + static_cast<ptrdiff_t>(offset));
    return count;
  }

 private:
  Bytes* bytes_;
  uint64_t limit_;
};

Data::CaptureRecovery Examine(const Bytes& bytes) {
  Core::MemoryReader reader{std::span(bytes)};
  return Data::CaptureRecovery::Examine(&reader, bytes.size());
}

void Finish(Bytes* bytes, uint64_t limit) {
  const Data::CaptureRecovery recovery = Examine(*bytes);
  if (recovery.leftOutSize != 0) {
    bytes->resize(recovery.keptSize);
  }
  try {
    LimitedWriter writer(bytes, limit);
    recovery.Finish(&writer);
  } catch (const Core::BasicException&) {
  }
}

void Require(bool condition) {
  if (!condition) {
    __builtin_trap();
  }
}

void CheckRecovery(const Bytes& start) {
  Data::RecoveredReader reader(std::make_shared<Core::MemoryReader>(std::span(start)),
                               start.size());
  Bytes shown(reader.Size());
  Require(reader.Read(shown.data(), shown.size()) == shown.size() && reader.AtEof());

  Bytes finished = start;
  Finish(&finished, UINT64_MAX);
  Require(finished == shown);
  Require(Examine(finished).IsComplete());
  for (uint64_t limit = 0; limit < 34; ++limit) {
    Bytes interrupted = start;
    Finish(&interrupted, limit);
    Finish(&interrupted, UINT64_MAX);
    Require(interrupted == finished);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Bytes capture(data, data + size);
  try {
    Examine(capture);
  } catch (const Core::BasicException&) {
    return 0;
  }
  CheckRecovery(capture);
  std::fill_n(capture.begin() + 20, 12, uint8_t{0});  // frame count and file size
  CheckRecovery(capture);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  return MutateCapture(data, size, maxSize, seed);
}
