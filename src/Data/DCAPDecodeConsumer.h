// The consumer that routes the contents of a capture to decoders and handlers.
#ifndef DCAPKIT_DATA_DCAPDECODECONSUMER_H
#define DCAPKIT_DATA_DCAPDECODECONSUMER_H

#include <cstdint>

#include "Core/Export.h"
#include "Data/BlockEventHandler.h"
#include "Data/DCAPConsumer.h"
#include "Data/Decoder.h"
#include "Data/MetaDecoder.h"
#include "Data/Registry.h"

namespace Data {

/// Takes a capture apart for those who want typed calls:
///
///     Data::GLDecoder decoder;
///     decoder.AddAdapter(&myGLAdapter);
///     Data::DCAPDecodeConsumer consumer;
///     consumer.AddDecoder(&decoder);
///     consumer.AddMetaHandler(&myMetaHandler);
///     processor.Initialize(&consumer, reader, 0);
///
/// Every call goes to all decoders that claim its identifier; a call that none claims is dropped.
/// Metadata goes through a `MetaDecoder` of its own to the meta handlers, block boundaries to the
/// block event handlers. When the capture records thread ids, decoders and meta handlers hear of a
/// thread change before the call or record that brings it; a capture starts on thread 0, so that
/// nobody hears of that one. File ends and frame numbers go nowhere: derive and override to receive
/// them.
///
/// The consumer borrows listeners, which must outlive their registration but may be registered
/// before they are constructed. It serves listeners in the order of registration. An object
/// registered twice is served twice, and removing it removes the first entry only; removing an
/// object that is not there does nothing. Null must not be registered.
///
/// Do not register or remove from inside an operation that the consumer calls. If it happens,
/// nothing that was removed is called again, and a new listener is served from the next call,
/// record or block boundary on at the latest; the one at hand may miss a listener.
///
/// A consumer may serve one capture after another. Registrations persist, and so does the thread
/// that decoders and meta handlers know of.
class DCAPKIT_API DCAPDecodeConsumer : public DCAPConsumer {
 public:
  DCAPDecodeConsumer();
  ~DCAPDecodeConsumer() override;
  DCAPDecodeConsumer(const DCAPDecodeConsumer&) = delete;
  DCAPDecodeConsumer& operator=(const DCAPDecodeConsumer&) = delete;

  void AddDecoder(Decoder* decoder);
  void RemoveDecoder(Decoder* decoder);
  void AddBlockEventHandler(BlockEventHandler* handler);
  void RemoveBlockEventHandler(BlockEventHandler* handler);
  void AddMetaHandler(MetaHandler* handler);
  void RemoveMetaHandler(MetaHandler* handler);

  // The processor calls these. They throw only what decoders and handlers throw.
  void ProcessFileStart(const FileHeader& header) override;
  void ProcessFileEnd() override;
  void ProcessBlockStart(const BlockHeader& header) override;
  void ProcessBlockEnd(unsigned long trailer) override;
  void ProcessFrameNumber(unsigned int frameNumber) override;
  void ProcessMethodCall(const SubBlockHeader& header, const MethodCallDesc& desc,
                         const unsigned char* data, unsigned int size) override;
  void ProcessFunctionCall(const SubBlockHeader& header, const FunctionCallDesc& desc,
                           const unsigned char* data, unsigned int size) override;
  void ProcessMetadata(const SubBlockHeader& header, const MetadataDesc& desc,
                       const unsigned char* data, unsigned int size) override;

 private:
  bool threadIdsPresent_ = false;
  uint32_t currentBlockType_ = 0;
  Registry<BlockEventHandler> blockEventHandlers_;
  Registry<Decoder> decoders_;
  MetaDecoder metaDecoder_;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPDECODECONSUMER_H
