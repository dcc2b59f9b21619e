// Index and finalisation over memory streams: what was finalised must be taken as finalised, and
// finalising once more must change nothing.
#include <cstring>
#include <memory>
#include <vector>

#include "Core/DataWriter.h"
#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/CaptureFileUtil.h"

#include "CaptureMutator.h"
#include "PrintedEvents.h"

namespace {

using Data::CaptureFileUtil;

class MemoryWriter : public Core::DataWriter {
 public:
  explicit MemoryWriter(std::vector<uint8_t>* bytes) : bytes_(bytes) {}
  [[nodiscard]] bool IsValid() const override { return true; }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    if (offset + size > bytes_->size()) {
      bytes_->resize(offset + size);
    }
    std::memcpy(bytes_->data() + offset, buffer, size);
    return size;
  }

 private:
  std::vector<uint8_t>* bytes_;
};

std::shared_ptr<Core::DataReader> ReaderOf(const std::vector<uint8_t>& bytes) {
  return std::make_shared<Core::MemoryReader>(std::span(bytes));
}

void Finalize(std::vector<uint8_t>* bytes) {
  const uint64_t size = bytes->size();
  std::vector<Data::FrameEntry> index;
  CaptureFileUtil::GenerateFrameIndex(ReaderOf(*bytes), &index);
  const bool trailer = CaptureFileUtil::IsFinalFrameTrailerNeeded(ReaderOf(*bytes), size);
  CaptureFileUtil::FinalizeFile(std::make_shared<MemoryWriter>(bytes), size,
                                static_cast<uint32_t>(index.size()),
                                index.empty() ? 0 : index.back().filePosition, trailer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  std::vector<uint8_t> bytes(data, data + size);
  try {
    if (CaptureFileUtil::IsFileFinalized(ReaderOf(bytes), size)) {
      return 0;
    }
    Finalize(&bytes);
    std::vector<uint8_t> again = bytes;
    Finalize(&again);
    if (bytes.size() != again.size() && bytes.size() > size) {
      __builtin_trap();
    }
  } catch (const Core::BasicException&) {
  }
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  return MutateCapture(data, size, maxSize, seed);
}
