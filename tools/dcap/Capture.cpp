#include "Capture.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

#include "Core/Exceptions.h"
#include "Core/StdioReader.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/RecoveredReader.h"

#include "Command.h"

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

void AddClause(std::string* text, const std::string& clause) {
  *text += (text->empty() ? "" : "; ") + clause;
}

int Report(const std::string& path, const Core::DataReader* reader, const EventConsumer& consumer,
           const char* cause) {
  std::fprintf(stderr, "dcap: %s: ", path.c_str());
  if (reader != nullptr && reader->IsValid()) {
    std::fprintf(stderr, "offset %llu: ", static_cast<unsigned long long>(reader->Tell()));
    if (consumer.Context().frameOrdinal != 0) {
      std::fprintf(stderr, "frame %u: ", consumer.Context().frameOrdinal);
    }
  }
  std::fprintf(stderr, "%s\n", cause);
  return kExitFailure;
}

}  // namespace

Capture::Capture(const std::string& path) : path_(path) {
  errno = 0;
  reader_ = std::make_shared<Core::StdioReader>(path);
  if (!reader_->IsValid()) {
    throw Core::BasicException(
        std::string("Cannot read capture file. The data reader is invalid. (") +
        (errno != 0 ? std::strerror(errno) : "Not a file") + ")");
  }
  if (const uint64_t size = reader_->Size(); size != 0) {
    recovery_ = Data::CaptureRecovery::Examine(reader_.get(), size);
    reader_->Seek(SEEK_SET, 0);
    if (!recovery_.IsComplete()) {
      reader_ = std::make_shared<Data::RecoveredReader>(reader_, recovery_);
    }
  }
}

void Capture::ReportState() const {
  if (const std::string state = DescribeState(recovery_); !state.empty()) {
    std::fprintf(stderr, "dcap: %s: %s; read as if finalised\n", path_.c_str(), state.c_str());
  }
}

int Capture::Status() const { return recovery_.IsCut() ? kExitIncomplete : kExitOk; }

std::string DescribeState(const Data::CaptureRecovery& recovery) {
  if (recovery.IsComplete()) return "";
  const Data::FileHeader& stored = recovery.storedHeader;
  std::vector<std::string_view> missing;
  std::vector<std::string_view> wrong;
  const auto compare = [&](uint64_t is, uint64_t shouldBe, std::string_view name) {
    if (is != shouldBe) (is == 0 ? missing : wrong).push_back(name);
  };
  compare(stored.frameCount, recovery.header.frameCount, "frame count");
  compare(stored.fileSize, recovery.header.fileSize, "file size");
  compare(recovery.storedLastBlockSize, recovery.lastBlockSize, "last block size");
  if (recovery.appendsTrailer && !recovery.IsCut()) missing.emplace_back("trailer");

  std::string text;
  if (!missing.empty()) AddClause(&text, "unfinished: " + Enumerate(missing) + " missing");
  if (recovery.leftOutSize != 0) {
    AddClause(&text, "cut: " + Bytes(recovery.leftOutSize) + " of a broken " +
                         (recovery.leftOutIsBlock ? "block" : "sub-block") + " at offset " +
                         std::to_string(recovery.leftOutStart) + " left out");
  } else if (recovery.IsCut()) {
    AddClause(&text, "cut: nothing is there after offset " + std::to_string(recovery.keptSize));
  } else if (!wrong.empty()) {
    AddClause(&text, "not finalised: " + Enumerate(wrong) + " wrong");
  }
  return text;
}

int WalkCapture(const std::string& path, EventHandler* handler, const Selection& selection) {
  EventConsumer consumer(handler, &selection);
  std::shared_ptr<Core::DataReader> reader;
  try {
    const Capture capture(path);
    capture.ReportState();
    reader = capture.Reader();
    Data::DCAPFileProcessor processor;
    processor.Initialize(&consumer, reader, reader->Size());
    while (processor.ProcessNextBlock() && !consumer.IsFinished()) {
    }
    return capture.Status();
  } catch (const std::bad_alloc&) {
    return Report(path, reader.get(), consumer,
                  "A recorded size asks for more memory than there is to be had.");
  } catch (const Core::BasicException& exception) {
    return Report(path, reader.get(), consumer, exception.what());
  }
}
