// Walks short captures under callgrind, which counts the instructions of MeasuredWalk alone; see
// the script beside this file. Usage: dcap_instructions scalars|pointers ADAPTERS [CAPTURE]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "CountingAdapter.h"
#include "Input.h"
#include "LibraryWalk.h"

namespace {

constexpr uint64_t kShortBytes = 4 << 20;

}  // namespace

// Not in a namespace, so that callgrind finds it by its name.
[[gnu::noinline]] void MeasuredWalk(LibraryWalk* walk) { walk->Finish(); }

int main(int argc, char** argv) {
  try {
    if (argc < 3) {
      throw std::runtime_error("usage: dcap_instructions scalars|pointers ADAPTERS [CAPTURE]");
    }
    if (argc > 3) {
      SetSourceCapture(argv[3]);
    }
    const Input input(SelectCalls(std::strcmp(argv[1], "pointers") == 0 ? 1 : 0),
                      Data::kCompressionNone, kShortBytes);
    std::vector<CountingAdapter> adapters(std::strtoul(argv[2], nullptr, 10));
    LibraryWalk walk(input.Path(), adapters);
    MeasuredWalk(&walk);
    std::printf("%llu\n", static_cast<unsigned long long>(input.Calls()));
    return 0;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "dcap_instructions: %s\n", exception.what());
    return 1;
  }
}
