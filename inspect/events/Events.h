// A capture as the stream of events that the tool's commands work on.
#ifndef DCAP_INSPECT_EVENTS_H
#define DCAP_INSPECT_EVENTS_H

#include <cstdint>
#include <span>

#include "Data/Calls/GenericAdapter.h"
#include "Data/DCAPConsumer.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"
#include "Data/MetaDecoder.h"

#include "inspect/events/MetaRecord.h"
#include "inspect/events/Selection.h"

namespace Inspect {

/// Where in the capture an event stands.
struct EventContext {
  uint32_t frameOrdinal = 0;  ///< counted from 1; 0 before the first frame block
  uint32_t blockNumber = 0;   ///< sequence number of the block, as recorded
  bool setUp = false;         ///< in a type-2 block
  bool hasThread = false;     ///< the capture records threads
  uint32_t threadId = 0;
  uint32_t callIndex = 0;  ///< of the call or record within its block, counted from 0
};

/// Receives the events of a capture in file order. Arguments are borrowed.
class EventHandler {
 public:
  virtual ~EventHandler() = default;
  virtual void FileStart(const Data::FileHeader& /*header*/) {}
  /// At the start of every processed block.
  virtual void Block(const EventContext& /*context*/, const Data::BlockHeader& /*header*/) {}
  virtual void Call(const EventContext& /*context*/, const Data::CallDesc& /*call*/,
                    std::span<const Data::CallValue> /*values*/) {}
  /// Called before a call is decoded. A handler that knows what would come of that payload handles
  /// it right here and returns true, and `Call` is not called.
  virtual bool HandleUndecoded(const EventContext& /*context*/, Data::ApiCallType /*id*/,
                               std::span<const unsigned char> /*payload*/) {
    return false;
  }
  /// Client memory of the call that follows.
  virtual void ClientData(const EventContext& /*context*/, const Data::CallDesc& /*operation*/,
                          std::span<const Data::CallValue> /*values*/) {}
  virtual void Metadata(const EventContext& /*context*/, const MetaRecord& /*record*/) {}
};

/// Decodes what is selected of what a processor reads and hands it to an `EventHandler`. Handler
/// and selection are borrowed. Nothing else is decoded, and logs nothing.
class EventConsumer final : public Data::DCAPConsumer,
                            private Data::GenericAdapter,
                            private MetaFlattener {
 public:
  explicit EventConsumer(EventHandler* handler,
                         const Selection* selection = &Selection::Everything());
  /// Frees what a draw call left behind that an exception cut short; the decoder itself does not.
  ~EventConsumer() override { glDecoder_.DestroyVertexAttribArrayData(); }
  EventConsumer(const EventConsumer&) = delete;
  EventConsumer& operator=(const EventConsumer&) = delete;

  void ProcessFileStart(const Data::FileHeader& header) override;
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader& header) override { blockHeader_ = header; }
  void ProcessBlockEnd(unsigned long /*trailer*/) override { isInFrame_ = false; }
  void ProcessFrameNumber(unsigned int frameNumber) override;
  void ProcessMethodCall(const Data::SubBlockHeader& /*header*/,
                         const Data::MethodCallDesc& /*desc*/, const unsigned char* /*data*/,
                         unsigned int /*size*/) override {}
  void ProcessFunctionCall(const Data::SubBlockHeader& header, const Data::FunctionCallDesc& desc,
                           const unsigned char* data, unsigned int size) override;
  void ProcessMetadata(const Data::SubBlockHeader& header, const Data::MetadataDesc& desc,
                       const unsigned char* data, unsigned int size) override;

  /// The next block comes after that many frames of the capture, the last of which has that
  /// sequence number. The start of the file needs no handling any more.
  void ContinueAfter(uint32_t frames, uint32_t number) {
    context_.frameOrdinal = frames;
    frameNumber_ = number;
    startIsHandled_ = true;
  }

  [[nodiscard]] const EventContext& Context() const { return context_; }
  /// Sequence number of the frame whose ordinal the context tells.
  [[nodiscard]] uint32_t FrameNumber() const { return frameNumber_; }
  /// That frame has not ended.
  [[nodiscard]] bool IsInFrame() const { return isInFrame_; }
  /// Between two blocks: nothing that follows is selected.
  [[nodiscard]] bool IsFinished() const {
    return context_.frameOrdinal != 0 && context_.frameOrdinal >= selection_->LastFrame();
  }

 private:
  bool EnterSubBlock(const Data::SubBlockHeader& header);

  void ProcessCall(const Data::CallDesc& call, std::span<const Data::CallValue> values) override {
    handler_->Call(context_, call, values);
  }
  void ProcessClientData(const Data::CallDesc& operation,
                         std::span<const Data::CallValue> values) override {
    handler_->ClientData(context_, operation, values);
  }
  void Record(const MetaRecord& record) override { handler_->Metadata(context_, record); }

  EventHandler* handler_;
  const Selection* selection_;
  EventContext context_;
  uint32_t nextIndex_ = 0;
  uint32_t frameNumber_ = 0;
  bool isInFrame_ = false;
  bool startIsHandled_ = false;
  bool blockIsSelected_ = false;
  bool everyThreadIsSelected_;
  Data::BlockHeader blockHeader_ = {};
  Data::EGLDecoder eglDecoder_;
  Data::GLDecoder glDecoder_;
  Data::MetaDecoder metaDecoder_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_EVENTS_H
