// A capture as a stream of events.
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

/// The place of an event in the capture.
struct EventContext {
  uint32_t frameOrdinal = 0;  ///< counted from 1; 0 before the first frame block
  uint32_t blockNumber = 0;   ///< sequence number of the block, as recorded
  bool setUp = false;         ///< in a type-2 block
  bool hasThread = false;     ///< the capture records threads
  uint32_t threadId = 0;
  uint32_t callIndex = 0;  ///< of the call or record within its block, counted from 0
};

/// Receives the events of a capture in the order of the file. Arguments are borrowed until the
/// operation returns.
class EventHandler {
 public:
  virtual ~EventHandler() = default;
  virtual void FileStart(const Data::FileHeader& /*header*/) {}
  /// At the start of every processed block.
  virtual void Block(const EventContext& /*context*/, const Data::BlockHeader& /*header*/) {}
  virtual void Call(const EventContext& /*context*/, const Data::CallDesc& /*call*/,
                    std::span<const Data::CallValue> /*values*/) {}
  /// Called before a call is decoded. A handler that needs no values returns true, having handled
  /// the call; `Call` is not called then.
  virtual bool HandleUndecoded(const EventContext& /*context*/, Data::ApiCallType /*id*/,
                               std::span<const unsigned char> /*payload*/) {
    return false;
  }
  /// Client memory of the call that follows.
  virtual void ClientData(const EventContext& /*context*/, const Data::CallDesc& /*operation*/,
                          std::span<const Data::CallValue> /*values*/) {}
  virtual void Metadata(const EventContext& /*context*/, const MetaRecord& /*record*/) {}
};

/// Decodes the selected calls and records that a processor reads, and hands them to an
/// `EventHandler`. The others are not decoded, so that the library logs nothing about them. Borrows
/// handler and selection.
class EventConsumer final : public Data::DCAPConsumer,
                            private Data::GenericAdapter,
                            private MetaFlattener {
 public:
  explicit EventConsumer(EventHandler* handler,
                         const Selection* selection = &Selection::Everything());
  /// Frees the client memory of a draw call that an exception cut short: the decoder does not.
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

  /// Tells that the next block comes after `frames` frames, the last of which has the sequence
  /// number `number`, and that the start of the file has been handled.
  void ContinueAfter(uint32_t frames, uint32_t number) {
    context_.frameOrdinal = frames;
    frameNumber_ = number;
    startIsHandled_ = true;
  }

  [[nodiscard]] const EventContext& Context() const { return context_; }
  /// Sequence number of the latest frame; its ordinal is in the context.
  [[nodiscard]] uint32_t FrameNumber() const { return frameNumber_; }
  /// True when that frame has not ended.
  [[nodiscard]] bool IsInFrame() const { return isInFrame_; }
  /// True when nothing that follows is selected. To be asked between two blocks.
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
