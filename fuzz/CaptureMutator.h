// A mutator that knows the shape of captures, so that damage goes deeper than the file header.
#ifndef DCAPKIT_FUZZ_CAPTUREMUTATOR_H
#define DCAPKIT_FUZZ_CAPTUREMUTATOR_H

#include <cstddef>
#include <cstdint>

/// Changes a capture in place and returns its new size, at most `maxSize`. Bytes change at random;
/// most of the time headers and sizes are then made plausible again.
size_t MutateCapture(uint8_t* data, size_t size, size_t maxSize, unsigned int seed);

/// Changes bytes without knowing what they are: libFuzzer's own, or that of `replay.cpp`.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

#endif  // DCAPKIT_FUZZ_CAPTUREMUTATOR_H
