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
/// What the processor passes on is written as it comes: payloads that it decompressed are
/// compressed again if the output is to be compressed. What it skips is lost: type-2 blocks that
/// are not processed, and blocks and sub-blocks of unknown types. `DCAPBlockReader` shows those
/// too.
class DCAPKIT_API DCAPWriteConsumer : public DCAPConsumer {
 public:
  /// The capture is to be written to `output`, which must be empty, and to be like the one that is
  /// read.
  explicit DCAPWriteConsumer(std::shared_ptr<Core::DataWriter> output);
  ~DCAPWriteConsumer() override;

  /// What the capture is to be like; override it to make it unlike the one that is read.
  [[nodiscard]] virtual DCAPWriterOptions ChooseOptions(const FileHeader& header) const;

  /// Finishes the capture. To be called when processing has ended, since the end of a stream is not
  /// always reported; a frame that was cut short ends with its last whole sub-block. Without it the
  /// capture stays unfinished.
  void Close();

  // Errors are those of `DCAPFileWriter`.
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
  /// The writer, for what a derived class adds. Null before `ProcessFileStart`.
  DCAPFileWriter* Writer() noexcept { return writer_ ? &*writer_ : nullptr; }

 private:
  std::shared_ptr<Core::DataWriter> output_;
  std::optional<DCAPFileWriter> writer_;
  uint16_t blockType_ = 0;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_DCAPWRITECONSUMER_H
