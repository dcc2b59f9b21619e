// Calls with large payloads.
#ifndef DCAPKIT_BENCH_UPLOADS_H
#define DCAPKIT_BENCH_UPLOADS_H

#include <cstdint>
#include <vector>

#include "Input.h"

/// A few calls of glBufferSubData with `size` bytes each, 4 MiB together at least. The bytes look
/// to a compressor as textures do: smooth gradients, a little noise, an alpha channel.
std::vector<RecordedCall> Uploads(uint32_t size);

#endif  // DCAPKIT_BENCH_UPLOADS_H
