#include "Data/CaptureFileUtil.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

#include "Core/Exceptions.h"
#include "Core/Log.h"
#include "Core/StdioReader.h"
#include "Core/StdioWriter.h"
#include "Data/Detail/CaptureFileTexts.h"
#include "Data/Detail/Format.h"
#include "Util/String.h"

namespace Data {

using namespace CaptureFileTexts;
using Core::Log;

namespace {

constexpr char kUnit[] = "src/Data/CaptureFileUtil";

constexpr char kSeekFailed[] = "File seek failed.  Could not determine if file is finalized.";

FileHeader ReadHeader(Core::DataReader* reader) {
  if (reader == nullptr || !reader->IsValid()) throw Core::BasicException(kInvalidReader);
  FileHeader header{};
  if (reader->Read(&header, sizeof(header)) != sizeof(header)) {
    throw Core::BasicException(kHeaderUnreadable);
  }
  if (header.fourCC != kDCAPFourCC) throw Core::BasicException(kNotACapture);
  return header;
}

bool EndsWithTrailer(Core::DataReader* reader, uint64_t fileSize) {
  // As a signed offset a size below 8 lies before the start, where no reader can go.
  const auto offset = static_cast<int64_t>(fileSize - sizeof(DCAPFrameTrailer));
  if (reader->Seek(SEEK_SET, offset) != 0) throw Core::BasicException(kSeekFailed);
  uint64_t trailer = 0;
  return reader->Read(&trailer, sizeof(trailer)) == sizeof(trailer) && trailer == DCAPFrameTrailer;
}

template <typename T>
void WriteAt(Core::DataWriter* writer, const T& value, uint64_t offset, const char* failure) {
  if (writer->WriteAt(&value, sizeof(value), offset) != sizeof(value)) {
    throw Core::BasicException(failure);
  }
}

}  // namespace

uint64_t CaptureFileUtil::GetFileSize(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return static_cast<uint64_t>(status.st_size);
  const int error = errno;
  std::array<char, 8192> buffer{};
  const std::string text = "Cannot stat file: " + path +
                           " (errno = " + Util::String::FromInt(error, 10) + " : " +
                           strerror_r(error, buffer.data(), buffer.size()) + ")";
  Log::Print(Log::LogLevel::kError, Log::LogZone::kProcessing, __LINE__, kUnit, true, "%s",
             text.c_str());
  throw Core::ErrnoException(static_cast<unsigned int>(error), text);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface takes streams by value.

bool CaptureFileUtil::IsFileFinalized(std::shared_ptr<Core::DataReader> reader, uint64_t fileSize) {
  const FileHeader header = ReadHeader(reader.get());
  if (fileSize != 0 && header.fileSize > fileSize) {
    Log::Print(Log::LogLevel::kWarning, Log::LogZone::kProcessing, __LINE__, kUnit, true,
               "File size specified in the DCAP header is larger than size of file on disk. File "
               "may be truncated.");
  }
  if (header.frameCount == 0 || header.fileSize == 0) return false;
  if (fileSize != 0 && header.fileSize != fileSize) return false;
  return !HasTrailers(header.optionMask) || EndsWithTrailer(reader.get(), fileSize);
}

bool CaptureFileUtil::IsFileFinalized(const std::string& path, uint64_t fileSize) {
  if (fileSize == 0) fileSize = GetFileSize(path);
  return IsFileFinalized(std::make_shared<Core::StdioReader>(path), fileSize);
}

bool CaptureFileUtil::IsFinalFrameTrailerNeeded(std::shared_ptr<Core::DataReader> reader,
                                                uint64_t fileSize) {
  return HasTrailers(ReadHeader(reader.get()).optionMask) &&
         !EndsWithTrailer(reader.get(), fileSize);
}

bool CaptureFileUtil::IsFinalFrameTrailerNeeded(const std::string& path, uint64_t fileSize) {
  return IsFinalFrameTrailerNeeded(std::make_shared<Core::StdioReader>(path), fileSize);
}

void CaptureFileUtil::FinalizeFile(std::shared_ptr<Core::DataWriter> writer, uint64_t fileSize,
                                   uint32_t frameCount, uint64_t lastFrameOffset,
                                   bool trailerNeeded) {
  if (writer == nullptr || !writer->IsValid()) throw Core::BasicException(kInvalidWriter);
  const uint64_t trailerSize = trailerNeeded ? sizeof(DCAPFrameTrailer) : 0;
  // Wraps, and so is too large, when the end of the file cuts the block header.
  const uint64_t finalFrameSize = fileSize + trailerSize - lastFrameOffset - sizeof(BlockHeader);
  // Checked before the first write: a size that wrapped would lead every later reader astray.
  if (frameCount != 0 && (lastFrameOffset > fileSize || finalFrameSize > UINT32_MAX)) {
    throw Core::BasicException(kFrameSizeUnwritten);
  }
  WriteAt(writer.get(), frameCount, offsetof(FileHeader, frameCount), kFrameCountUnwritten);
  WriteAt(writer.get(), fileSize + trailerSize, offsetof(FileHeader, fileSize),
          kFrameCountUnwritten);
  if (frameCount == 0) return;
  if (trailerNeeded) WriteAt(writer.get(), DCAPFrameTrailer, fileSize, kTrailerUnwritten);
  WriteAt(writer.get(), static_cast<uint32_t>(finalFrameSize),
          lastFrameOffset + offsetof(BlockHeader, size), kFrameSizeUnwritten);
}

void CaptureFileUtil::FinalizeFile(const std::string& path, uint64_t fileSize, uint32_t frameCount,
                                   uint64_t lastFrameOffset, bool trailerNeeded) {
  FinalizeFile(std::make_shared<Core::StdioWriter>(path, true, false), fileSize, frameCount,
               lastFrameOffset, trailerNeeded);
}

void CaptureFileUtil::GenerateFrameIndex(std::shared_ptr<Core::DataReader> reader,
                                         std::vector<FrameEntry>* index) {
  ReadHeader(reader.get());
  uint64_t position = sizeof(FileHeader);
  uint32_t frameNumber = 0;
  BlockHeader header{};
  while (reader->Read(&header, sizeof(header)) == sizeof(header)) {
    if (header.type == kBlockFrame) index->push_back({++frameNumber, position});
    // The recorder writes the size of a block when it ends the block.
    if (header.size == 0) return;
    // A block that runs past the end is noticed by the next read, which then finds no header.
    if (reader->Seek(SEEK_CUR, header.size) != 0) break;
    position += sizeof(header) + header.size;
  }
  if (!reader->AtEof()) throw Core::BasicException(kBlockHeaderUnreadable);
}

void CaptureFileUtil::GenerateFrameIndex(const std::string& path, std::vector<FrameEntry>* index) {
  GenerateFrameIndex(std::make_shared<Core::StdioReader>(path), index);
}

void CaptureFileUtil::EnsureFinalization(const std::string& path) {
  const uint64_t fileSize = GetFileSize(path);
  auto reader = std::make_shared<Core::StdioReader>(path);
  if (IsFileFinalized(reader, fileSize)) return;
  reader->Seek(SEEK_SET, 0);
  const bool trailerNeeded = IsFinalFrameTrailerNeeded(reader, fileSize);
  reader->Seek(SEEK_SET, 0);
  std::vector<FrameEntry> index;
  GenerateFrameIndex(reader, &index);
  // Nothing reads while the file is patched.
  reader.reset();
  const uint64_t lastFrameOffset = index.empty() ? 0 : index.back().filePosition;
  FinalizeFile(std::make_shared<Core::StdioWriter>(path, false, false), fileSize,
               static_cast<uint32_t>(index.size()), lastFrameOffset, trailerNeeded);
}

// NOLINTEND(performance-unnecessary-value-param)

}  // namespace Data
