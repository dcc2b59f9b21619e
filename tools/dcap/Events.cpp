#include "Events.h"

#include <stdexcept>

EventConsumer::EventConsumer(EventHandler* handler) : handler_(handler) {
  eglDecoder_.AddAdapter(AsEGLAdapter());
  glDecoder_.AddAdapter(AsGLAdapter());
  metaDecoder_.AddHandler(this);
}

void EventConsumer::ProcessFileStart(const Data::FileHeader& header) {
  context_.hasThread = (header.optionMask & Data::kOptionThreadIds) != 0;
  handler_->FileStart(header);
}

void EventConsumer::ProcessFrameNumber(unsigned int frameNumber) {
  context_.setUp = blockHeader_.type != Data::kBlockFrame;
  context_.frameOrdinal += context_.setUp ? 0 : 1;
  context_.blockNumber = frameNumber;
  nextIndex_ = 0;
  handler_->Block(context_, blockHeader_);
}

void EventConsumer::ProcessFunctionCall(const Data::SubBlockHeader& header,
                                        const Data::FunctionCallDesc& desc,
                                        const unsigned char* data, unsigned int size) {
  context_.threadId = header.threadId;
  context_.callIndex = nextIndex_++;
  const auto id = static_cast<Data::ApiCallType>(desc.callId);
  if (glDecoder_.SupportsId(id)) {
    glDecoder_.ProcessFunctionCall(id, data, size);
  } else if (eglDecoder_.SupportsId(id)) {
    eglDecoder_.ProcessFunctionCall(id, data, size);
  }
}

void EventConsumer::ProcessMetadata(const Data::SubBlockHeader& header,
                                    const Data::MetadataDesc& desc, const unsigned char* data,
                                    unsigned int size) {
  context_.threadId = header.threadId;
  context_.callIndex = nextIndex_++;
  try {
    metaDecoder_.ProcessMetadata(desc.type, desc.subtype, data, size);
  } catch (const std::logic_error&) {
    DisplayMessage("");  // the decoder throws this for an empty message, and for nothing else
  }
}
