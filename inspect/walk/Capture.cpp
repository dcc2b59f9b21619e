#include "inspect/walk/Capture.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "Core/Exceptions.h"
#include "Core/StdioReader.h"
#include "Data/Capture/RecoveredReader.h"

#include "inspect/walk/HeaderReader.h"
#include "inspect/walk/Threads.h"

namespace Inspect {

namespace {

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

Capture::Capture(const std::string& path, unsigned jobs) : file_(path) {
  errno = 0;
  reader_ = std::make_shared<Core::StdioReader>(file_.Path());
  if (!reader_->IsValid()) {
    throw Core::BasicException(
        std::string("Cannot read capture file. The data reader is invalid. (") +
        (errno != 0 ? std::strerror(errno) : "Not a file") + ")");
  }
  if (const uint64_t size = reader_->Size(); size != 0) {
    headers_ = std::make_shared<HeaderReader>(file_.Path(), ThreadsFor(jobs, size));
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
  if (recovery_.storedSize == 0) return nullptr;
  auto file = std::make_shared<Core::StdioReader>(file_.Path());
  return file->Size() < recovery_.storedSize ? nullptr : Finished(std::move(file));
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
  // A finished capture that was cut lacks its last trailer: that goes without saying.
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

}  // namespace Inspect
