// Decodes the calls of a capture, encodes them again, and writes them.
#ifndef DCAPKIT_TESTS_REENCODER_H
#define DCAPKIT_TESTS_REENCODER_H

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "Core/MemoryReader.h"
#include "Data/Calls/EGLEncoder.h"
#include "Data/Calls/GLEncoder.h"
#include "Data/Capture/DCAPWriteConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "support/MemoryWriter.h"

/// Writes the capture that it receives with every payload made by the encoders. Payloads that come
/// out different are written as they were, and counted, unless `writesWhatComesOut`.
template <typename GLEncoderType = Data::GLEncoder>
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

  Data::DCAPWriterOptions ChooseOptions(const Data::FileHeader& header) const override {
    Data::DCAPWriterOptions options(header);
    options.compression = compression.value_or(options.compression);
    return options;
  }

  void ProcessFunctionCall(const Data::SubBlockHeader& header, const Data::FunctionCallDesc& desc,
                           const unsigned char* data, unsigned int size) override {
    original_ = {data, size};
    header_ = header;
    encoded_ = 0;
    same_ = false;
    const auto id = static_cast<Data::ApiCallType>(desc.callId);
    if (eglDecoder_.SupportsId(id)) eglDecoder_.ProcessFunctionCall(id, data, size);
    if (glDecoder_.SupportsId(id)) glDecoder_.ProcessFunctionCall(id, data, size);
    if (!writesWhatComesOut && (encoded_ != 1 || !same_)) {
      ++raw[desc.callId];
      DCAPWriteConsumer::ProcessFunctionCall(header, desc, data, size);
    }
  }

  bool writesWhatComesOut = false;  ///< all but payloads of a megabyte, which few bytes may claim
  std::optional<Data::CompressionType>
      compression;                 ///< of the output, if it is not to be that of the input
  std::map<uint16_t, size_t> raw;  ///< calls that came out different, by identifier

 private:
  void EncodedCall(Data::ApiCallType id, const uint8_t* payload, uint32_t size) override {
    ++encoded_;
    same_ = std::ranges::equal(original_, std::span(payload, size));
    if (writesWhatComesOut ? size < 1 << 20 : same_) {
      Writer()->WriteFunctionCall(header_.threadId, id, payload, size);
    }
  }

  Data::EGLDecoder eglDecoder_;
  Data::GLDecoder glDecoder_;
  Data::EGLEncoder eglEncoder_{this};
  GLEncoderType glEncoder_{this};
  std::span<const uint8_t> original_;
  Data::SubBlockHeader header_{};
  int encoded_ = 0;
  bool same_ = false;
};

/// Feeds the whole of a capture to a consumer that writes, and finishes what it wrote.
inline void Process(std::span<const uint8_t> capture, Data::DCAPWriteConsumer* consumer) {
  Data::DCAPFileProcessor processor;
  processor.Initialize(consumer, std::make_shared<Core::MemoryReader>(capture), capture.size());
  processor.processNextType2Block = true;
  while (processor.ProcessNextBlock()) processor.processNextType2Block = true;
  consumer->Close();
}

#endif  // DCAPKIT_TESTS_REENCODER_H
