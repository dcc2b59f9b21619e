#include "Data/DCAPDecodeConsumer.h"

#include "Data/ApiCallType.h"
#include "Data/Registry.h"

namespace Data {

DCAPDecodeConsumer::DCAPDecodeConsumer() = default;

DCAPDecodeConsumer::~DCAPDecodeConsumer() = default;

void DCAPDecodeConsumer::AddDecoder(Decoder* decoder) { decoders_.push_back(decoder); }

void DCAPDecodeConsumer::RemoveDecoder(Decoder* decoder) { RemoveFirst(decoders_, decoder); }

void DCAPDecodeConsumer::AddBlockEventHandler(BlockEventHandler* handler) {
  blockEventHandlers_.push_back(handler);
}

void DCAPDecodeConsumer::RemoveBlockEventHandler(BlockEventHandler* handler) {
  RemoveFirst(blockEventHandlers_, handler);
}

void DCAPDecodeConsumer::AddMetaHandler(MetaHandler* handler) { metaDecoder_.AddHandler(handler); }

void DCAPDecodeConsumer::RemoveMetaHandler(MetaHandler* handler) {
  metaDecoder_.RemoveHandler(handler);
}

void DCAPDecodeConsumer::ProcessFileStart(const FileHeader& header) {
  threadIdsPresent_ = (header.optionMask & kOptionThreadIds) != 0;
}

void DCAPDecodeConsumer::ProcessFileEnd() {}

void DCAPDecodeConsumer::ProcessBlockStart(const BlockHeader& header) {
  currentBlockType_ = header.type;
  for (BlockEventHandler* handler : blockEventHandlers_) {
    handler->ProcessBlockStart(currentBlockType_);
  }
}

void DCAPDecodeConsumer::ProcessBlockEnd(unsigned long /*trailer*/) {
  for (BlockEventHandler* handler : blockEventHandlers_) {
    handler->ProcessBlockEnd(currentBlockType_);
  }
}

void DCAPDecodeConsumer::ProcessFrameNumber(unsigned int /*frameNumber*/) {}

// Decoders hear of a thread change whether or not they claim the call that brings it.

void DCAPDecodeConsumer::ProcessMethodCall(const SubBlockHeader& header, const MethodCallDesc& desc,
                                           const unsigned char* data, unsigned int size) {
  const auto id = static_cast<ApiCallType>(desc.callId);
  for (Decoder* decoder : decoders_) {
    if (threadIdsPresent_) decoder->SetCurrentThreadId(header.threadId);
    if (decoder->SupportsId(id)) decoder->ProcessMethodCall(id, desc.objectValue, data, size);
  }
}

void DCAPDecodeConsumer::ProcessFunctionCall(const SubBlockHeader& header,
                                             const FunctionCallDesc& desc,
                                             const unsigned char* data, unsigned int size) {
  const auto id = static_cast<ApiCallType>(desc.callId);
  for (Decoder* decoder : decoders_) {
    if (threadIdsPresent_) decoder->SetCurrentThreadId(header.threadId);
    if (decoder->SupportsId(id)) decoder->ProcessFunctionCall(id, data, size);
  }
}

void DCAPDecodeConsumer::ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                                         const unsigned char* data, unsigned int size) {
  if (threadIdsPresent_) metaDecoder_.SetCurrentThreadId(header.threadId);
  metaDecoder_.ProcessMetadata(desc.type, desc.subtype, data, size);
}

}  // namespace Data
