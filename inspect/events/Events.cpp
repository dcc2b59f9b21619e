#include "inspect/events/Events.h"

#include <stdexcept>

namespace Inspect {

EventConsumer::EventConsumer(EventHandler* handler, const Selection* selection)
    : handler_(handler), selection_(selection), everyThreadIsSelected_(selection->threads.IsAll()) {
  eglDecoder_.AddAdapter(AsEGLAdapter());
  glDecoder_.AddAdapter(AsGLAdapter());
  metaDecoder_.AddHandler(this);
}

void EventConsumer::ProcessFileStart(const Data::FileHeader& header) {
  context_.hasThread = (header.optionMask & Data::kOptionThreadIds) != 0;
  if (!startIsHandled_) handler_->FileStart(header);
}

void EventConsumer::ProcessFrameNumber(unsigned int frameNumber) {
  context_.setUp = blockHeader_.type != Data::kBlockFrame;
  if (!context_.setUp) {
    ++context_.frameOrdinal;
    frameNumber_ = frameNumber;
    isInFrame_ = true;
  }
  context_.blockNumber = frameNumber;
  nextIndex_ = 0;
  blockIsSelected_ = selection_->SelectsFrame(context_.frameOrdinal);
  if (blockIsSelected_) {
    handler_->Block(context_, blockHeader_);
  }
}

// Counts the sub-block. True when frame and thread are selected.
inline bool EventConsumer::EnterSubBlock(const Data::SubBlockHeader& header) {
  context_.threadId = header.threadId;
  context_.callIndex = nextIndex_++;
  return blockIsSelected_ && (everyThreadIsSelected_ || selection_->SelectsThread(header.threadId));
}

void EventConsumer::ProcessFunctionCall(const Data::SubBlockHeader& header,
                                        const Data::FunctionCallDesc& desc,
                                        const unsigned char* data, unsigned int size) {
  const auto id = static_cast<Data::ApiCallType>(desc.callId);
  if (!EnterSubBlock(header) || !selection_->SelectsCall(id)) {
    return;
  }
  if (handler_->HandleUndecoded(context_, id, {data, size})) {
    return;
  }
  if (glDecoder_.SupportsId(id)) {
    glDecoder_.ProcessFunctionCall(id, data, size);
  } else if (eglDecoder_.SupportsId(id)) {
    eglDecoder_.ProcessFunctionCall(id, data, size);
  }
}

void EventConsumer::ProcessMetadata(const Data::SubBlockHeader& header,
                                    const Data::MetadataDesc& desc, const unsigned char* data,
                                    unsigned int size) {
  if (!EnterSubBlock(header) || !selection_->SelectsMetadata(desc.type, desc.subtype)) {
    return;
  }
  try {
    metaDecoder_.ProcessMetadata(desc.type, desc.subtype, data, size);
  } catch (const std::logic_error&) {
    DisplayMessage("");  // the decoder throws this for an empty message, and for nothing else
  }
}

}  // namespace Inspect
