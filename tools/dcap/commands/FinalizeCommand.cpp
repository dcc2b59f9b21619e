// dcap finalize: completes an unfinished or cut capture.
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include <CLI/App.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/Exceptions.h"
#include "Core/StdioWriter.h"
#include "Data/CaptureFileUtil.h"

#include "Command.h"
#include "RunCommand.h"
#include "inspect/walk/Capture.h"
#include "output/Output.h"
#include "output/OutputFile.h"
#include "output/Progress.h"

namespace {

struct Options {
  std::string file;
  std::string copy;
  bool dryRun = false;
};

std::string Change(const char* what, uint64_t from, uint64_t to) {
  if (from == to) return "";
  return std::string("  ") + what + ": " + std::to_string(from) + " -> " + std::to_string(to) +
         "\n";
}

// The changes that finalising makes, a line for each.
std::string Plan(const Data::CaptureRecovery& recovery) {
  const std::string kept = std::to_string(recovery.keptSize);
  const std::string lastBlockSize =
      "size of the last block, at " + std::to_string(recovery.lastBlock);
  std::string plan;
  if (recovery.leftOutSize != 0) {
    plan += "  shortened: " + std::to_string(recovery.storedSize) + " -> " + kept + " bytes\n";
  }
  plan += Change(lastBlockSize.c_str(), recovery.storedLastBlockSize, recovery.lastBlockSize);
  if (recovery.appendsTrailer) plan += "  trailer: written at " + kept + "\n";
  plan += Change("frame count", recovery.storedHeader.frameCount, recovery.header.frameCount);
  plan += Change("file size", recovery.storedHeader.fileSize, recovery.header.fileSize);
  return plan;
}

void Copy(const std::string& path, Core::DataReader* reader, OutputFile* output) {
  constexpr unsigned long kPieceSize = 256ul * 1024;
  const auto piece = std::make_unique_for_overwrite<unsigned char[]>(kPieceSize);
  const uint64_t size = reader->Size();
  Progress progress(path, size);
  for (uint64_t done = 0; done < size;) {
    const unsigned long count = reader->Read(piece.get(), kPieceSize);
    if (count == 0) throw Core::BasicException("The capture can no longer be read.");
    if (output->Writer()->Write(piece.get(), count) != count) output->Fail();
    done += count;
    progress.Show(done);
  }
  output->Commit();
}

// A read-only file is meant to stay as it is, even when the super-user runs the command.
bool IsReadOnly(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & 0222) == 0;
}

void FinishInPlace(const std::string& path, const Data::CaptureRecovery& recovery) {
  if (IsReadOnly(path)) {
    throw Core::BasicException(
        "Cannot finalize capture file. The data writer is invalid. (The file is read-only; -o "
        "writes a finalised copy)");
  }
  Core::StdioWriter writer(path, true, false);
  // Checked before the file is shortened; Finish throws for an invalid writer.
  if (writer.IsValid()) {
    if (Data::CaptureFileUtil::GetFileSize(path) != recovery.storedSize) {
      throw Core::BasicException("The file is still being written.");
    }
    if (recovery.leftOutSize != 0 &&
        truncate(path.c_str(), static_cast<off_t>(recovery.keptSize)) != 0) {
      throw Core::BasicException(std::string("Cannot shorten the file: ") + std::strerror(errno));
    }
  }
  recovery.Finish(&writer);
  if (!writer.Flush()) throw Core::BasicException(std::strerror(errno));
}

ExitStatus Finalize(const Options& options) {
  return RunCommand(options.file, [&] {
    StandardOutput output;
    const Inspect::Capture capture(options.file);
    const Data::CaptureRecovery& recovery = capture.Recovery();
    capture.RequireFile();
    if (recovery.damaged) {
      throw Core::BasicException(
          "Cannot finalize a damaged capture. The file is as large as its header says, but a block "
          "runs past its end.");
    }
    const std::string state = Inspect::DescribeState(recovery);
    output.Write(options.file + ": " + (state.empty() ? "finalised already" : state) + "\n" +
                 Plan(recovery));
    if (options.dryRun) return StatusOf(capture);
    if (!options.copy.empty()) {
      OutputFile copy(options.copy);
      Copy(options.file, capture.Reader().get(), &copy);
    } else if (!recovery.IsComplete()) {
      FinishInPlace(options.file, recovery);
    }
    return StatusOf(capture);
  });
}

}  // namespace

void AddFinalizeCommand(CLI::App& app, int* status) {
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("finalize", "Complete an unfinished or cut capture");
  command->add_option("FILE", options->file, "the capture, changed in place")->required();
  command->add_option("-o,--output", options->copy, "write a finalised copy, change nothing");
  command->add_flag("-n,--dry-run", options->dryRun, "only show what would change");
  command->footer(
      R"(Exit status 3 tells that the capture had been cut: a sub-block that is not there whole is left
out, and the file shortened by it.

Examples:
  dcap finalize --dry-run FILE
  dcap finalize FILE
  dcap finalize -o finished.dcap FILE)");
  command->callback([options, status] { *status = Finalize(*options); });
}
