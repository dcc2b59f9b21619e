#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "Command.h"

OutputError::OutputError(int errnum)
    : std::runtime_error(std::strerror(errnum)), brokenPipe_(errnum == EPIPE) {}

int ReportOutputError(const OutputError& error) {
  if (error.IsBrokenPipe()) {
    return kExitOk;
  }
  std::fprintf(stderr, "dcap: standard output: %s\n", error.what());
  return kExitFailure;
}

void StandardOutput::Write(std::string_view lines) {
  while (!lines.empty()) {
    const ssize_t written = write(STDOUT_FILENO, lines.data(), lines.size());
    if (written < 0 && errno != EINTR) {
      throw OutputError(errno);
    }
    lines.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
  }
}
