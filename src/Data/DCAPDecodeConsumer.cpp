#include "Data/DCAPDecodeConsumer.h"

#include <algorithm>
#include <typeinfo>

#include "Data/ApiCallType.h"
#include "Data/Calls/Detail/CallDescriptions.h"
#include "Data/Detail/Registry.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

namespace Data {

DCAPDecodeConsumer::DCAPDecodeConsumer() = default;

DCAPDecodeConsumer::~DCAPDecodeConsumer() = default;

// The library's own decoders, not what is derived from them, claim what is known here and are
// called straight: two virtual calls for each decoder are dear beside a small call.
void DCAPDecodeConsumer::AddDecoder(Decoder* decoder) {
  Route route{decoder, 0, UINT32_MAX, DecoderKind::kOther};
  if (decoder == nullptr) {
    // Appended like any other: only a call that reaches it is an error.
  } else if (typeid(*decoder) == typeid(GLDecoder)) {
    route = {decoder, kFirstGLCall, kGLCallIds, DecoderKind::kGL};
  } else if (typeid(*decoder) == typeid(EGLDecoder)) {
    route = {decoder, kFirstEGLCall, kEGLCallIds, DecoderKind::kEGL};
  }
  routes_.push_back(route);
}

void DCAPDecodeConsumer::RemoveDecoder(Decoder* decoder) {
  const auto found = std::ranges::find(routes_, decoder, &Route::decoder);
  if (found != routes_.end()) routes_.erase(found);
}

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
  for (const Route& route : routes_) {
    if (threadIdsPresent_) route.decoder->SetCurrentThreadId(header.threadId);
    if (route.decoder->SupportsId(id)) {
      route.decoder->ProcessMethodCall(id, desc.objectValue, data, size);
    }
  }
}

void DCAPDecodeConsumer::ProcessFunctionCall(const SubBlockHeader& header,
                                             const FunctionCallDesc& desc,
                                             const unsigned char* data, unsigned int size) {
  const auto id = static_cast<ApiCallType>(desc.callId);
  // Copies, since every call of a decoder might change what the references lead to.
  const uint32_t callId = desc.callId;
  const uint32_t threadId = header.threadId;
  const bool threadIdsPresent = threadIdsPresent_;
  for (const Route& route : routes_) {
    Decoder* decoder = route.decoder;
    if (threadIdsPresent) decoder->SetCurrentThreadId(threadId);
    if (callId - route.firstId >= route.idCount) continue;
    switch (route.kind) {
      case DecoderKind::kGL:
        static_cast<GLDecoder*>(decoder)->GLDecoder::ProcessFunctionCall(id, data, size);
        break;
      case DecoderKind::kEGL:
        static_cast<EGLDecoder*>(decoder)->EGLDecoder::ProcessFunctionCall(id, data, size);
        break;
      case DecoderKind::kOther:
        if (decoder->SupportsId(id)) decoder->ProcessFunctionCall(id, data, size);
    }
  }
}

void DCAPDecodeConsumer::ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                                         const unsigned char* data, unsigned int size) {
  if (threadIdsPresent_) metaDecoder_.SetCurrentThreadId(header.threadId);
  metaDecoder_.ProcessMetadata(desc.type, desc.subtype, data, size);
}

}  // namespace Data
