// The error that is thrown when results cannot be written.
#ifndef DCAP_INSPECT_OUTPUTERROR_H
#define DCAP_INSPECT_OUTPUTERROR_H

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Inspect {

/// Output cannot be written. It is no `Core::BasicException`, which would tell of the capture.
class OutputError : public std::runtime_error {
 public:
  /// `what()` is "OPERATION: " and the text of the error `errnum`, a value of errno.
  OutputError(const std::string& operation, int errnum)
      : std::runtime_error(operation + ": " + std::strerror(errnum)),
        brokenPipe_(errnum == EPIPE) {}

  /// True when nobody reads the output any more.
  [[nodiscard]] bool IsBrokenPipe() const { return brokenPipe_; }

 private:
  bool brokenPipe_;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_OUTPUTERROR_H
