#include "Core/Detail/CopyBytes.h"

#include <algorithm>

#ifdef __x86_64__

namespace Core {

void CopyInPieces(void* to, const void* from, size_t count) {
  while (count != 0) {
    size_t piece = std::min(count, kCopyPiece);
    // Keeps the bound from the compiler, which would make `rep movsq` of so short a copy.
    asm("" : "+r"(piece));  // NOLINT(hicpp-no-assembler)
    std::memcpy(to, from, piece);
    to = static_cast<char*>(to) + piece;
    from = static_cast<const char*>(from) + piece;
    count -= piece;
  }
}

}  // namespace Core

#endif
