#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Core/Exceptions.h"
#include "Core/MemoryReader.h"
#include "Data/CaptureFileUtil.h"

#include "support/CaptureBuilder.h"
#include "support/LogCollector.h"

namespace Data {

bool operator==(const FrameEntry& a, const FrameEntry& b) {
  return a.frameNumber == b.frameNumber && a.filePosition == b.filePosition;
}

}  // namespace Data

namespace {

using Data::CaptureFileUtil;
using Data::FrameEntry;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kSeekFailed[] = "File seek failed.  Could not determine if file is finalized.";

// What the call throws, or nothing.
template <typename Call>
std::string Failure(Call call) {
  try {
    call();
  } catch (const Core::BasicException& exception) {
    return exception.what();
  }
  return {};
}

// Counts what is read; seeks fail after the first `seeksGranted`.
class CountingReader : public Core::MemoryReader {
 public:
  using MemoryReader::MemoryReader;
  unsigned long Read(void* buffer, unsigned long size) override {
    bytesRead += size;
    return MemoryReader::Read(buffer, size);
  }
  int Seek(int origin, int64_t offset) override {
    return seeksGranted-- > 0 ? MemoryReader::Seek(origin, offset) : -1;
  }
  unsigned long bytesRead = 0;
  int seeksGranted = 1000;
};

// Remembers what is written where; writes fail after the first `writesGranted`.
class RecordingWriter : public Core::DataWriter {
 public:
  bool IsValid() const override { return valid; }
  uint64_t WriteAt(const void* buffer, uint64_t size, uint64_t offset) override {
    if (writesGranted-- <= 0) return size - 1;
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    uint64_t value = 0;
    for (uint64_t i = size; i-- > 0;) value = value << 8 | bytes[i];
    written[offset] = {size, value};
    return size;
  }
  bool valid = true;
  int writesGranted = 1000;
  std::map<uint64_t, std::pair<uint64_t, uint64_t>> written;
};

class CaptureFileUtilTest : public testing::Test {
 protected:
  CaptureFileUtilTest() {
    capture.FrameBlock(100).Call(1, "abcd").FrameBlock(200).Call(2, std::string(100'000, 'x'));
  }
  ~CaptureFileUtilTest() override { std::filesystem::remove(path); }

  std::shared_ptr<CountingReader> Reader() const {
    return std::make_shared<CountingReader>(capture.Finish());
  }
  std::vector<FrameEntry> Index() const {
    std::vector<FrameEntry> index;
    CaptureFileUtil::GenerateFrameIndex(Reader(), &index);
    return index;
  }
  bool IsFinalized(uint64_t size) const { return CaptureFileUtil::IsFileFinalized(Reader(), size); }
  bool IsTrailerNeeded(uint64_t size) const {
    return CaptureFileUtil::IsFinalFrameTrailerNeeded(Reader(), size);
  }
  std::vector<uint8_t> FileBytes() const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // A name of its own for each process; the sign is for those who would print it.
  const std::string path =
      testing::TempDir() + "CaptureFileUtilTest" + std::to_string(getpid()) + "%s.dcap";
  LogCollector log;
  CaptureBuilder capture;
};

// ---- Finalisation.

TEST_F(CaptureFileUtilTest, AnUnfinishedCaptureBecomesTheFinishedOne) {
  for (uint32_t options : {0u, uint32_t{Data::kOptionNoTrailers}}) {
    CaptureBuilder recorded(options);
    recorded.OtherBlock(9, "between").FrameBlock(7).Call(1, "a").FrameBlock(8).Call(2, "b");
    const std::vector<uint8_t> finished = recorded.Finish();
    recorded.Unfinished().WriteTo(path);
    EXPECT_FALSE(CaptureFileUtil::IsFileFinalized(path, 0));
    const uint64_t size = CaptureFileUtil::GetFileSize(path);
    EXPECT_EQ(CaptureFileUtil::IsFinalFrameTrailerNeeded(path, size), options == 0);
    CaptureFileUtil::EnsureFinalization(path);
    EXPECT_EQ(FileBytes(), finished);
    EXPECT_TRUE(CaptureFileUtil::IsFileFinalized(path, 0));
  }
  EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(CaptureFileUtilTest, AFinalizedFileIsNotWrittenTo) {
  capture.WriteTo(path);
  const auto longAgo = std::filesystem::last_write_time(path) - std::chrono::hours(1);
  std::filesystem::last_write_time(path, longAgo);
  CaptureFileUtil::EnsureFinalization(path);
  EXPECT_EQ(std::filesystem::last_write_time(path), longAgo);
}

TEST_F(CaptureFileUtilTest, AFileWithoutFramesGetsItsSizeAlone) {
  CaptureBuilder empty;
  empty.OtherBlock(9, "noise").Unfinished().WriteTo(path);
  CaptureFileUtil::EnsureFinalization(path);
  EXPECT_EQ(FileBytes(), empty.ClaimFileSize(43 + 8).Finish());
}

TEST_F(CaptureFileUtilTest, FinalizingGoesBeyond4GiB) {
  // One block of noise that is a hole in the file, then a frame.
  CaptureBuilder far;
  far.OtherBlock(9, "").FrameBlock(1).Call(1, "a").Unfinished();
  std::vector<uint8_t> bytes = far.Finish();
  for (size_t i = 0; i < 4; ++i) bytes[34 + i] = 0xFF;
  std::ofstream file(path, std::ios::binary);
  const auto write = [&](size_t from, size_t to) {
    file.write(reinterpret_cast<const char*>(&bytes[from]),
               static_cast<std::streamsize>(to - from));
  };
  write(0, 38);
  file.seekp(0xFFFFFFFF, std::ios::cur);
  write(38, bytes.size());
  file.close();
  CaptureFileUtil::EnsureFinalization(path);
  const uint64_t size = bytes.size() + 0xFFFFFFFF + 8;
  EXPECT_EQ(CaptureFileUtil::GetFileSize(path), size);
  EXPECT_TRUE(CaptureFileUtil::IsFileFinalized(path, size));
  std::vector<FrameEntry> index;
  CaptureFileUtil::GenerateFrameIndex(path, &index);
  EXPECT_THAT(index, ElementsAre(FrameEntry{1, 38 + uint64_t{0xFFFFFFFF}}));
}

TEST_F(CaptureFileUtilTest, FinalizingWritesEachFieldWhereItBelongs) {
  const auto writer = std::make_shared<RecordingWriter>();
  CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, true);
  EXPECT_EQ(
      writer->written,
      (decltype(writer->written){
          {20, {4, 3}}, {24, {8, 1008}}, {502, {4, 502}}, {1000, {8, Data::DCAPFrameTrailer}}}));
  writer->written.clear();
  CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, false);
  EXPECT_EQ(writer->written,
            (decltype(writer->written){{20, {4, 3}}, {24, {8, 1000}}, {502, {4, 494}}}));
}

TEST_F(CaptureFileUtilTest, WhatCannotBeWrittenIsNamed) {
  const std::string start = "Cannot finalize capture file. The ";
  const std::string failures[] = {"frame count", "frame count", "final frame trailer",
                                  "final frame size"};
  for (int granted = 0; granted < 4; ++granted) {
    const auto writer = std::make_shared<RecordingWriter>();
    writer->writesGranted = granted;
    EXPECT_EQ(Failure([&] { CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, true); }),
              start + failures[granted] + " could not be written to file.");
  }
}

TEST_F(CaptureFileUtilTest, AFrameSizeThatCannotBeIsRefusedBeforeAnythingIsWritten) {
  const auto writer = std::make_shared<RecordingWriter>();
  for (uint64_t offset : {uint64_t{995}, uint64_t{1001}, ~uint64_t{0} - 4}) {
    EXPECT_THAT(Failure([&] { CaptureFileUtil::FinalizeFile(writer, 1000, 1, offset, false); }),
                HasSubstr("The final frame size could not be written"));
  }
  EXPECT_THAT(Failure([&] { CaptureFileUtil::FinalizeFile(writer, 0x100000000, 1, 0, true); }),
              HasSubstr("The final frame size could not be written"));
  EXPECT_THAT(writer->written, IsEmpty());
}

TEST_F(CaptureFileUtilTest, WritersThatAreNotUsableAreRefused) {
  const std::string text = "Cannot finalize capture file. The data writer is invalid.";
  const std::shared_ptr<Core::DataWriter> none;
  const auto closed = std::make_shared<RecordingWriter>();
  closed->valid = false;
  EXPECT_EQ(Failure([&] { CaptureFileUtil::FinalizeFile(closed, 1, 0, 0, false); }), text);
  EXPECT_EQ(Failure([&] { CaptureFileUtil::FinalizeFile(none, 1, 0, 0, false); }), text);
  EXPECT_EQ(Failure([&] { CaptureFileUtil::FinalizeFile(path, 1, 0, 0, false); }), text);
  EXPECT_FALSE(std::filesystem::exists(path));
}

// ---- Whether a file is finalised.

TEST_F(CaptureFileUtilTest, AFileIsFinalizedWhenCountSizeAndTrailerAreThere) {
  const uint64_t size = capture.Finish().size();
  EXPECT_TRUE(IsFinalized(size));
  EXPECT_FALSE(IsFinalized(size + 1));
  EXPECT_THAT(log.Messages(), IsEmpty());
  EXPECT_FALSE(IsFinalized(size - 1));
  EXPECT_THAT(log.Take(), ElementsAre(AllOf(StartsWith("2/3 src/Data/CaptureFileUtil:"),
                                            HasSubstr("File size specified in the DCAP header is "
                                                      "larger than size of file on disk. File may "
                                                      "be truncated."))));
  capture.SetByte(size - 8, 0);
  EXPECT_FALSE(IsFinalized(size));
}

TEST_F(CaptureFileUtilTest, ACountOrSizeOfZeroIsUnfinished) {
  const uint64_t size = capture.Finish().size();
  const CaptureBuilder finished = capture;
  capture.ClaimFrameCount(0);
  EXPECT_FALSE(IsFinalized(size));
  capture = finished;
  capture.ClaimFileSize(0);
  EXPECT_FALSE(IsFinalized(size));
  EXPECT_FALSE(IsFinalized(0));
}

TEST_F(CaptureFileUtilTest, AnUnknownSizeIsEnoughOnlyWithoutTrailers) {
  EXPECT_EQ(Failure([&] { IsFinalized(0); }), kSeekFailed);
  capture = CaptureBuilder(Data::kOptionNoTrailers);
  capture.FrameBlock(1);
  EXPECT_TRUE(IsFinalized(0));
}

TEST_F(CaptureFileUtilTest, ATrailerIsNeededWhereTheLastEightBytesAreNone) {
  const uint64_t size = capture.Finish().size();
  EXPECT_FALSE(IsTrailerNeeded(size));
  EXPECT_TRUE(IsTrailerNeeded(size - 1));
  EXPECT_TRUE(IsTrailerNeeded(size + 1));  // the read comes up short
  EXPECT_EQ(Failure([&] { IsTrailerNeeded(7); }), kSeekFailed);
  capture.Header().optionMask |= Data::kOptionNoTrailers;
  EXPECT_FALSE(IsTrailerNeeded(7));
}

TEST_F(CaptureFileUtilTest, FilesThatAreNoCapturesAreRefusedByEveryQuestion) {
  const auto failures = [](const std::shared_ptr<Core::DataReader>& reader) {
    std::vector<FrameEntry> index;
    const auto rewound = [&] {
      if (reader) reader->Seek(0, 0);
      return reader;
    };
    return std::vector{Failure([&] { CaptureFileUtil::IsFileFinalized(rewound(), 0); }),
                       Failure([&] { CaptureFileUtil::IsFinalFrameTrailerNeeded(rewound(), 0); }),
                       Failure([&] { CaptureFileUtil::GenerateFrameIndex(rewound(), &index); })};
  };
  const auto closed = Reader();
  closed->Close();
  for (const auto& unusable : {std::shared_ptr<CountingReader>(), closed}) {
    EXPECT_THAT(failures(unusable),
                testing::Each("Cannot read capture file. The data reader is invalid."));
  }
  capture.SetByte(3, 'p');
  EXPECT_THAT(failures(Reader()), testing::Each("The specified file is not a valid capture file. "
                                                "FourCC does not match DCAP."));
  capture.Shrink(capture.Finish().size() - 31);
  EXPECT_THAT(failures(Reader()),
              testing::Each("Could not read capture file header. The file may be invalid or "
                            "corrupt."));
}

// ---- The index.

TEST_F(CaptureFileUtilTest, TheIndexCountsFramesWhateverTheirSequenceNumbers) {
  capture.OtherBlock(9, "noise").Type2Block(5);
  const size_t third = capture.EndBlock().Size();
  capture.FrameBlock(100);
  EXPECT_THAT(Index(), ElementsAre(FrameEntry{1, 32}, FrameEntry{2, 32 + 6 + 4 + 16 + 8},
                                   FrameEntry{3, third}));
}

TEST_F(CaptureFileUtilTest, TheIndexIsAppended) {
  std::vector<FrameEntry> index = {{77, 99}};
  CaptureFileUtil::GenerateFrameIndex(Reader(), &index);
  EXPECT_EQ(index.size(), 3u);
  EXPECT_EQ(index[0], (FrameEntry{77, 99}));
}

TEST_F(CaptureFileUtilTest, IndexingReadsBlockHeadersAlone) {
  const auto reader = Reader();
  std::vector<FrameEntry> index;
  CaptureFileUtil::GenerateFrameIndex(reader, &index);
  EXPECT_EQ(reader->bytesRead, 32u + 3 * 6);
}

TEST_F(CaptureFileUtilTest, ABlockOfSizeZeroEndsTheIndex) {
  const size_t last = capture.EndBlock().Size();
  capture.FrameBlock(3).Unfinished();
  EXPECT_THAT(Index(), ElementsAre(testing::_, testing::_, FrameEntry{3, last}));
  capture = CaptureBuilder();
  capture.OtherBlock(9, "").FrameBlock(1);
  EXPECT_THAT(Index(), IsEmpty());
}

TEST_F(CaptureFileUtilTest, ATruncatedLastBlockIsIndexed) {
  capture.Shrink(50'000);
  EXPECT_EQ(Index().size(), 2u);
}

TEST_F(CaptureFileUtilTest, AReaderThatCannotGoOnIsNotMistakenForTheEnd) {
  const auto reader = Reader();
  reader->seeksGranted = 1;
  std::vector<FrameEntry> index;
  EXPECT_EQ(Failure([&] { CaptureFileUtil::GenerateFrameIndex(reader, &index); }),
            "Could not read block header. The file may be invalid or corrupt.");
}

// ---- Files that are not there.

TEST_F(CaptureFileUtilTest, AMissingFileIsReportedWithItsErrno) {
  const std::string text = "Cannot stat file: " + path + " (errno = 2 : No such file or directory)";
  for (const auto& call :
       {+[](const std::string& file) { CaptureFileUtil::GetFileSize(file); },
        +[](const std::string& file) { CaptureFileUtil::EnsureFinalization(file); },
        +[](const std::string& file) { CaptureFileUtil::IsFileFinalized(file, 0); }}) {
    try {
      call(path);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Core::ErrnoException& exception) {
      EXPECT_EQ(exception.GetErrno(), static_cast<unsigned int>(ENOENT));
      EXPECT_EQ(exception.what(), text);
    }
    EXPECT_THAT(log.Take(), ElementsAre(AllOf(StartsWith("1/3 "), testing::EndsWith(" " + text))));
  }
}

}  // namespace
