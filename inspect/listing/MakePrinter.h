// The printers, by the names of their formats.
#ifndef DCAP_INSPECT_MAKEPRINTER_H
#define DCAP_INSPECT_MAKEPRINTER_H

#include <memory>
#include <string>

#include "inspect/listing/Printer.h"
#include "inspect/listing/TextSink.h"

namespace Inspect {

struct PrinterOptions {
  std::string format = "text";  ///< "text", "jsonl" or "canonical"
  bool numeric = false;         ///< numbers instead of names of enumerants and bits
  bool coloured = false;        ///< escape sequences of terminals in the text form
};

/// Makes a printer that borrows `sink`. Null for an unknown format.
std::unique_ptr<Printer> MakePrinter(const PrinterOptions& options, TextSink* sink);

}  // namespace Inspect

#endif  // DCAP_INSPECT_MAKEPRINTER_H
