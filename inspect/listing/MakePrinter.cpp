#include "inspect/listing/MakePrinter.h"

#include "inspect/listing/CanonicalPrinter.h"
#include "inspect/listing/JsonLinesPrinter.h"
#include "inspect/listing/TextPrinter.h"

namespace Inspect {

std::unique_ptr<Printer> MakePrinter(const PrinterOptions& options, TextSink* sink) {
  if (options.format == "text") {
    return std::make_unique<TextPrinter>(sink, options.numeric, options.coloured);
  }
  if (options.format == "jsonl") {
    return std::make_unique<JsonLinesPrinter>(sink, options.numeric);
  }
  return options.format == "canonical" ? std::make_unique<CanonicalPrinter>(sink) : nullptr;
}

}  // namespace Inspect
