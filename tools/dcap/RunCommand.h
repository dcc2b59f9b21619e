// How every command ends: with a status, and a message where something went wrong.
#ifndef DCAP_RUNCOMMAND_H
#define DCAP_RUNCOMMAND_H

#include <functional>
#include <optional>
#include <string>

#include "ExitStatus.h"
#include "inspect/walk/Capture.h"
#include "inspect/walk/Damage.h"

/// Runs the work of a command and returns its status. Writes a message to stderr for what it
/// throws, `kExitFailure`, unless that only tells that nobody reads the output any more, `kExitOk`.
/// `path` is that of the capture at hand; the work may change it when it goes on to the next one.
ExitStatus RunCommand(const std::string& path, const std::function<ExitStatus()>& work);

/// Writes a line to stderr about what a capture lacks, if it lacks anything.
void ReportState(const std::string& path, const Inspect::Capture& capture);

/// Writes to stderr what ended the reading of a capture, and how to save the frames before that, if
/// there are any. Returns `kExitFailure`.
ExitStatus ReportDamage(const std::string& path, const Inspect::Damage& damage);

/// The status for a capture that was read to its end.
ExitStatus StatusOf(const Inspect::Capture& capture);

/// Reports the damage that ended the reading of the capture, if any did. Returns the status.
ExitStatus ReportEnd(const std::string& path, const Inspect::Capture& capture,
                     const std::optional<Inspect::Damage>& damage);

#endif  // DCAP_RUNCOMMAND_H
