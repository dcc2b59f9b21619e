#include "output/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "Command.h"

OutputError::OutputError(const std::string& target, int errnum)
    : std::runtime_error(target + ": " + std::strerror(errnum)), brokenPipe_(errnum == EPIPE) {}

namespace {

int Report(bool isBrokenPipe, const char* what) {
  if (isBrokenPipe) {
    return kExitOk;
  }
  std::fprintf(stderr, "dcap: %s\n", what);
  return kExitFailure;
}

}  // namespace

int ReportOutputError(const OutputError& error) {
  return Report(error.IsBrokenPipe(), error.what());
}

int ReportOutputError(const Core::ErrnoException& error) {
  return Report(error.GetErrno() == EPIPE, error.what());
}

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) != 0; }

bool OutputHasColours() {
  const char* refusal = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return OutputIsTerminal() && (refusal == nullptr || *refusal == '\0') && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

void StandardOutput::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      throw OutputError("standard output", errno);
    }
    text.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
  }
}
