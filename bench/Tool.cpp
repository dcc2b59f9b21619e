#include "Tool.h"

#include <algorithm>
#include <stdexcept>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fcntl.h>
#include <unistd.h>

#include "Command.h"
#include "ExitStatus.h"

namespace {

// Sends standard output elsewhere for a while.
class OutputTo {
 public:
  explicit OutputTo(const std::string& path) : output_(dup(STDOUT_FILENO)) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(file, STDOUT_FILENO);
    close(file);
  }
  OutputTo(const OutputTo&) = delete;
  OutputTo& operator=(const OutputTo&) = delete;
  ~OutputTo() {
    dup2(output_, STDOUT_FILENO);
    close(output_);
  }

 private:
  int output_;
};

}  // namespace

void RunTool(std::vector<std::string> arguments, const std::string& output) {
  CLI::App app;
  int status = kExitOk;
  for (AddCommand* add : kCommands) {
    add(app, &status);
  }
  const OutputTo redirected(output);
  std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
  app.parse(arguments);
  if (status != kExitOk) {
    throw std::runtime_error("the tool failed");
  }
}
