#include "WriteCopy.h"

#include <cstdio>
#include <functional>

#include "RunCommand.h"
#include "inspect/events/CompressionName.h"
#include "output/OutputFile.h"
#include "output/Progress.h"

namespace {

// Tells how to give a capture the options of the first one; empty when no command can.
std::string Advice(const Inspect::OptionsError& error) {
  constexpr uint32_t kRepacked = Data::kOptionCompressionMask | Data::kOptionNoTrailers;
  if (((error.options ^ error.firstOptions) & ~kRepacked) != 0) return "";
  const bool trailers = (error.firstOptions & Data::kOptionNoTrailers) == 0;
  return std::string(" First give it to: dcap repack --compression ") +
         Inspect::CompressionName(error.firstOptions) +
         (trailers ? " --trailers" : " --no-trailers");
}

void Append(const Inspect::Capture& capture, const std::string& path, Inspect::CaptureCopy* copy) {
  Progress progress(path, capture.Reader()->Size());
  copy->onSkippedSetUp = [&path] {
    Progress::Hide();
    std::fprintf(stderr,
                 "dcap: %s: its set-up calls now come after frames, where readers skip them\n",
                 path.c_str());
  };
  copy->Append(capture, path, &progress);
}

// Runs a step of the copy. Adds to its errors the name of the output, or advice.
void Try(const OutputFile& output, const std::function<void()>& step) {
  try {
    step();
  } catch (const Inspect::OptionsError& error) {
    throw Core::BasicException(error.what() + Advice(error));
  } catch (const Core::BasicException& error) {
    if (error.what() == Data::DCAPFileWriter::WriteFailMsg) output.Fail();
    throw;
  }
}

}  // namespace

ExitStatus WriteCopy(const std::vector<std::string>& paths, const std::string& output,
                     const Inspect::CopySettings& settings) {
  std::string path;
  return RunCommand(path, [&] {
    OutputFile file(output);
    Inspect::CaptureCopy copy(file.Writer(), settings);
    ExitStatus status = kExitOk;
    for (const std::string& next : paths) {
      path = next;
      const Inspect::Capture capture(path);
      ReportState(path, capture);
      if (StatusOf(capture) != kExitOk) status = StatusOf(capture);
      Try(file, [&] { Append(capture, path, &copy); });
    }
    Try(file, [&] { copy.Finish(); });
    file.Commit();
    return status;
  });
}
