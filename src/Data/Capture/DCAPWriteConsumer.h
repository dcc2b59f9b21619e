// A consumer that writes what a file processor reads.
#ifndef DCAPKIT_DATA_DCAPWRITECONSUMER_H
#define DCAPKIT_DATA_DCAPWRITECONSUMER_H

#include <memory>
#include <optional>

#include "Core/DataWriter.h"
#include "Core/Export.h"
#include "Data/Capture/DCAPFileWriter.h"
#include "Data/DCAPConsumer.h"

namespace Data {

/// Copies a capture. Derived classes filter it without decoding anything:
///
///     class DropErrorQueries : public Data::DCAPWriteConsumer {
///      public:
///       using DCAPWriteConsumer::DCAPWriteConsumer;
///       void ProcessFunctionCall(const Data::SubBlockHeader& header,
///                                const Data::FunctionCallDesc& desc, const unsigned char* data,
///                                unsigned int size) override {
///         if (desc.callId != static_cast<uint16_t>(Data::ApiCallType::glGetError)) {
///           DCAPWriteConsumer::ProcessFunctionCall(header, desc, data, size);
///         }
///       }
///     };
///
///     DropErrorQueries filter(std::make_shared<Core::StdioWriter>(output, false, true));
///     processor.Initialize(&filter, reader, 0);
///     while (processor.ProcessNextFrame()) {
///     }
///     filter.Close();
///
/// It writes blocks and sub-blocks as the processor passes them on, and compresses payloads again
/// that the processor decompressed if the output is to be compressed. Everything that the processor
/// skips is lost: type-2 blocks that are not processed, and blocks and sub-blocks of unknown types.
/// `DCAPBlockReader` shows those too.
class DCAPKIT_API DCAPWriteConsumer : public DCAPConsumer {
 public:
  /// Writes to `output`, which must be empty, a capture with the options of the one that is read.
  explicit DCAPWriteConsumer(std::shared_ptr<Core::DataWriter> output);
  ~DCAPWriteConsumer() override;

  /// Returns the options of the output, given the header of the input. Override it to choose
  /// others.
  [[nodiscard]] virtual DCAPWriterOptions ChooseOptions(const FileHeader& header) const;

  /// Finishes the capture; without it the capture stays unfinished. Call it when processing has
  /// ended, since the end of a stream is not always reported. A frame that was cut short ends with
  /// its last whole sub-block.
  void Close();

  // The processor calls these. They throw what `DCAPFileWriter` throws.
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

 protected:
  /// The writer, for sub-blocks that a derived class adds. Null before `ProcessFileStart`.
  DCAPFileWriter* Writer() noexcept { return writer_ ? &*writer_ : nullptr; }

 private:
  std::shared_ptr<Core::DataWriter> output_;
  std::optional<DCAPFileWriter> writer_;
  uint16_t blockType_ = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPWRITECONSUMER_H
