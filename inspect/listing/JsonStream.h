// Lets RapidJSON's writers write into a text buffer.
#ifndef DCAP_INSPECT_JSONSTREAM_H
#define DCAP_INSPECT_JSONSTREAM_H

#include "inspect/listing/TextBuffer.h"

namespace Inspect {

struct JsonStream {
  using Ch = char;
  void Put(char c) const { out->Char(c); }
  void Flush() const {}
  TextBuffer* out;
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_JSONSTREAM_H
