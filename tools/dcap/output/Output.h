// Standard output, written in large pieces.
#ifndef DCAP_OUTPUT_H
#define DCAP_OUTPUT_H

#include <stdexcept>
#include <string>
#include <string_view>

#include "Core/Exceptions.h"

#include "inspect/listing/TextBuffer.h"

/// Standard output, or a file, cannot be written.
class OutputError : public std::runtime_error {
 public:
  /// `target` tells what.
  OutputError(const std::string& target, int errnum);
  /// Nobody reads the output any more: no error to speak of.
  [[nodiscard]] bool IsBrokenPipe() const { return brokenPipe_; }

 private:
  bool brokenPipe_;
};

/// Says on stderr what went wrong, unless the reader simply had enough, which is `kExitOk`. Returns
/// an `ExitStatus`.
int ReportOutputError(const OutputError& error);
/// The same for a file that `OutputFile` writes, perhaps a pipe.
int ReportOutputError(const Core::ErrnoException& error);

/// Whether standard output is a terminal.
bool OutputIsTerminal();

/// Whether standard output is a terminal that shows colours, and the user wants them.
bool OutputHasColours();

class StandardOutput : public TextSink {
 public:
  /// Throws `OutputError`.
  void Write(std::string_view text) override;
};

#endif  // DCAP_OUTPUT_H
