// Standard output.
#ifndef DCAP_OUTPUT_H
#define DCAP_OUTPUT_H

#include <string_view>

#include "inspect/listing/TextSink.h"

/// True when standard output is a terminal.
bool OutputIsTerminal();

/// True when standard output is a terminal that shows colours, and the user wants them.
bool OutputHasColours();

/// Writes to standard output, without a buffer of its own.
class StandardOutput : public Inspect::TextSink {
 public:
  /// Throws `OutputError`.
  void Write(std::string_view text) override;
};

#endif  // DCAP_OUTPUT_H
