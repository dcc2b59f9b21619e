// The exit statuses of the tool.
#ifndef DCAP_EXITSTATUS_H
#define DCAP_EXITSTATUS_H

#include <array>

enum ExitStatus : int {
  kExitOk = 0,
  kExitFailure = 1,
  kExitUsage = 2,
  /// The command has done its work, but recorded bytes of the capture are missing: its file was
  /// cut, or ends in the middle of a sub-block. A merely unfinished capture, which has all its
  /// calls, is `kExitOk`.
  kExitIncomplete = 3,
};

struct ExitStatusText {
  ExitStatus status;
  const char* text;
};

/// The texts of help and manual, one for each status.
inline constexpr std::array<ExitStatusText, 4> kExitStatuses = {
    {{kExitOk, "all is well, or whoever read the output had enough"},
     {kExitFailure, "the capture is damaged, or a file cannot be read or written"},
     {kExitUsage, "the command line makes no sense"},
     {kExitIncomplete, "done, but the capture had been cut: recorded bytes are missing"}}};

#endif  // DCAP_EXITSTATUS_H
