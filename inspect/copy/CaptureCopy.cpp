#include "inspect/copy/CaptureCopy.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

#include "Core/Exceptions.h"
#include "Core/Log.h"
#include "Data/Capture/DCAPBlockReader.h"
#include "Data/Capture/DCAPFileWriter.h"

#include "Command.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"
#include "output/Output.h"
#include "output/OutputFile.h"
#include "output/Progress.h"

namespace {

class Copier {
 public:
  explicit Copier(const CopySettings& settings) : settings_(settings), output_(settings.output) {}

  /// Appends the capture at `path`.
  void Append(const std::string& path);
  void Finish();

  /// Of the captures so far.
  [[nodiscard]] int Status() const { return status_; }
  /// How far the latest capture has been read.
  [[nodiscard]] Place Where() const;

 private:
  void Begin(const std::string& path);
  [[nodiscard]] std::string Advice(uint32_t optionMask) const;
  void CopyBlock(const std::string& path);
  void CopySubBlock(const Data::StoredSubBlock& subBlock);
  [[nodiscard]] bool Selects(const Data::StoredSubBlock& subBlock) const;

  const CopySettings& settings_;
  OutputFile output_;
  std::optional<Data::DCAPFileWriter> writer_;
  std::optional<Data::DCAPBlockReader> reader_;
  std::string firstPath_;
  uint32_t optionMask_ = 0;    // of the captures
  bool recompresses_ = false;  // the output is compressed otherwise than the captures
  uint32_t frameOrdinal_ = 0;  // in the capture that is read
  uint32_t frameNumber_ = 0;   // recorded, of that frame
  bool inFrame_ = false;       // it has not been copied yet
  int status_ = kExitOk;
};

void Copier::Append(const std::string& path) {
  reader_.reset();
  const Capture capture(path);
  capture.ReportState();
  if (capture.Status() != kExitOk) status_ = capture.Status();
  reader_.emplace(capture.Reader());
  frameOrdinal_ = 0;
  inFrame_ = false;
  try {
    Begin(path);
    Progress progress(path, capture.Reader()->Size());
    const uint32_t last = settings_.selection.LastFrame();
    while ((frameOrdinal_ == 0 || frameOrdinal_ < last) && reader_->NextBlock()) {
      if (reader_->Block().type == Data::kBlockFrame) {
        ++frameOrdinal_;
        frameNumber_ = reader_->FrameNumber();
        inFrame_ = true;
      }
      CopyBlock(path);
      inFrame_ = false;
      progress.Show(reader_->Position());
    }
  } catch (const Core::BasicException& exception) {
    if (exception.what() == Data::DCAPFileWriter::WriteFailMsg) output_.Fail();
    throw;
  }
}

void Copier::Finish() {
  try {
    writer_->Close();
  } catch (const Core::BasicException&) {
    output_.Fail();
  }
  output_.Commit();
}

Place Copier::Where() const {
  if (!reader_ || reader_->Position() <= sizeof(Data::FileHeader)) return {};
  return {reader_->Position(), frameOrdinal_, frameNumber_, inFrame_};
}

void Copier::Begin(const std::string& path) {
  const Data::FileHeader& header = reader_->Header();
  if (writer_) {
    if (header.optionMask == optionMask_) return;
    char masks[40];
    std::snprintf(masks, sizeof(masks), "0x%08x, not 0x%08x", header.optionMask, optionMask_);
    throw std::invalid_argument(std::string("Its options are ") + masks + " as those of " +
                                firstPath_ + "." + Advice(header.optionMask));
  }
  firstPath_ = path;
  optionMask_ = header.optionMask;
  Data::DCAPWriterOptions options(header);
  const Data::CompressionType compression = options.compression;
  options.compression = settings_.compression.value_or(compression);
  recompresses_ = options.compression != compression;
  if (settings_.trailers) {
    options.optionMask = *settings_.trailers ? optionMask_ & ~Data::kOptionNoTrailers
                                             : optionMask_ | Data::kOptionNoTrailers;
  }
  options.flushBlocks = false;  // nobody sees the file before it is complete
  writer_.emplace(output_.Writer(), options);
}

// How a capture gets the options of the first one, if it can.
std::string Copier::Advice(uint32_t optionMask) const {
  constexpr uint32_t kRepacked = Data::kOptionCompressionMask | Data::kOptionNoTrailers;
  if (((optionMask ^ optionMask_) & ~kRepacked) != 0) return "";
  const bool trailers = (optionMask_ & Data::kOptionNoTrailers) == 0;
  return std::string(" First give it to: dcap repack --compression ") +
         CompressionName(optionMask_) + (trailers ? " --trailers" : " --no-trailers");
}

void Copier::CopyBlock(const std::string& path) {
  if (frameOrdinal_ != 0 && !settings_.selection.SelectsFrame(frameOrdinal_)) return;
  const uint16_t type = reader_->Block().type;
  if (type == Data::kBlockFrame) {
    writer_->BeginFrame(settings_.renumber ? writer_->FrameCount() + 1 : reader_->FrameNumber());
  } else if (type == Data::kBlockType2) {
    if (frameOrdinal_ == 0 && writer_->FrameCount() != 0 &&
        (optionMask_ & Data::kOptionType2BeforeFirst) != 0) {
      Progress::Hide();
      std::fprintf(stderr,
                   "dcap: %s: its set-up calls now come after frames, where readers skip "
                   "them\n",
                   path.c_str());
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
    if (Selects(subBlock)) CopySubBlock(subBlock);
  }
}

bool Copier::Selects(const Data::StoredSubBlock& subBlock) const {
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

void Copier::CopySubBlock(const Data::StoredSubBlock& subBlock) {
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

}  // namespace

int CopyCaptures(const std::vector<std::string>& paths, const CopySettings& settings) {
  std::string name;
  std::optional<Copier> copier;
  try {
    copier.emplace(settings);
    for (const std::string& path : paths) {
      name = path;
      copier->Append(path);
    }
    copier->Finish();
    return copier->Status();
  } catch (const Core::ErrnoException& exception) {
    return ReportOutputError(exception);
  } catch (const std::bad_alloc&) {
    return ReportDamage(name, copier->Where(), kTooLargeMsg);
  } catch (const std::exception& exception) {
    return ReportDamage(name, copier ? copier->Where() : Place{}, exception.what());
  }
  return kExitFailure;
}
