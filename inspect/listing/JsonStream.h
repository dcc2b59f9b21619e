// Lets RapidJSON's writers write into a text buffer.
#ifndef DCAP_JSONSTREAM_H
#define DCAP_JSONSTREAM_H

#include "inspect/listing/TextBuffer.h"

struct JsonStream {
  using Ch = char;
  void Put(char c) const { out->Char(c); }
  void Flush() const {}
  TextBuffer* out;
};

#endif  // DCAP_JSONSTREAM_H
