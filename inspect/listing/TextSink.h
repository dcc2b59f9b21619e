// The destination of a listing.
#ifndef DCAP_INSPECT_TEXTSINK_H
#define DCAP_INSPECT_TEXTSINK_H

#include <cstddef>
#include <memory>
#include <string_view>

namespace Inspect {

/// Receives text piece by piece. A piece may end anywhere in a line. A sink that cannot write
/// throws `OutputError`, which ends the walk and reaches its caller.
class TextSink {
 public:
  /// Bytes of the buffers that `WriteFrom` is given.
  static constexpr size_t kBufferSize = size_t{64} << 10;

  virtual ~TextSink() = default;
  virtual void Write(std::string_view text) = 0;
  /// Writes the first `size` bytes of a buffer of `kBufferSize` bytes. The sink may keep the buffer
  /// if it leaves another one in its place.
  virtual void WriteFrom(std::unique_ptr<char[]>* buffer, size_t size) {
    Write({buffer->get(), size});
  }
};

}  // namespace Inspect

#endif  // DCAP_INSPECT_TEXTSINK_H
