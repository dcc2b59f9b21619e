#include "output/Output.h"

#include <cerrno>
#include <cstdlib>

#include <unistd.h>

#include "inspect/listing/OutputError.h"

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
      throw Inspect::OutputError("standard output", errno);
    }
    text.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
  }
}
