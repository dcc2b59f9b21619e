#include "Data/DCAPDecodeConsumer.h"

#include "Core/Detail/ExactClass.h"
#include "Data/ApiCallType.h"
#include "Data/Detail/Format.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

namespace Data {

DCAPKIT_CLASS_TABLE(kGLDecoderTable, "N4Data9GLDecoderE");
DCAPKIT_CLASS_TABLE(kEGLDecoderTable, "N4Data10EGLDecoderE");

namespace {

// Take the places of removed listeners (`Data/Registry.h`).
class Deaf : public BlockEventHandler {
  void ProcessBlockStart(uint32_t /*blockType*/) override {}
  void ProcessBlockEnd(uint32_t /*blockType*/) override {}
} deaf;

class Idle : public Decoder {
  bool SupportsId(ApiCallType /*id*/) override { return false; }
  void ProcessFunctionCall(ApiCallType /*id*/, const uint8_t* /*data*/,
                           uint32_t /*size*/) override {}
  void ProcessMethodCall(ApiCallType /*id*/, uint32_t /*value*/, const uint8_t* /*data*/,
                         uint32_t /*size*/) override {}
  void ProcessThreadChange(uint32_t /*threadId*/) override {}
} idle;

}  // namespace

DCAPDecodeConsumer::DCAPDecodeConsumer() : blockEventHandlers_(&deaf), decoders_(&idle) {}

DCAPDecodeConsumer::~DCAPDecodeConsumer() = default;

void DCAPDecodeConsumer::AddDecoder(Decoder* decoder) { decoders_.Add(decoder); }

void DCAPDecodeConsumer::RemoveDecoder(Decoder* decoder) { decoders_.Remove(decoder); }

void DCAPDecodeConsumer::AddBlockEventHandler(BlockEventHandler* handler) {
  blockEventHandlers_.Add(handler);
}

void DCAPDecodeConsumer::RemoveBlockEventHandler(BlockEventHandler* handler) {
  blockEventHandlers_.Remove(handler);
}

void DCAPDecodeConsumer::AddMetaHandler(MetaHandler* handler) { metaDecoder_.AddHandler(handler); }

void DCAPDecodeConsumer::RemoveMetaHandler(MetaHandler* handler) {
  metaDecoder_.RemoveHandler(handler);
}

void DCAPDecodeConsumer::ProcessFileStart(const FileHeader& header) {
  threadIdsPresent_ = HasThreadIds(header.optionMask);
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
    if (decoder->SupportsId(id)) {
      decoder->ProcessMethodCall(id, desc.objectValue, data, size);
    }
  }
}

// The library's own decoders, not those derived from them, claim known identifiers and are called
// straight: two virtual calls for each decoder are dear beside a small call. They are recognised
// here and not in AddDecoder, where the object may not be constructed yet.
void DCAPDecodeConsumer::ProcessFunctionCall(const SubBlockHeader& header,
                                             const FunctionCallDesc& desc,
                                             const unsigned char* data, unsigned int size) {
  const auto id = static_cast<ApiCallType>(desc.callId);
  // Copies: for all that the compiler knows, a decoder changes the originals, so it would load them
  // anew.
  const uint32_t callId = desc.callId;
  const uint32_t threadId = header.threadId;
  const bool threadIdsPresent = threadIdsPresent_;
  for (Decoder* decoder : decoders_) {
    if (threadIdsPresent) decoder->SetCurrentThreadId(threadId);
    if (Core::IsExactly(decoder, kGLDecoderTable)) {
      if (callId - kFirstGLCall < kGLCallIds) {
        static_cast<GLDecoder*>(decoder)->GLDecoder::ProcessFunctionCall(id, data, size);
      }
    } else if (Core::IsExactly(decoder, kEGLDecoderTable)) {
      if (callId - kFirstEGLCall < kEGLCallIds) {
        static_cast<EGLDecoder*>(decoder)->EGLDecoder::ProcessFunctionCall(id, data, size);
      }
    } else if (decoder->SupportsId(id)) {
      decoder->ProcessFunctionCall(id, data, size);
    }
  }
}

void DCAPDecodeConsumer::ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                                         const unsigned char* data, unsigned int size) {
  if (threadIdsPresent_) metaDecoder_.SetCurrentThreadId(header.threadId);
  metaDecoder_.ProcessMetadata(desc.type, desc.subtype, data, size);
}

}  // namespace Data
