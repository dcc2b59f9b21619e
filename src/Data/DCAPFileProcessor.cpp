#include "Data/DCAPFileProcessor.h"

#include <algorithm>
#include <optional>
#include <type_traits>
#include <unordered_map>

#include "Core/Exceptions.h"
#include "Core/Log.h"
#include "Data/Detail/BlockWindow.h"
#include "Data/Detail/Compression.h"
#include "Data/Detail/Format.h"

namespace Data {

using Core::Log;

const std::string DCAPFileProcessor::InvalidReaderMsg =
    "DCAP file processing failed: The data reader is invalid.";
const std::string DCAPFileProcessor::FileHeaderFailMsg =
    "DCAP file processing failed: Could not read file header.";
const std::string DCAPFileProcessor::FourCCFailMsg =
    "DCAP file processing failed: Four character code does not match DCAP.";
const std::string DCAPFileProcessor::CompressionTypeFailMsg =
    "DCAP file processing failed: File compressed with an unsupported algorithm.";
const std::string DCAPFileProcessor::DecompressFailMsg =
    "DCAP file processing failed: Could not decompress the API call data.";
const std::string DCAPFileProcessor::BlockHeaderFailMsg =
    "DCAP file processing failed: Could not read block header.";
const std::string DCAPFileProcessor::BlockTrailerMissingMsg =
    "DCAP file processing failed: Block trailer is not present.";
const std::string DCAPFileProcessor::BlockTrailerFailMsg =
    "DCAP file processing failed: Could not read block trailer.";
const std::string DCAPFileProcessor::FrameNumberFailMsg =
    "DCAP file processing failed: Could not read frame sequence number.";
const std::string DCAPFileProcessor::SubBlockHeaderFailMsg =
    "DCAP file processing failed: Could not read sub-block header.";
const std::string DCAPFileProcessor::SubBlockDescFailMsg =
    "DCAP file processing failed: Could not read sub-block desription.";
const std::string DCAPFileProcessor::SubBlockDataFailMsg =
    "DCAP file processing failed: Could not read sub-block data.";

namespace {

constexpr char kUnit[] = "src/Data/DCAPFileProcessor";

void LogEndOfFile() {
  Log::Print(Log::LogLevel::kNotice, Log::LogZone::kProcessing, __LINE__, kUnit, true,
             "Reading past end of DCAP file.");
}

}  // namespace

// One walk. The processor itself has the settings of the caller, which may change meanwhile.
struct DCAPFileProcessor::Walk {
  Walk(const DCAPFileProcessor* caller, DCAPConsumer* receiver,
       const std::shared_ptr<Core::DataReader>& reader)
      : settings(caller), consumer(receiver), window(reader) {}

  void ReadFileHeader(uint64_t actualSize);
  void NoteCompression();
  [[nodiscard]] bool AtEof() const {
    return header.fileSize != 0 ? window.Position() >= header.fileSize : window.AtEof();
  }

  // Whether a type-2 block that comes now is processed unasked.
  [[nodiscard]] bool IsSetUp() const {
    return currentFrame == 0 && (header.optionMask & kOptionType2BeforeFirst) != 0;
  }
  bool SkipBlock(uint32_t size);
  bool ProcessFrameBlock(const BlockHeader& block);
  const unsigned char* TakeBody(const SubBlockHeader& subHeader, uint32_t descSize);
  template <typename Desc, bool kIsPacked>
  void ProcessCall(const SubBlockHeader& subHeader);
  void ProcessMetadata(const SubBlockHeader& subHeader);
  const unsigned char* Aligned(const unsigned char* payload, uint32_t size);

  bool IsThreadFiltered(const SubBlockHeader& subHeader);
  void NoteThread(uint32_t threadId);
  [[nodiscard]] bool FilterDropsThread() const;

  const DCAPFileProcessor* settings;
  DCAPConsumer* consumer;
  BlockWindow window;
  FileHeader header{};
  bool threadIdsPresent = false;
  bool blockTrailersPresent = true;
  std::optional<Inflater> inflater;
  uint32_t currentFrame = 0;   // sequence number of the last type-1 block
  uint32_t lastBlockType = 0;  // of the last block header that was read

  uint32_t lastThreadId = 0;
  uint32_t lastThreadIndex = 0;  // 0 until a thread id was met
  uint32_t threadCount = 0;
  std::unordered_map<uint32_t, uint32_t> threadIndexById;

  std::unique_ptr<unsigned char[]> aligned;  // metadata that lay where words cannot be read
  uint32_t alignedCapacity = 0;
};

DCAPFileProcessor::DCAPFileProcessor() = default;

DCAPFileProcessor::~DCAPFileProcessor() = default;

bool DCAPFileProcessor::Initialize(DCAPConsumer* consumer,
                                   const std::shared_ptr<Core::DataReader>& reader,
                                   uint64_t fileSize) {
  if (walk_ != nullptr) return true;
  if (reader == nullptr || !reader->IsValid()) Fail(InvalidReaderMsg);
  walk_ = std::make_unique<Walk>(this, consumer, reader);
  processNextType2Block = false;
  walk_->ReadFileHeader(fileSize);
  return false;
}

unsigned char DCAPFileProcessor::GetFileVersionMajor() const {
  return walk_ == nullptr ? uint8_t{0} : walk_->header.versionMajor;
}

unsigned char DCAPFileProcessor::GetFileVersionMinor() const {
  return walk_ == nullptr ? uint8_t{0} : walk_->header.versionMinor;
}

bool DCAPFileProcessor::AtEof() const { return walk_ == nullptr || walk_->AtEof(); }

uint64_t DCAPFileProcessor::Position() const {
  return walk_ == nullptr ? 0 : walk_->window.Position();
}

void DCAPFileProcessor::Walk::ReadFileHeader(uint64_t actualSize) {
  FileHeader stored{};
  if (window.ReadOutside(&stored, sizeof(stored)) != sizeof(stored)) Fail(FileHeaderFailMsg);
  if (stored.fourCC != kDCAPFourCC) Fail(FourCCFailMsg);
  if (actualSize != 0 && stored.fileSize != actualSize) {
    Log::Print(Log::LogLevel::kWarning, Log::LogZone::kCompleteness, __LINE__, kUnit, true,
               "File header size field (%d) does not match actual file size (%d).",
               static_cast<int>(stored.fileSize), static_cast<int>(actualSize));
  }
  threadIdsPresent = HasThreadIds(stored.optionMask);
  blockTrailersPresent = HasTrailers(stored.optionMask);
  inflater.emplace(stored.optionMask);
  // Stored only now, so that versions stay 0 for a header that cannot be used.
  header = stored;
  NoteCompression();
  consumer->ProcessFileStart(header);
}

void DCAPFileProcessor::Walk::NoteCompression() {
  if (!inflater->IsNeeded()) return;
  const char* text = CompressionOf(header.optionMask) == kCompressionLZ4
                         ? "DCAP file compressed with LZ4."
                         : "DCAP file compressed with LZ77.";
  Log::Print(Log::LogLevel::kInformation, Log::LogZone::kProcessing, __LINE__, kUnit, true, "%s",
             text);
}

// Blocks ------------------------------------------------------------------------------------------

bool DCAPFileProcessor::ProcessNextBlock() {
  if (walk_ == nullptr) {
    LogEndOfFile();
    return false;
  }
  try {
    return ProcessBlock();
  } catch (...) {
    // The reader may overwrite the shown bytes as soon as somebody else uses it.
    walk_->window.Abandon();
    throw;
  }
}

bool DCAPFileProcessor::ProcessBlock() {
  Walk& walk = *walk_;
  // Asked of the reader, which replaying the frame seeks. It stands here, as nothing is read ahead
  // between two blocks.
  const uint64_t blockStart = walk.window.Reader()->Tell();
  BlockHeader block{};
  if (walk.window.ReadOutside(&block, sizeof(block)) != sizeof(block)) {
    if (!walk.AtEof()) Fail(BlockHeaderFailMsg);
    LogEndOfFile();
    return false;
  }
  walk.lastBlockType = block.type;
  walk.consumer->ProcessBlockStart(block);
  bool more = false;
  switch (block.type) {
    case kBlockFrame:
      more = walk.ProcessFrameBlock(block);
      if (loopFrameNumber != 0 && loopFrameNumber == walk.currentFrame) {
        if (!walk.window.SeekTo(blockStart)) Fail(BlockHeaderFailMsg);
        // For ever: there is no count to run out.
        if (loopRepeatCount == 0) return true;
        more = --loopRepeatCount != 0;
      }
      break;
    case kBlockType2:
      if (processNextType2Block || walk.IsSetUp()) {
        more = walk.ProcessFrameBlock(block);
        processNextType2Block = false;
      } else {
        more = walk.SkipBlock(block.size);
      }
      break;
    default:
      Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                 "Skipping unrecognized block type %d.", block.type);
      more = walk.SkipBlock(block.size);
  }
  if (!more) walk.consumer->ProcessFileEnd();
  return more;
}

bool DCAPFileProcessor::ProcessNextFrame() {
  bool more = false;
  do {
    more = ProcessNextBlock();
  } while (more && walk_->lastBlockType != kBlockFrame);
  return more;
}

void DCAPFileProcessor::ContinueAt(uint64_t position, uint32_t frameNumber) {
  // Threads keep their indices: a jump must not change whom `threadFilter` means, and a walk that
  // goes back meets the same threads again.
  if (walk_ == nullptr || !walk_->window.SeekTo(position)) Fail(BlockHeaderFailMsg);
  walk_->currentFrame = frameNumber;
}

// Leaves out a block, or a sub-block. One that reaches beyond the size in the header has no end to
// go on from, so the walk goes to the end of the stream and says that it stands at that size: this
// ends a capture for AtEof even where the stream is longer. The size is 0 in an unfinished capture,
// where AtEof asks the reader; any skip ends it, as its sizes may not have been written.
bool DCAPFileProcessor::Walk::SkipBlock(uint32_t size) {
  if (window.Position() + size > header.fileSize) {
    window.SkipToEnd(header.fileSize);
  } else {
    window.Skip(size);
  }
  return !AtEof();
}

bool DCAPFileProcessor::Walk::ProcessFrameBlock(const BlockHeader& block) {
  // Every size is compared with `remaining` before it is taken from it, so that no lie makes it
  // wrap.
  uint32_t remaining = block.size;
  window.BeginBlock(block.size);
  if (blockTrailersPresent) {
    if (remaining < kTrailerSize) Fail(BlockTrailerMissingMsg);
    remaining -= kTrailerSize;
  }
  if (remaining < kFrameNumberSize) Fail(FrameNumberFailMsg);
  const auto frameNumber = Load<uint32_t>(window.Take(kFrameNumberSize, FrameNumberFailMsg));
  remaining -= kFrameNumberSize;
  if (block.type == kBlockFrame) currentFrame = frameNumber;
  consumer->ProcessFrameNumber(frameNumber);

  const uint32_t subHeaderSize = SubBlockHeaderSize(threadIdsPresent);
  while (remaining != 0) {
    if (remaining < subHeaderSize) Fail(SubBlockHeaderFailMsg);
    const SubBlockHeader subHeader =
        LoadSubBlockHeader(window.Take(subHeaderSize, SubBlockHeaderFailMsg), threadIdsPresent);
    remaining -= subHeaderSize;
    if (subHeader.size > remaining) {
      // A recorder that died leaves its last frame short; anywhere else the file is damaged.
      if (currentFrame != header.frameCount) Fail(SubBlockDataFailMsg);
      Log::Print(Log::LogLevel::kWarning, Log::LogZone::kCompleteness, __LINE__, kUnit, true,
                 "Last frame is incomplete.");
      return false;
    }
    switch (subHeader.type) {
      case kSubBlockFunctionCall:
        ProcessCall<FunctionCallDesc, false>(subHeader);
        break;
      case kSubBlockMethodCall:
        ProcessCall<MethodCallDesc, false>(subHeader);
        break;
      case kSubBlockCompressedFunctionCall:
        ProcessCall<FunctionCallDesc, true>(subHeader);
        break;
      case kSubBlockCompressedMethodCall:
        ProcessCall<MethodCallDesc, true>(subHeader);
        break;
      case kSubBlockMetadata:
        ProcessMetadata(subHeader);
        break;
      default:
        Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                   "Skipping unrecognized subblock type %d.", subHeader.type);
        SkipBlock(subHeader.size);
    }
    remaining -= subHeader.size;
  }

  unsigned long trailer = 0;
  if (blockTrailersPresent) {
    trailer = Load<unsigned long>(window.Take(kTrailerSize, BlockTrailerFailMsg));
    if (trailer != DCAPFrameTrailer) Fail(BlockTrailerMissingMsg);
  }
  consumer->ProcessBlockEnd(trailer);
  return !AtEof();
}

// Sub-blocks --------------------------------------------------------------------------------------

// Takes a sub-block's description and payload, in one piece.
inline const unsigned char* DCAPFileProcessor::Walk::TakeBody(const SubBlockHeader& subHeader,
                                                              uint32_t descSize) {
  if (subHeader.size < descSize) [[unlikely]] {
    // Whether the stream has the description decides the text, even past the sub-block's end.
    unsigned char desc[kMaxDescSize];
    // Inside the block it is not taken: the position is that of the error.
    const uint64_t inside = std::min<uint64_t>(descSize, window.Left());
    window.Require(inside, SubBlockDescFailMsg);
    const uint64_t missing = descSize - inside;
    const bool isThere = window.ReadOutside(desc, missing) == missing;
    Fail(isThere ? SubBlockDataFailMsg : SubBlockDescFailMsg);
  }
  if (window.Ahead() < subHeader.size) window.Require(descSize, SubBlockDescFailMsg);
  return window.Take(subHeader.size, SubBlockDataFailMsg);
}

// Each kind of call has code of its own, without a branch on the kind.
template <typename Desc, bool kIsPacked>
inline void DCAPFileProcessor::Walk::ProcessCall(const SubBlockHeader& subHeader) {
  constexpr bool kIsMethod = std::is_same_v<Desc, MethodCallDesc>;
  constexpr uint32_t kDescSize = sizeof(Desc) + (kIsPacked ? kInflatedSizeSize : 0);
  const unsigned char* body = TakeBody(subHeader, kDescSize);
  const unsigned char* payload = body + kDescSize;
  uint32_t size = subHeader.size - kDescSize;
  const auto desc = Load<Desc>(body);

  // By pointer, so that plain calls do not pay for a copy of the header.
  const SubBlockHeader* seen = &subHeader;
  [[maybe_unused]] SubBlockHeader plainHeader{};
  if constexpr (kIsPacked) {
    // The consumer sees what an uncompressed sub-block would have said; its size cannot wrap.
    const auto inflatedSize = Load<uint32_t>(body + sizeof(Desc));
    plainHeader = {kIsMethod ? kSubBlockMethodCall : kSubBlockFunctionCall,
                   inflatedSize + std::min<uint32_t>(sizeof(Desc), UINT32_MAX - inflatedSize),
                   subHeader.threadId};
    seen = &plainHeader;
    if (inflater->IsNeeded() && size != 0) {
      if (inflatedSize == 0) {
        Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, __LINE__, kUnit, true,
                   "File contains a compressed API call block reporting an invalid decompressed "
                   "size of 0.  File may be corrupt.");
        return;
      }
      payload = inflater->Inflate(payload, size, inflatedSize);
      size = inflatedSize;
    }
  }
  if (IsThreadFiltered(subHeader)) return;
  if constexpr (kIsMethod) {
    consumer->ProcessMethodCall(*seen, desc, payload, size);
  } else {
    consumer->ProcessFunctionCall(*seen, desc, payload, size);
  }
}

inline void DCAPFileProcessor::Walk::ProcessMetadata(const SubBlockHeader& subHeader) {
  const unsigned char* body = TakeBody(subHeader, sizeof(MetadataDesc));
  // Only now: damage in the calls of a thread that is left out ends processing, too.
  if (IsThreadFiltered(subHeader)) return;
  const uint32_t size = subHeader.size - static_cast<uint32_t>(sizeof(MetadataDesc));
  const unsigned char* payload = Aligned(body + sizeof(MetadataDesc), size);
  consumer->ProcessMetadata(subHeader, Load<MetadataDesc>(body), payload, size);
}

// Decoders hand out arrays where they lie in the payload.
const unsigned char* DCAPFileProcessor::Walk::Aligned(const unsigned char* payload, uint32_t size) {
  if (size == 0 || reinterpret_cast<uintptr_t>(payload) % alignof(uint32_t) == 0) return payload;
  if (alignedCapacity < size) {
    alignedCapacity = 0;  // stays true when there is no memory
    aligned = std::make_unique_for_overwrite<unsigned char[]>(size);
    alignedCapacity = size;
  }
  std::memcpy(aligned.get(), payload, size);
  return aligned.get();
}

// Threads -----------------------------------------------------------------------------------------

inline bool DCAPFileProcessor::Walk::IsThreadFiltered(const SubBlockHeader& subHeader) {
  // The thread is mostly that of the sub-block before: then the map need not be asked.
  if (threadIdsPresent && (subHeader.threadId != lastThreadId || lastThreadIndex == 0)) {
    NoteThread(subHeader.threadId);
  }
  return !settings->threadFilter.empty() && FilterDropsThread();
}

void DCAPFileProcessor::Walk::NoteThread(uint32_t threadId) {
  const auto [entry, isNew] = threadIndexById.try_emplace(threadId, threadCount + 1);
  if (isNew) ++threadCount;
  lastThreadId = threadId;
  lastThreadIndex = entry->second;
}

bool DCAPFileProcessor::Walk::FilterDropsThread() const {
  // Read anew each time, as the caller may change the settings between two blocks.
  if (currentFrame < settings->threadFilterStartFrame) return false;
  const std::vector<uint32_t>& wanted = settings->threadFilter;
  return std::find(wanted.begin(), wanted.end(), lastThreadIndex) == wanted.end();
}

}  // namespace Data
