#include "Tool.h"

#include <algorithm>
#include <stdexcept>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fcntl.h>
#include <unistd.h>

#include "Command.h"

namespace {

// Sends standard output elsewhere for a while.
class QuietOutput {
 public:
  QuietOutput() : output_(dup(STDOUT_FILENO)) {
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    close(null);
  }
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;
  ~QuietOutput() {
    dup2(output_, STDOUT_FILENO);
    close(output_);
  }

 private:
  int output_;
};

}  // namespace

void RunTool(std::vector<std::string> arguments) {
  CLI::App app;
  int status = kExitOk;
  for (AddCommand* add : kCommands) {
    add(app, &status);
  }
  const QuietOutput quiet;
  std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
  app.parse(arguments);
  if (status != kExitOk) {
    throw std::runtime_error("the tool failed");
  }
}
