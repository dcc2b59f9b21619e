// A walk as a user of the library makes it.
#ifndef DCAPKIT_BENCH_LIBRARYWALK_H
#define DCAPKIT_BENCH_LIBRARYWALK_H

#include <memory>
#include <span>
#include <string>

#include "Core/StdioReader.h"
#include "Data/DCAPDecodeConsumer.h"
#include "Data/DCAPFileProcessor.h"
#include "Data/EGLDecoder.h"
#include "Data/GLDecoder.h"

#include "CountingAdapter.h"

/// A processor over a capture with both decoders behind it, up to but not including the first
/// block.
class LibraryWalk {
 public:
  LibraryWalk(const std::string& path, std::span<CountingAdapter> adapters)
      : LibraryWalk(std::make_shared<Core::StdioReader>(path), adapters) {}

  LibraryWalk(const std::shared_ptr<Core::DataReader>& reader,
              std::span<CountingAdapter> adapters) {
    for (CountingAdapter& adapter : adapters) {
      glDecoder_.AddAdapter(&adapter);
    }
    consumer_.AddDecoder(&eglDecoder_);
    consumer_.AddDecoder(&glDecoder_);
    processor_.Initialize(&consumer_, reader, 0);
  }

  bool NextBlock() { return processor_.ProcessNextBlock(); }

  void Finish() {
    while (NextBlock()) {
    }
  }

 private:
  Data::EGLDecoder eglDecoder_;
  Data::GLDecoder glDecoder_;
  Data::DCAPDecodeConsumer consumer_;
  Data::DCAPFileProcessor processor_;
};

#endif  // DCAPKIT_BENCH_LIBRARYWALK_H
