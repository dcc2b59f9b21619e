#include "inspect/copy/CaptureCopy.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>

#include "Core/Exceptions.h"
#include "Core/Log.h"

namespace Inspect {

namespace {

std::string DescribeOptions(uint32_t options, uint32_t firstOptions, const std::string& firstName) {
  std::array<char, 40> masks{};
  std::snprintf(masks.data(), masks.size(), "0x%08x, not 0x%08x", options, firstOptions);
  return std::string("Its options are ") + masks.data() + " as those of " + firstName + ".";
}

}  // namespace

OptionsError::OptionsError(uint32_t hasOptions, uint32_t firstHasOptions,
                           const std::string& firstName)
    : BasicException(DescribeOptions(hasOptions, firstHasOptions, firstName)),
      options(hasOptions),
      firstOptions(firstHasOptions) {}

CaptureCopy::CaptureCopy(std::shared_ptr<Core::DataWriter> output, CopySettings settings)
    : output_(std::move(output)),
      settings_(std::move(settings)),
      selectsAllOfFrames_(settings_.selection.threads.IsAll() &&
                          settings_.selection.SelectsAllCalls()) {}

void CaptureCopy::Append(const Capture& capture, const std::string& name, ProgressSink* progress) {
  reader_.emplace(capture.Reader());
  frameOrdinal_ = 0;
  inFrame_ = false;
  Begin(name);
  try {
    CopyBlocks(progress);
    reader_.reset();
  } catch (const std::exception& exception) {
    if (exception.what() == Data::DCAPFileWriter::WriteFailMsg) throw;
    throw DamageError(CurrentDamage(Where()));
  }
}

void CaptureCopy::CopyBlocks(ProgressSink* progress) {
  const uint32_t last = settings_.selection.LastFrame();
  while ((frameOrdinal_ == 0 || frameOrdinal_ < last) && reader_->NextBlock()) {
    if (reader_->Block().type == Data::kBlockFrame) {
      ++frameOrdinal_;
      frameNumber_ = reader_->FrameNumber();
      inFrame_ = true;
    }
    CopyBlock();
    inFrame_ = false;
    if (progress != nullptr) progress->Show(reader_->Position());
  }
}

void CaptureCopy::Finish() { writer_->Close(); }

// The place to which the latest capture has been read.
Place CaptureCopy::Where() const {
  if (reader_->Position() <= sizeof(Data::FileHeader)) return {};
  return {reader_->Position(), frameOrdinal_, frameNumber_, inFrame_};
}

void CaptureCopy::Begin(const std::string& name) {
  const Data::FileHeader& header = reader_->Header();
  if (writer_) {
    if (header.optionMask == optionMask_) return;
    throw OptionsError(header.optionMask, optionMask_, firstName_);
  }
  firstName_ = name;
  optionMask_ = header.optionMask;
  Data::DCAPWriterOptions options(header);
  const Data::CompressionType compression = options.compression;
  options.compression = settings_.compression.value_or(compression);
  recompresses_ = options.compression != compression;
  if (settings_.trailers) {
    options.optionMask = *settings_.trailers ? optionMask_ & ~Data::kOptionNoTrailers
                                             : optionMask_ | Data::kOptionNoTrailers;
  }
  options.flushBlocks = false;  // the copy is useless until it is complete
  writer_.emplace(output_, options);
}

inline void CaptureCopy::CopySubBlock(const Data::StoredSubBlock& subBlock) {
  if (!recompresses_ || !subBlock.IsCall()) {
    writer_->WriteSubBlock(subBlock.threadId, subBlock.type, subBlock.body, subBlock.size);
    return;
  }
  const auto call = reader_->ReadCall(subBlock);
  if (!call) {
    Core::Log::Print(Core::Log::LogLevel::kError, Core::Log::LogZone::kProcessing, __LINE__,
                     "inspect/copy/CaptureCopy", true,
                     "A compressed call with an invalid decompressed size of 0 is left out.");
    return;
  }
  const auto id = static_cast<Data::ApiCallType>(call->desc.callId);
  if (call->isMethod) {
    writer_->WriteMethodCall(subBlock.threadId, call->desc.objectValue, id, call->payload,
                             call->size);
  } else {
    writer_->WriteFunctionCall(subBlock.threadId, id, call->payload, call->size);
  }
}

void CaptureCopy::CopyBlock() {
  if (frameOrdinal_ != 0 && !settings_.selection.SelectsFrame(frameOrdinal_)) return;
  const uint16_t type = reader_->Block().type;
  if (type == Data::kBlockFrame) {
    writer_->BeginFrame(settings_.renumber ? writer_->FrameCount() + 1 : reader_->FrameNumber());
  } else if (type == Data::kBlockType2) {
    if (frameOrdinal_ == 0 && writer_->FrameCount() != 0 &&
        (optionMask_ & Data::kOptionType2BeforeFirst) != 0 && onSkippedSetUp) {
      onSkippedSetUp();
    }
    writer_->BeginType2Block(reader_->FrameNumber());
  } else {
    writer_->BeginRawBlock(type);
    for (auto piece = reader_->NextPiece(); !piece.empty(); piece = reader_->NextPiece()) {
      writer_->WriteBytes(piece.data(), piece.size());
    }
  }
  Data::StoredSubBlock subBlock{};
  while (reader_->NextSubBlock(&subBlock)) {
    if (selectsAllOfFrames_ || Selects(subBlock)) CopySubBlock(subBlock);
  }
}

bool CaptureCopy::Selects(const Data::StoredSubBlock& subBlock) const {
  const Selection& selection = settings_.selection;
  if (!selection.SelectsThread(subBlock.threadId)) return false;
  if (const auto id = Data::DCAPBlockReader::CallId(subBlock)) return selection.SelectsCall(*id);
  Data::MetadataDesc desc{};
  if (subBlock.type != Data::kSubBlockMetadata || subBlock.size < sizeof(desc)) {
    return selection.SelectsAllCalls();
  }
  std::memcpy(&desc, subBlock.body, sizeof(desc));
  return selection.SelectsMetadata(desc.type, desc.subtype);
}

}  // namespace Inspect
