#include "Core/MemoryReader.h"
#include "Data/CaptureFileUtil.h"

#include "support/CaptureBuilder.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace {

using Data::CaptureFileUtil;

constexpr char kSeekFailed[] = "File seek failed.  Could not determine if file is finalized.";

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

using Index = std::vector<std::pair<uint32_t, uint64_t>>;

class CaptureFileUtilTest : public testing::Test {
 protected:
  CaptureFileUtilTest() {
    capture.FrameBlock(100).Call(1, "abcd").FrameBlock(200).Call(2, std::string(100'000, 'x'));
  }

  std::shared_ptr<CountingReader> Reader() const {
    return std::make_shared<CountingReader>(capture.Finish());
  }
  // Frame numbers and file positions of a reader or path.
  template <typename Source>
  static Index IndexOf(const Source& source) {
    std::vector<Data::FrameEntry> entries = {{77, 99}};  // what is found is appended
    CaptureFileUtil::GenerateFrameIndex(source, &entries);
    EXPECT_EQ(entries[0].filePosition, 99u);
    Index index;
    for (size_t i = 1; i < entries.size(); ++i) {
      index.emplace_back(entries[i].frameNumber, entries[i].filePosition);
    }
    return index;
  }
  bool IsFinalized(uint64_t size) const { return CaptureFileUtil::IsFileFinalized(Reader(), size); }
  bool IsTrailerNeeded(uint64_t size) const {
    return CaptureFileUtil::IsFinalFrameTrailerNeeded(Reader(), size);
  }

  const TemporaryFolder folder;
  const std::string path = folder / "%s.dcap";  // the sign is for those who would print it
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
    EXPECT_EQ(ReadFile(path), finished);
    EXPECT_TRUE(CaptureFileUtil::IsFileFinalized(path, 0));
    // Finalised, it is not written to.
    const auto longAgo = std::filesystem::last_write_time(path) - std::chrono::hours(1);
    std::filesystem::last_write_time(path, longAgo);
    CaptureFileUtil::EnsureFinalization(path);
    EXPECT_EQ(std::filesystem::last_write_time(path), longAgo);
  }
  EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(CaptureFileUtilTest, AFileWithoutFramesGetsItsSizeAlone) {
  CaptureBuilder empty;
  empty.OtherBlock(9, "noise").Unfinished().WriteTo(path);
  CaptureFileUtil::EnsureFinalization(path);
  EXPECT_EQ(ReadFile(path), empty.ClaimFileSize(43 + 8).Finish());
}

TEST_F(CaptureFileUtilTest, FinalizingGoesBeyond4GiB) {
  // One block of noise that is a hole in the file, then a frame.
  const uint64_t hole = 0xFFFFFFFF;
  CaptureBuilder far;
  far.OtherBlock(9, "").FrameBlock(1).Call(1, "a").Unfinished();
  for (size_t i = 0; i < 4; ++i) far.SetByte(34 + i, 0xFF);
  const std::vector<uint8_t> bytes = far.Finish();
  WriteFile(path, {bytes.begin(), bytes.begin() + 38});
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(38 + hole));
  file.write(reinterpret_cast<const char*>(&bytes[38]),
             static_cast<std::streamsize>(bytes.size() - 38));
  file.close();
  CaptureFileUtil::EnsureFinalization(path);
  const uint64_t size = bytes.size() + hole + 8;
  EXPECT_EQ(CaptureFileUtil::GetFileSize(path), size);
  EXPECT_TRUE(CaptureFileUtil::IsFileFinalized(path, size));
  EXPECT_THAT(IndexOf(path), ElementsAre(Pair(1, 38 + hole)));
}

TEST_F(CaptureFileUtilTest, FinalizingWritesEachFieldWhereItBelongsAndNamesWhatItCannotWrite) {
  const auto writer = std::make_shared<RecordingWriter>();
  CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, true);
  EXPECT_THAT(writer->written,
              ElementsAre(Pair(20, Pair(4, 3)), Pair(24, Pair(8, 1008)), Pair(502, Pair(4, 502)),
                          Pair(1000, Pair(8, Data::DCAPFrameTrailer))));
  writer->written.clear();
  CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, false);
  EXPECT_THAT(writer->written,
              ElementsAre(Pair(20, Pair(4, 3)), Pair(24, Pair(8, 1000)), Pair(502, Pair(4, 494))));
  const char* names[] = {"frame count", "frame count", "final frame trailer", "final frame size"};
  for (int granted = 0; granted < 4; ++granted) {
    writer->writesGranted = granted;
    EXPECT_EQ(Failure([&] { CaptureFileUtil::FinalizeFile(writer, 1000, 3, 500, true); }),
              std::string("Cannot finalize capture file. The ") + names[granted] +
                  " could not be written to file.");
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
  const CaptureBuilder finished = capture;
  capture.SetByte(size - 8, 0);
  EXPECT_FALSE(IsFinalized(size));
  capture = finished;
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
  const auto expectFailures = [](const std::shared_ptr<Core::DataReader>& reader,
                                 const std::string& text) {
    const auto rewound = [&] {
      if (reader) reader->Seek(0, 0);
      return reader;
    };
    EXPECT_EQ(Failure([&] { CaptureFileUtil::IsFileFinalized(rewound(), 0); }), text);
    EXPECT_EQ(Failure([&] { CaptureFileUtil::IsFinalFrameTrailerNeeded(rewound(), 0); }), text);
    EXPECT_EQ(Failure([&] { IndexOf(rewound()); }), text);
  };
  const auto closed = Reader();
  closed->Close();
  expectFailures(nullptr, "Cannot read capture file. The data reader is invalid.");
  expectFailures(closed, "Cannot read capture file. The data reader is invalid.");
  capture.SetByte(3, 'p');
  expectFailures(Reader(),
                 "The specified file is not a valid capture file. "
                 "FourCC does not match DCAP.");
  capture.Shrink(capture.Finish().size() - 31);
  expectFailures(Reader(),
                 "Could not read capture file header. The file may be invalid or "
                 "corrupt.");
}

// ---- The index.

TEST_F(CaptureFileUtilTest, TheIndexCountsFramesWhateverTheirNumbersAndReadsHeadersAlone) {
  capture.OtherBlock(9, "noise").Type2Block(5);
  const size_t third = capture.EndBlock().Size();
  capture.FrameBlock(100);
  const auto reader = Reader();
  EXPECT_EQ(IndexOf(reader), (Index{{1, 32}, {2, 32 + 6 + 4 + 16 + 8}, {3, third}}));
  EXPECT_EQ(reader->bytesRead, 32u + 6 * 6);
}

TEST_F(CaptureFileUtilTest, ABlockOfSizeZeroOrAnIncompleteOneEndsTheIndex) {
  capture.Shrink(50'000);
  EXPECT_EQ(IndexOf(Reader()).size(), 2u);
  capture = CaptureBuilder();
  capture.FrameBlock(1).FrameBlock(3).Unfinished();
  EXPECT_EQ(IndexOf(Reader()), (Index{{1, 32}, {2, 32 + 6 + 4 + 8}}));
  capture = CaptureBuilder();
  capture.OtherBlock(9, "").FrameBlock(1);
  EXPECT_THAT(IndexOf(Reader()), IsEmpty());
}

TEST_F(CaptureFileUtilTest, AReaderThatCannotGoOnIsNotMistakenForTheEnd) {
  const auto reader = Reader();
  reader->seeksGranted = 1;
  EXPECT_EQ(Failure([&] { IndexOf(reader); }),
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
