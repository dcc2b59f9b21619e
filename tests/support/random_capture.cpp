// Writes random captures, for tests that are not written in C++.
//
//     random_capture DIR COUNT SEED
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/RandomCapture.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const std::filesystem::path folder = argv[1];
  const auto first = static_cast<uint32_t>(std::atoi(argv[3]));
  for (uint32_t seed = first; seed - first < static_cast<uint32_t>(std::atoi(argv[2])); ++seed) {
    const auto bytes = RandomCapture(seed, RandomCapture::kSome).Finish();
    std::ofstream file(folder / ("random-" + std::to_string(seed) + ".dcap"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file) return 1;
  }
  return 0;
}
