// Opening captures and walking them, with the tool's way of reporting what goes wrong.
#ifndef DCAP_CAPTURE_H
#define DCAP_CAPTURE_H

#include <memory>
#include <string>

#include "Core/DataReader.h"

#include "Events.h"

/// Walks the capture at `path` and hands its events to `handler`. What ends the walk early is
/// reported on stderr with the file, the byte offset, the frame and the cause. Returns an
/// `ExitStatus`; events up to the failure have been handled.
int WalkCapture(const std::string& path, EventHandler* handler);

#endif  // DCAP_CAPTURE_H
