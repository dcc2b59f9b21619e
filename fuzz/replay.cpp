// Runs a fuzz target without libFuzzer: over files, and over random changes of them.
//
//     fuzz_capture FILE|FOLDER...
//     fuzz_capture --mutants N --seed S FILE|FOLDER...
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" [[gnu::weak]] size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                                        unsigned int seed);
// A few changes of the kinds that damage files; libFuzzer brings its own.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using Input = std::vector<uint8_t>;

std::mt19937 generator;

size_t Below(size_t limit) {
  return std::uniform_int_distribution<size_t>(0, limit - 1)(generator);
}

void Collect(const std::filesystem::path& path, std::vector<Input>* inputs) {
  if (std::filesystem::is_directory(path)) {
    std::vector<std::filesystem::path> entries;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      entries.push_back(entry.path());
    }
    std::sort(entries.begin(), entries.end());
    for (const auto& entry : entries) {
      Collect(entry, inputs);
    }
  } else {
    std::ifstream file(path, std::ios::binary);
    inputs->emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
}

Input Mutant(const std::vector<Input>& inputs) {
  Input mutant = inputs[Below(inputs.size())];
  const size_t size = mutant.size();
  const size_t maxSize = size + 64;
  mutant.resize(maxSize);
  const auto seed = static_cast<unsigned int>(generator());
  mutant.resize(LLVMFuzzerCustomMutator != nullptr
                    ? LLVMFuzzerCustomMutator(mutant.data(), size, maxSize, seed)
                    : LLVMFuzzerMutate(mutant.data(), size, maxSize));
  return mutant;
}

}  // namespace

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize) {
  for (size_t changes = 1 + Below(4); changes != 0; --changes) {
    if (size == 0) {
      return 0;
    }
    const size_t at = Below(size);
    switch (Below(6)) {
      case 0:
        data[at] ^= static_cast<uint8_t>(1u << Below(8));
        break;
      case 1:
        data[at] = static_cast<uint8_t>(generator());
        break;
      case 2: {  // a number of the kind that sizes break on
        static constexpr uint32_t kNumbers[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x10000};
        const uint32_t number = kNumbers[Below(std::size(kNumbers))];
        std::memcpy(data + at, &number, std::min(sizeof(number), size - at));
        break;
      }
      case 3: {  // cut out
        const size_t count = std::min(size - at, 1 + Below(32));
        std::memmove(data + at, data + at + count, size - at - count);
        size -= count;
        break;
      }
      case 4: {  // double
        const size_t count = std::min({size - at, maxSize - size, 1 + Below(32)});
        std::memmove(data + at + count, data + at, size - at);
        size += count;
        break;
      }
      default:
        std::swap(data[at], data[Below(size)]);
    }
  }
  return size;
}

int main(int argc, char** argv) {
  size_t mutants = 0;
  std::vector<Input> inputs;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--mutants" && i + 1 < argc) {
      mutants = std::strtoul(argv[++i], nullptr, 10);
    } else if (argument == "--seed" && i + 1 < argc) {
      generator.seed(static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10)));
    } else {
      Collect(argument, &inputs);
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "%s: no input\n", argv[0]);
    return 2;
  }
  for (const Input& input : inputs) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  for (size_t i = 0; i < mutants; ++i) {
    const Input mutant = Mutant(inputs);
    LLVMFuzzerTestOneInput(mutant.data(), mutant.size());
  }
  std::printf("%zu files and %zu mutants done\n", inputs.size(), mutants);
  return 0;
}
