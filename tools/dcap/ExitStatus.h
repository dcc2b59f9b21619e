// The exit statuses of the tool.
#ifndef DCAP_EXITSTATUS_H
#define DCAP_EXITSTATUS_H

#include <array>

enum ExitStatus : int {
  kExitOk = 0,
  kExitFailure = 1,
  kExitUsage = 2,
  /// The command did its work on all that is there of the capture, but recorded bytes are missing:
  /// the file was cut, or ends in a sub-block that is. Merely unfinished captures, all of whose
  /// calls are there, are `kExitOk`.
  kExitIncomplete = 3,
};

struct ExitStatusText {
  ExitStatus status;
  const char* text;
};

/// What the help and the manual say about each.
inline constexpr std::array<ExitStatusText, 4> kExitStatuses = {
    {{kExitOk, "all is well, or whoever read the output had enough"},
     {kExitFailure, "the capture is damaged, or a file cannot be read or written"},
     {kExitUsage, "the command line makes no sense"},
     {kExitIncomplete, "done, but the capture had been cut: recorded bytes are missing"}}};

#endif  // DCAP_EXITSTATUS_H
