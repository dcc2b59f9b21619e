#include "Data/Capture/DCAPWriteConsumer.h"

#include <utility>

namespace Data {

DCAPWriteConsumer::DCAPWriteConsumer(std::shared_ptr<Core::DataWriter> output)
    : output_(std::move(output)) {}

DCAPWriteConsumer::~DCAPWriteConsumer() = default;

DCAPWriterOptions DCAPWriteConsumer::ChooseOptions(const FileHeader& header) const {
  return DCAPWriterOptions(header);
}

void DCAPWriteConsumer::Close() {
  if (writer_) writer_->Close();
}

void DCAPWriteConsumer::ProcessFileStart(const FileHeader& header) {
  writer_.emplace(output_, ChooseOptions(header));
}

void DCAPWriteConsumer::ProcessFileEnd() {}

void DCAPWriteConsumer::ProcessBlockStart(const BlockHeader& header) { blockType_ = header.type; }

void DCAPWriteConsumer::ProcessBlockEnd(unsigned long /*trailer*/) { writer_->EndBlock(); }

// Unlike ProcessBlockStart, not called for blocks that are skipped.
void DCAPWriteConsumer::ProcessFrameNumber(unsigned int frameNumber) {
  if (blockType_ == kBlockFrame) {
    writer_->BeginFrame(frameNumber);
  } else {
    writer_->BeginType2Block(frameNumber);
  }
}

void DCAPWriteConsumer::ProcessMethodCall(const SubBlockHeader& header, const MethodCallDesc& desc,
                                          const unsigned char* data, unsigned int size) {
  writer_->WriteMethodCall(header.threadId, desc.objectValue, static_cast<ApiCallType>(desc.callId),
                           data, size);
}

void DCAPWriteConsumer::ProcessFunctionCall(const SubBlockHeader& header,
                                            const FunctionCallDesc& desc, const unsigned char* data,
                                            unsigned int size) {
  writer_->WriteFunctionCall(header.threadId, static_cast<ApiCallType>(desc.callId), data, size);
}

void DCAPWriteConsumer::ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                                        const unsigned char* data, unsigned int size) {
  writer_->WriteMetadata(header.threadId, desc.type, desc.subtype, data, size);
}

}  // namespace Data
