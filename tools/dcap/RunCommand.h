// Runs commands: turns the way in which each ends into a status, and messages on stderr.
#ifndef DCAP_RUNCOMMAND_H
#define DCAP_RUNCOMMAND_H

#include <functional>
#include <optional>
#include <string>

#include "ExitStatus.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"

/// Runs the work of a command and returns its status. When it throws, writes a message to stderr
/// and returns `kExitFailure`; but when nobody reads the output any more, returns `kExitOk`
/// silently. `path` is the path of the capture at hand; the work may change it when it goes on to
/// another one.
ExitStatus RunCommand(const std::string& path, const std::function<ExitStatus()>& work);

/// Writes the state of a capture to stderr, unless it is finished.
void ReportState(const std::string& path, const Inspect::Capture& capture);

/// Writes damage of a capture to stderr, and a command that saves the frames before it, if there
/// are any. Returns `kExitFailure`.
ExitStatus ReportDamage(const std::string& path, const Inspect::Damage& damage);

/// The status of a command that has read the capture to its end.
ExitStatus StatusOf(const Inspect::Capture& capture);

/// Reports damage, if there is any. Returns the status of a command that has read the capture to
/// its end or the damage.
ExitStatus ReportEnd(const std::string& path, const Inspect::Capture& capture,
                     const std::optional<Inspect::Damage>& damage);

#endif  // DCAP_RUNCOMMAND_H
