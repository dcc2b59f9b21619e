#include "inspect/walk/Capture.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Core/Exceptions.h"
#include "Core/StdioReader.h"
#include "Data/Capture/RecoveredReader.h"
#include "Data/DCAPFileProcessor.h"

#include "Command.h"
#include "inspect/parallel/ParallelWalk.h"
#include "inspect/walk/Damage.h"
#include "inspect/walk/HeaderReader.h"
#include "output/Progress.h"

namespace {

// Of what is selected; large enough that hardly anything is done per range.
constexpr uint64_t kRangeSize = uint64_t{16} << 20;

std::string Bytes(uint64_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

// "a, b and c are", "a is".
std::string Enumerate(const std::vector<std::string_view>& names) {
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) {
    text += i == 0 ? "" : i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text + (names.size() == 1 ? " is" : " are");
}

}  // namespace

Capture::Capture(const std::string& path, unsigned jobs) : path_(path) {
  errno = 0;
  reader_ = std::make_shared<Core::StdioReader>(path);
  if (!reader_->IsValid()) {
    throw Core::BasicException(
        std::string("Cannot read capture file. The data reader is invalid. (") +
        (errno != 0 ? std::strerror(errno) : "Not a file") + ")");
  }
  if (const uint64_t size = reader_->Size(); size != 0) {
    headers_ = std::make_shared<HeaderReader>(path, ThreadsFor(jobs, size));
    recovery_ = Data::CaptureRecovery::Examine(headers_.get(), size);
    reader_ = Finished(reader_);
    headers_ = Finished(headers_);
  }
}

// Shows the capture in `file` as finished.
std::shared_ptr<Core::DataReader> Capture::Finished(std::shared_ptr<Core::DataReader> file) const {
  if (recovery_.IsComplete()) return file;
  return std::make_shared<Data::RecoveredReader>(std::move(file), recovery_);
}

std::shared_ptr<Core::DataReader> Capture::OpenAgain() const {
  auto file = std::make_shared<Core::StdioReader>(path_);
  if (recovery_.storedSize == 0 || file->Size() < recovery_.storedSize) return nullptr;
  return Finished(std::move(file));
}

void Capture::ReportState() const {
  if (const std::string state = DescribeState(recovery_); !state.empty()) {
    std::fprintf(stderr, "dcap: %s: %s%s\n", path_.c_str(), state.c_str(),
                 recovery_.damaged ? "" : "; read as if finalised (see 'dcap finalize')");
  }
}

int Capture::Status() const {
  return recovery_.damaged ? kExitFailure : recovery_.IsCut() ? kExitIncomplete : kExitOk;
}

void Capture::RequireFile() const {
  if (recovery_.storedSize == 0)
    throw Core::BasicException("The capture is not a regular file; save it to one first.");
}

std::vector<std::string_view> MissingParts(const Data::CaptureRecovery& recovery) {
  std::vector<std::string_view> parts;
  const auto add = [&](bool isMissing, std::string_view name) {
    if (isMissing) parts.push_back(name);
  };
  const Data::FileHeader& stored = recovery.storedHeader;
  add(stored.frameCount == 0 && recovery.header.frameCount != 0, "frame count");
  add(stored.fileSize == 0 && recovery.header.fileSize != 0, "file size");
  add(recovery.storedLastBlockSize == 0 && recovery.lastBlockSize != 0, "last block size");
  add(recovery.appendsTrailer, "trailer");
  return parts;
}

std::string DescribeState(const Data::CaptureRecovery& recovery) {
  if (recovery.damaged) return "damaged: a block runs past the end of the file";
  if (recovery.IsComplete()) return "";
  std::string text;
  const std::vector<std::string_view> missing = MissingParts(recovery);
  // A capture that was finished before it was cut naturally lacks its last trailer.
  const bool wasFinished = recovery.IsCut() && recovery.storedHeader.fileSize != 0;
  if (!missing.empty() && !wasFinished) text = "unfinished: " + Enumerate(missing) + " missing; ";
  if (recovery.leftOutSize != 0) {
    text += "cut: " + Bytes(recovery.leftOutSize) + " of a broken " +
            (recovery.leftOutIsBlock ? "block" : "sub-block") + " at offset " +
            std::to_string(recovery.leftOutStart) + " left out; ";
  } else if (recovery.IsCut()) {
    text += "cut: nothing is there after offset " + std::to_string(recovery.keptSize) + "; ";
  }
  if (text.empty()) return "not finalised: the header does not fit the file";
  return text.substr(0, text.size() - 2);
}

const char* CompressionName(uint32_t optionMask) {
  switch ((optionMask & Data::kOptionCompressionMask) >> Data::kOptionCompressionShift) {
    case Data::kCompressionNone:
      return "none";
    case Data::kCompressionLZ4:
      return "lz4";
    case Data::kCompressionLZ77:
      return "lz77";
    default:
      return "unknown";
  }
}

Place PlaceOf(const Data::DCAPFileProcessor& processor, const EventConsumer& consumer) {
  return {processor.Position(), consumer.Context().frameOrdinal, consumer.FrameNumber(),
          consumer.IsInFrame()};
}

bool WalkRange(Data::DCAPFileProcessor* processor, EventConsumer* consumer, const BlockRange& range,
               Progress* progress) {
  processor->ContinueAt(range.begin, range.numberBefore);
  consumer->ContinueAfter(range.framesBefore, range.numberBefore);
  do {
    if (!processor->ProcessNextBlock() || consumer->IsFinished()) return false;
    if (progress != nullptr) progress->Show(processor->Position());
  } while (processor->Position() != range.end);
  return true;
}

int WalkCapture(const std::string& path, EventHandler* handler, const Selection& selection,
                bool showProgress, const ParallelWalk* parallel) {
  EventConsumer consumer(handler, &selection);
  Data::DCAPFileProcessor processor;
  std::optional<Place> failedAt;
  const auto place = [&] { return failedAt ? *failedAt : PlaceOf(processor, consumer); };
  try {
    const unsigned jobs = parallel != nullptr ? parallel->jobs : 1;
    const Capture capture(path, jobs);
    capture.ReportState();
    processor.Initialize(&consumer, capture.Reader(), capture.Reader()->Size());
    Progress progress(path, showProgress ? capture.Reader()->Size() : 0);
    RangeWorkers workers(capture, jobs);
    if (workers.Threads() > 1) {
      WalkRanges(&workers, selection, *parallel, &progress, &failedAt);
      return capture.Status();
    }
    if (selection.frames.IsAll() || capture.Headers() == nullptr) {
      WalkRange(&processor, &consumer, BlockRange::All(), &progress);
    } else {
      BlockRanges ranges(capture.Headers(), selection.frames, kRangeSize);
      BlockRange range;
      while (ranges.Next(&range) && WalkRange(&processor, &consumer, range, &progress)) {
      }
    }
    return capture.Status();
  } catch (const std::bad_alloc&) {
    return ReportDamage(path, place(), kTooLargeMsg);
  } catch (const Core::BasicException& exception) {
    return ReportDamage(path, place(), exception.what());
  }
}
