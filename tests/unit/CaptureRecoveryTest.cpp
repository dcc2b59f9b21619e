#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/Capture/CaptureRecovery.h"
#include "Data/Capture/RecoveredReader.h"
#include "Data/CaptureFileUtil.h"

#include "support/CaptureBuilder.h"
#include "support/MemoryWriter.h"
#include "support/RecordingConsumer.h"
#include "support/SparseReader.h"
#include "support/Test.h"

namespace {

using Data::CaptureRecovery;
using Data::RecoveredReader;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kThreads = Data::kOptionThreadIds;
constexpr uint32_t kNoTrailers = Data::kOptionNoTrailers;
constexpr uint32_t kSetUp = Data::kOptionType2BeforeFirst;
constexpr uint32_t kLZ4 = Data::kCompressionLZ4 << Data::kOptionCompressionShift;

// What a processor that knows of no recovery makes of the stream. It must have nothing to complain
// about, unless the capture is damaged.
std::vector<std::string> List(const std::shared_ptr<Core::DataReader>& reader) {
  RecordingConsumer recorder;
  const LogCollector log;
  Walk(reader, &recorder);
  for (const std::string& message : log.Messages()) {
    EXPECT_TRUE(message.starts_with("Skipping unrecognized") || message.ends_with("with LZ4.") ||
                message == "Reading past end of DCAP file.")
        << message;
  }
  return recorder.Contents();
}
std::vector<std::string> List(const Bytes& bytes) {
  return List(std::make_shared<Core::MemoryReader>(std::span(bytes)));
}

std::shared_ptr<RecoveredReader> Recover(const Bytes& bytes) {
  return std::make_shared<RecoveredReader>(std::make_shared<Core::MemoryReader>(std::span(bytes)),
                                           bytes.size());
}

Bytes ReadAll(Core::DataReader& reader) {
  Bytes bytes(reader.Size() + 1);
  bytes.resize(reader.Read(bytes.data(), bytes.size()));
  return bytes;
}

CaptureRecovery Examine(const Bytes& bytes) { return Recover(bytes)->Recovery(); }

// Stops accepting after so many bytes, in the middle of a write if need be.
class FailingWriter : public MemoryWriter {
 public:
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    const uint64_t accepted = std::min(size, bytesGranted);
    bytesGranted -= accepted;
    return accepted == 0 ? 0 : MemoryWriter::WriteAt(buffer, accepted, offset);
  }
  uint64_t bytesGranted = UINT64_MAX;
};

// One attempt to finish the capture in place. False when it was interrupted.
bool TryToFinish(Bytes* capture, uint64_t bytesGranted = UINT64_MAX) {
  const CaptureRecovery recovery = Examine(*capture);
  FailingWriter writer;
  writer.bytes = std::move(*capture);
  writer.bytesGranted = bytesGranted;
  if (recovery.leftOutSize != 0) writer.bytes.resize(recovery.keptSize);
  const std::string failure = Failure([&] { recovery.Finish(&writer); });
  *capture = std::move(writer.bytes);
  return failure.empty();
}

Bytes Finish(Bytes capture) {
  EXPECT_TRUE(TryToFinish(&capture));
  return capture;
}

// Where the frame numbers and sub-blocks that a processor hands on end in a finished capture.
std::vector<size_t> Ends(const Bytes& capture) {
  const auto number = [&](size_t at, size_t width) {
    uint32_t value = 0;
    std::memcpy(&value, &capture.at(at), width);
    return value;
  };
  const uint32_t mask = number(8, 4);
  std::vector<size_t> ends;
  bool frameSeen = false;
  for (size_t p = 32; p < capture.size();) {
    const uint32_t type = number(p, 2);
    const size_t blockEnd = p + 6 + number(p + 2, 4);
    frameSeen |= type == 1;
    if (type == 1 || (type == 2 && (mask & kSetUp) != 0 && !frameSeen)) {
      ends.push_back(p += 10);
      while (p < blockEnd - ((mask & kNoTrailers) != 0 ? 0 : 8)) {
        const uint32_t kind = number(p, 2);
        p += ((mask & kThreads) != 0 ? 10 : 6) + number(p + 2, 4);
        if (kind <= 5) ends.push_back(p);
      }
    }
    p = blockEnd;
  }
  return ends;
}

// A capture with a bit of everything.
Bytes Mixture(uint32_t optionMask) {
  CaptureBuilder capture(optionMask);
  capture.Type2Block(1).Thread(3).Call(1, "set-up").Metadata(2, 1, "x");
  capture.FrameBlock(7).Thread(4).Call(0x9003, "one").MethodCall(9, 2, "two").Call(3, "");
  capture.OtherBlock(77, "unknown block").OtherBlock(78, "");
  capture.Type2Block(2).Call(1, "skipped");
  capture.FrameBlock(8).CompressedCall(5, std::string(200, 'z')).SubBlock(9, "unknown sub-block");
  capture.FrameBlock(9).FrameBlock(11).Thread(3).Call(7, std::string(20, '\xEE')).Call(8, "end");
  return capture.Finish();
}

// Zeroes what the recorder writes last: frame count, file size, size of the last block.
Bytes Unfinish(Bytes capture) {
  size_t last = 32;
  uint32_t size = 0;
  for (size_t p = last; p + 6 <= capture.size(); p += 6 + size) {
    last = p;
    std::memcpy(&size, &capture.at(p + 2), 4);
  }
  std::fill_n(capture.begin() + 20, 12, 0);
  if (last + 6 <= capture.size()) std::fill_n(capture.begin() + static_cast<long>(last) + 2, 4, 0);
  return capture;
}

// A capture and all that a processor hands on of it.
struct Whole {
  explicit Whole(Bytes capture) : bytes(std::move(capture)), ends(Ends(bytes)), lines(List(bytes)) {
    EXPECT_EQ(ends.size(), lines.size());
  }
  Bytes bytes;
  std::vector<size_t> ends;
  std::vector<std::string> lines;
};

// Cut to `size` bytes, it shows all that ends by then, through the reader and when finished.
void ExpectAllThatIsWhole(const Whole& whole, size_t size, bool unfinished) {
  SCOPED_TRACE("cut to " + std::to_string(size) + (unfinished ? ", unfinished" : ""));
  Bytes cut(whole.bytes.begin(), whole.bytes.begin() + static_cast<long>(size));
  if (unfinished) cut = Unfinish(cut);
  const auto count = std::upper_bound(whole.ends.begin(), whole.ends.end(), size);
  const std::vector<std::string> expected(whole.lines.begin(),
                                          whole.lines.begin() + (count - whole.ends.begin()));
  const auto reader = Recover(cut);
  ASSERT_EQ(List(reader), expected);
  ASSERT_EQ(reader->Recovery().IsComplete() && !reader->Recovery().IsCut(), cut == whole.bytes);
  reader->Seek(0, 0);
  const Bytes finished = Finish(cut);
  ASSERT_TRUE(finished == ReadAll(*reader));
  ASSERT_EQ(List(finished), expected);
  ASSERT_TRUE(Examine(finished).IsComplete());
}

TEST(CaptureRecoveryTest, WhateverIsWholeComesOutWhereverTheCaptureIsCut) {
  for (const uint32_t mask : {kThreads, 0u, kThreads | kNoTrailers, kSetUp, kThreads | kLZ4}) {
    const Whole whole(Mixture(mask));
    for (size_t size = 32; size <= whole.bytes.size() && !HasFatalFailure(); ++size) {
      ExpectAllThatIsWhole(whole, size, false);
      ExpectAllThatIsWhole(whole, size, true);
    }
  }
}

TEST(CaptureRecoveryTest, WhatIsNoCaptureIsRefused) {
  const Bytes whole = Mixture(0);
  EXPECT_THROW(Examine(Bytes(whole.begin(), whole.begin() + 31)), Core::BasicException);
  EXPECT_THROW(Examine({}), Core::BasicException);
  EXPECT_THROW(Examine(Bytes(100, 'D')), Core::BasicException);
  EXPECT_THROW(CaptureRecovery::Examine(nullptr, 100), Core::BasicException);
  Core::MemoryReader shrunk{std::span(whole)};
  EXPECT_THROW(CaptureRecovery::Examine(&shrunk, whole.size() + 20), Core::BasicException);
  EXPECT_THROW(Examine(whole).Finish(nullptr), Core::BasicException);
}

TEST(CaptureRecoveryTest, TellsWhatIsLeftOut) {
  CaptureBuilder capture;
  const size_t cut = capture.FrameBlock(1).Call(1, "whole").Size();
  const Bytes whole = capture.Call(2, "broken").FrameBlock(2).Finish();
  CaptureRecovery recovery =
      Examine(Bytes(whole.begin(), whole.begin() + static_cast<long>(cut) + 15));
  EXPECT_EQ(recovery.leftOutStart, cut);
  EXPECT_EQ(recovery.leftOutSize, 15u);
  EXPECT_FALSE(recovery.leftOutIsBlock);
  EXPECT_TRUE(recovery.IsCut());
  // Cut between blocks, only the header knows that there was more.
  recovery = Examine(Bytes(whole.begin(), whole.end() - 18));
  EXPECT_EQ(recovery.leftOutSize, 0u);
  EXPECT_TRUE(recovery.IsCut());
  recovery = Examine(Bytes(whole.begin(), whole.end() - 9));
  EXPECT_EQ(recovery.leftOutSize, 9u);
  EXPECT_TRUE(recovery.leftOutIsBlock);
}

// The recorder died in the middle of a sub-block, and then the capture was finalised all the same.
TEST(CaptureRecoveryTest, ABrokenSubBlockIsFoundBehindATrailer) {
  for (const size_t missing : {size_t{1}, size_t{8}, size_t{9}, size_t{30}}) {
    CaptureBuilder capture;
    capture.FrameBlock(4).Call(1, "whole").Call(2, std::string(40, 'x')).Unfinished();
    MemoryWriter file;
    file.bytes = capture.Finish();
    file.bytes.resize(file.bytes.size() - missing);
    for (const int writes : {3, 4}) {
      SCOPED_TRACE(std::to_string(missing) + " missing, writes " + std::to_string(writes));
      auto writer = std::make_shared<MemoryWriter>(file);
      Data::CaptureFileUtil::FinalizeFile(writer, writer->bytes.size(), 1, 32, true);
      if (writes == 3) std::fill_n(writer->bytes.begin() + 34, 4, 0);  // died before the last one
      EXPECT_EQ(Finish(writer->bytes), CaptureBuilder().FrameBlock(4).Call(1, "whole").Finish());
      EXPECT_TRUE(Examine(writer->bytes).IsCut());
    }
  }
}

TEST(CaptureRecoveryTest, APayloadMayEndLikeATrailer) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, std::string(50, '\xEE'));
  const Bytes whole = capture.Finish();
  for (size_t missing = 0; missing <= 8; ++missing) {
    EXPECT_EQ(Finish(Unfinish(Bytes(whole.begin(), whole.end() - static_cast<long>(missing)))),
              whole)
        << missing;
  }
}

TEST(CaptureRecoveryTest, TheSizeOfTheLastBlockNeedNotCountItsTrailer) {
  CaptureBuilder capture;
  const size_t last = capture.FrameBlock(1).Call(1, "a").EndBlock().Size();
  const Bytes whole = capture.FrameBlock(2).Call(2, "b").Finish();
  Bytes recorded = whole;
  recorded.at(last + 2) -= 8;
  for (size_t missing = 0; missing <= 8; ++missing, recorded.pop_back()) {
    EXPECT_EQ(Finish(recorded), whole) << missing;
  }
}

TEST(CaptureRecoveryTest, AFileAsLargeAsItSaysIsDamagedAndNotCut) {
  CaptureBuilder capture;
  capture.FrameBlock(1).Call(1, "a").ClaimBlockSize(1000).FrameBlock(2).Call(2, "b");
  const Bytes damaged = capture.Finish();
  EXPECT_TRUE(Examine(damaged).damaged);
  EXPECT_TRUE(Examine(damaged).IsComplete());
  EXPECT_EQ(ReadAll(*Recover(damaged)), damaged);
  // A frame too small for its number, the end of a file of the size that it states.
  CaptureBuilder small(kNoTrailers);
  small.FrameBlock(1).ClaimBlockSize(2).Shrink(2).ClaimFileSize(32 + 6 + 2);
  EXPECT_TRUE(Examine(small.Finish()).IsComplete());
}

TEST(CaptureRecoveryTest, BlocksBehindTheStatedEndAreTakenInAndOtherBytesLeftOut) {
  const Bytes whole = Mixture(kThreads);
  const Bytes first = CaptureBuilder().FrameBlock(1).Call(1, "a").Finish();
  Bytes longer = first;
  longer.insert(longer.end(), whole.begin() + 32, whole.end());
  EXPECT_EQ(List(Recover(longer)).size(), 2 + List(whole).size());
  longer = first;
  longer.insert(longer.end(), {1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(Finish(longer), first);
  EXPECT_TRUE(Examine(longer).IsCut());
}

TEST(CaptureRecoveryTest, FinishingMayBeInterruptedAtAnyByte) {
  for (const uint32_t mask : {kThreads, kNoTrailers}) {
    Bytes big = CaptureBuilder(mask).FrameBlock(1).Call(1, std::string(70000, 'a')).Finish();
    for (const Bytes& whole : {Mixture(mask), big}) {
      for (const size_t missing : {size_t{0}, size_t{3}, size_t{12}, size_t{40}}) {
        Bytes cut(whole.begin(), whole.end() - static_cast<long>(missing));
        for (const Bytes& start : {cut, Unfinish(cut)}) {
          const Bytes expected = Finish(start);
          for (uint64_t granted = 0; granted < 30; ++granted) {
            Bytes file = start;
            TryToFinish(&file, granted);
            ASSERT_EQ(Finish(file), expected) << mask << " " << missing << " " << granted;
          }
        }
      }
    }
  }
}

TEST(CaptureRecoveryTest, AnUnfinishedCaptureBecomesTheFinishedOneHoweverFarTheUtilityCame) {
  for (const uint32_t mask : {kThreads, kNoTrailers}) {
    const Bytes whole = CaptureBuilder(mask).FrameBlock(1).Call(1, "a").FrameBlock(2).Finish();
    Bytes start = Unfinish(whole);
    const bool trailers = mask != kNoTrailers;
    if (trailers) start.resize(start.size() - 8);
    EXPECT_FALSE(Examine(start).IsComplete());
    EXPECT_FALSE(Examine(start).IsCut());
    std::vector<Data::FrameEntry> index;
    Data::CaptureFileUtil::GenerateFrameIndex(
        std::make_shared<Core::MemoryReader>(std::span(start)), &index);
    for (const uint64_t granted : {0u, 4u, 12u, 15u, 20u, 24u}) {
      auto writer = std::make_shared<FailingWriter>();
      writer->bytes = start;
      writer->bytesGranted = granted;
      Failure([&] {
        Data::CaptureFileUtil::FinalizeFile(writer, start.size(),
                                            static_cast<uint32_t>(index.size()),
                                            index.back().filePosition, trailers);
      });
      EXPECT_EQ(Finish(writer->bytes), whole) << mask << " " << granted;
    }
  }
}

TEST(CaptureRecoveryTest, PayloadsAreNotRead) {
  constexpr uint32_t kPayload = 40'000'000;
  constexpr uint64_t kFrameSize = 6 + 4 + 8 + uint64_t{kPayload} + 8;
  constexpr uint64_t kFrames = 100;
  SparseReader capture(32 + kFrames * kFrameSize - 8);
  CaptureBuilder start(0);
  start.FrameBlock(1).Call(1, "").ClaimSubBlockSize(2 + kPayload).ClaimBlockSize(kFrameSize - 6);
  const Bytes head = start.ClaimFrameCount(0).ClaimFileSize(0).Finish();
  capture.Lay(0, {head.begin(), head.begin() + 32});
  for (uint64_t frame = 0; frame < kFrames; ++frame) {
    Bytes header(head.begin() + 32, head.begin() + 50);
    if (frame == kFrames - 1) std::fill_n(header.begin() + 2, 4, 0);
    capture.Lay(32 + frame * kFrameSize, header);
    capture.Lay(24 + (frame + 1) * kFrameSize, Bytes(8, 0xEE));
  }
  const CaptureRecovery recovery = CaptureRecovery::Examine(&capture, capture.Size());
  EXPECT_EQ(recovery.header.frameCount, kFrames);
  EXPECT_EQ(recovery.header.fileSize, capture.Size() + 8);
  EXPECT_EQ(recovery.leftOutSize, 0u);
  EXPECT_LT(capture.bytesRead, 6 * kFrames + 32 + 100);
}

}  // namespace
