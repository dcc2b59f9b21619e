#include "inspect/stats/HeaderScan.h"

#include <exception>
#include <memory>
#include <utility>

#include "Data/Calls/CallTable.h"

#include "inspect/parallel/RangeWorkers.h"
#include "inspect/walk/BlockRanges.h"

namespace Inspect {

namespace {

std::string NameOf(const Data::StoredSubBlock& subBlock) {
  const auto id = Data::DCAPBlockReader::CallId(subBlock);
  if (!id) return "a metadata record";
  const Data::CallDesc* call = Data::FindCall(*id);
  return call == nullptr ? "call " + std::to_string(static_cast<uint16_t>(*id)) : call->name;
}

// Adds the counts of the next range.
void Add(const HeaderCounts& range, HeaderCounts* sum) {
  if (range.blocks.frames != 0) {
    if (sum->blocks.frames == 0) sum->blocks.firstNumber = range.blocks.firstNumber;
    sum->blocks.lastNumber = range.blocks.lastNumber;
  }
  sum->blocks.frames += range.blocks.frames;
  sum->blocks.setUpBlocks += range.blocks.setUpBlocks;
  sum->blocks.otherBlocks += range.blocks.otherBlocks;
  SubBlockCounts& subBlocks = sum->subBlocks;
  const SubBlockCounts& more = range.subBlocks;
  for (const auto& [thread, count] : more.threads) subBlocks.threads[thread] += count;
  for (const auto member :
       {&SubBlockCounts::eglCalls, &SubBlockCounts::glesCalls, &SubBlockCounts::methodCalls,
        &SubBlockCounts::unknownCalls, &SubBlockCounts::records, &SubBlockCounts::otherSubBlocks,
        &SubBlockCounts::storedBytes, &SubBlockCounts::bytes}) {
    subBlocks.*member += more.*member;
  }
  if (more.largestBytes > subBlocks.largestBytes) {
    subBlocks.largestBytes = more.largestBytes;
    subBlocks.largestFrame = more.largestFrame;
    subBlocks.largestName = more.largestName;
  }
}

// Scans one range.
class RangeScan {
 public:
  RangeScan(const std::shared_ptr<Core::DataReader>& capture, const BlockRange& range,
            HeaderCounts* counts)
      : walk_(capture, range), blocks_(counts->blocks), subBlocks_(counts->subBlocks) {}

  void Run(ScanDepth depth, ProgressSink* progress) {
    const bool hasSetUp = (walk_.Reader().Header().optionMask & Data::kOptionType2BeforeFirst) != 0;
    while (walk_.NextBlock()) {
      if (progress != nullptr) progress->Show(walk_.Reader().BlockBegin());
      if (walk_.Reader().Block().type == Data::kBlockFrame) {
        if (blocks_.frames++ == 0) blocks_.firstNumber = walk_.FrameNumber();
        blocks_.lastNumber = walk_.FrameNumber();
      } else if (walk_.Reader().IsFramed() && hasSetUp && walk_.FrameNumber() == 0) {
        ++blocks_.setUpBlocks;
      } else {
        ++blocks_.otherBlocks;
        continue;
      }
      Data::StoredSubBlock subBlock{};
      while (depth == ScanDepth::kSubBlocks && walk_.NextSubBlock(&subBlock)) Count(subBlock);
    }
  }

 private:
  void Count(const Data::StoredSubBlock& subBlock) {
    if (threadCount_ == nullptr || subBlock.threadId != thread_) {
      thread_ = subBlock.threadId;
      threadCount_ = &subBlocks_.threads[thread_];
    }
    ++*threadCount_;
    if (subBlock.type != Data::kSubBlockMetadata && !subBlock.IsCall()) {
      ++subBlocks_.otherSubBlocks;
      return;
    }
    const uint32_t bytes = walk_.InflatedSize(subBlock);
    if (!subBlock.IsCall()) {
      ++subBlocks_.records;
    } else if (subBlock.IsMethodCall()) {
      ++subBlocks_.methodCalls;
    } else {
      const Data::CallDesc* call = Data::FindCall(*Data::DCAPBlockReader::CallId(subBlock));
      ++(call == nullptr                ? subBlocks_.unknownCalls
         : call->api == Data::Api::kEGL ? subBlocks_.eglCalls
                                        : subBlocks_.glesCalls);
    }
    subBlocks_.storedBytes += subBlock.size - subBlock.DescSize();
    subBlocks_.bytes += bytes;
    if (bytes > subBlocks_.largestBytes) {
      subBlocks_.largestBytes = bytes;
      subBlocks_.largestFrame = walk_.Frames();
      subBlocks_.largestName = NameOf(subBlock);
    }
  }

  BlockWalk walk_;
  BlockCounts& blocks_;
  SubBlockCounts& subBlocks_;
  uint32_t thread_ = 0;
  uint64_t* threadCount_ = nullptr;  // of thread_
};

// Scans ranges on one thread of several.
class Scanner : public RangeWorker {
 public:
  Scanner(std::shared_ptr<Core::DataReader> reader, HeaderCounts* sum)
      : reader_(std::move(reader)), sum_(sum) {}

  bool WorkOn(const BlockRange& range, InOrder::Turn* turn) override {
    const auto counts = std::make_shared<HeaderCounts>();
    std::exception_ptr failure;
    try {
      RangeScan(reader_, range, counts.get()).Run(ScanDepth::kSubBlocks, nullptr);
    } catch (const std::exception&) {
      failure = std::current_exception();
    }
    turn->Do(sizeof(HeaderCounts), [counts, sum = sum_] { Add(*counts, sum); });
    if (failure != nullptr) std::rethrow_exception(failure);
    return true;
  }

 private:
  std::shared_ptr<Core::DataReader> reader_;
  HeaderCounts* sum_;
};

}  // namespace

std::optional<Damage> ScanHeaders(const Capture& capture, ScanDepth depth, unsigned jobs,
                                  ProgressSink* progress, HeaderCounts* counts) {
  try {
    RangeWorkers workers(capture, depth == ScanDepth::kSubBlocks ? jobs : 1);
    if (workers.Threads() == 1) {
      const auto& reader = depth == ScanDepth::kSubBlocks ? capture.Reader() : capture.Headers();
      RangeScan(reader, BlockRange::All(), counts).Run(depth, progress);
    } else {
      workers.Run(Ranges(), progress, [counts](auto reader) {
        return std::make_unique<Scanner>(std::move(reader), counts);
      });
    }
    return std::nullopt;
  } catch (const DamageError& error) {
    return error.damage;
  }
}

}  // namespace Inspect
