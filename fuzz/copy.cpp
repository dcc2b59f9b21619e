// A whole file, copied: what the copy holds copies to itself; calls encoded again encode to
// themselves.
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/Calls/EGLEncoder.h"
#include "Data/Calls/GLEncoder.h"
#include "Data/Capture/DCAPWriteConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "CaptureMutator.h"
#include "PrintedEvents.h"
#include "support/CopyCapture.h"
#include "support/MemoryWriter.h"

namespace {

constexpr uint32_t kLarge = 1 << 20;

// Writes every call as the encoders make it.
class Reencoder : public Data::DCAPWriteConsumer, private Data::CallSink {
 public:
  explicit Reencoder(std::shared_ptr<Core::DataWriter> output)
      : DCAPWriteConsumer(std::move(output)) {
    eglDecoder_.AddAdapter(&eglEncoder_);
    glDecoder_.AddAdapter(&glEncoder_);
  }
  // Frees what a draw call left behind that an exception cut short; the decoder itself does not.
  ~Reencoder() override { glDecoder_.DestroyVertexAttribArrayData(); }
  Reencoder(const Reencoder&) = delete;
  Reencoder& operator=(const Reencoder&) = delete;

  void ProcessFunctionCall(const Data::SubBlockHeader& /*header*/,
                           const Data::FunctionCallDesc& desc, const unsigned char* data,
                           unsigned int size) override {
    const auto id = static_cast<Data::ApiCallType>(desc.callId);
    if (eglDecoder_.SupportsId(id)) eglDecoder_.ProcessFunctionCall(id, data, size);
    if (glDecoder_.SupportsId(id)) glDecoder_.ProcessFunctionCall(id, data, size);
  }

 private:
  void EncodedCall(Data::ApiCallType id, const uint8_t* payload, uint32_t size) override {
    // A few bytes may claim a hundred million; they are not worth the time.
    if (size < kLarge) Writer()->WriteFunctionCall(0, id, payload, size);
  }

  Data::EGLDecoder eglDecoder_;
  Data::GLDecoder glDecoder_;
  Data::EGLEncoder eglEncoder_{this};
  Data::GLEncoder glEncoder_{this};
};

std::vector<uint8_t> Reencode(std::span<const uint8_t> capture) {
  auto memory = std::make_shared<MemoryWriter>();
  Reencoder reencoder(memory);
  Data::DCAPFileProcessor processor;
  processor.Initialize(&reencoder, std::make_shared<Core::MemoryReader>(capture), capture.size());
  try {
    while (processor.ProcessNextBlock()) {
    }
  } catch (const Core::BasicException&) {
    // What came before the damage is whole.
  } catch (const std::bad_alloc&) {
  }
  reencoder.Close();
  return memory->bytes;
}

// The capture that `copy` makes of the bytes must be one that it returns as it is.
template <typename Copy>
void CheckCopy(std::span<const uint8_t> bytes, Copy copy) {
  std::vector<uint8_t> once;
  try {
    once = copy(bytes);
  } catch (const Core::BasicException&) {
    return;
  }
  if (copy(once) != once) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static QuietLog quiet;
  CheckCopy({data, size}, CopyCapture);
  CheckCopy({data, size}, Reencode);
  return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned int seed) {
  return MutateCapture(data, size, maxSize, seed);
}
