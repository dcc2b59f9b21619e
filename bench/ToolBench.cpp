// What the tool does with headers alone, and what it writes.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <lz4.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Data/DCAPFormat.h"

#include "BareWalk.h"
#include "Compare.h"
#include "CountingConsumer.h"
#include "Input.h"
#include "Tool.h"
#include "Uploads.h"

namespace {

// The index ------------------------------------------------------------------------------------

// One system call for each block, and no more than its header and number.
uint64_t ReadBlockHeaders(const std::string& path) {
  struct {
    Data::BlockHeader header;
    uint32_t number;
  } __attribute__((packed)) block{};
  uint64_t sum = 0;
  uint64_t position = sizeof(Data::FileHeader);
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  while (pread(file, &block, sizeof(block), static_cast<off_t>(position)) ==
         static_cast<ssize_t>(sizeof(block))) {
    sum += block.number;
    position += sizeof(block.header) + block.header.size;
  }
  close(file);
  return sum;
}

Work FramesOf(const Input& input) { return {static_cast<double>(input.Frames()), "frames"}; }

void Index(benchmark::State& state, const char* command) {
  const Input input(SelectCalls(0));
  Compare(
      state, FramesOf(input), [&] { benchmark::DoNotOptimize(ReadBlockHeaders(input.Path())); },
      [&] {
        RunTool({command, input.Path()});
      });
}

void Scan(benchmark::State& state) {
  const Input input(SelectCalls(0));
  Compare(
      state, {static_cast<double>(input.Calls()), "calls"},
      [&] {
        CountingConsumer counter;
        BareReader reader(input.Path());
        BareWalk(reader, counter);
        benchmark::DoNotOptimize(counter.sum);
      },
      [&] {
        RunTool({"info", "--scan", "--jobs", "1", input.Path()});
      });
}

// Copies ---------------------------------------------------------------------------------------

constexpr uint32_t kUploadSize = 64 << 10;

std::string OutputOf(const Input& input) { return input.Path() + ".out"; }

Work BytesOf(const Input& input) {
  return {static_cast<double>(std::filesystem::file_size(input.Path())), "B"};
}

void CopyByProgram(const std::string& from, const std::string& to) {
  std::string arguments[] = {"cp", from, to};
  char* pointers[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
  pid_t child = 0;
  int status = 0;
  if (posix_spawnp(&child, "cp", nullptr, nullptr, pointers, environ) != 0 ||
      waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("cp failed");
  }
}

void Repack(benchmark::State& state, const std::vector<RecordedCall>& calls) {
  const Input input(calls);
  Compare(
      state, BytesOf(input), [&] { CopyByProgram(input.Path(), OutputOf(input)); },
      [&] {
        RunTool({"repack", "--compression", "none", input.Path(), "-o", OutputOf(input)});
      });
  std::filesystem::remove(OutputOf(input));
}

void RepackToLZ4(benchmark::State& state) {
  const std::vector<RecordedCall> calls = Uploads(kUploadSize);
  const Input input(calls);
  std::vector<char> output(static_cast<size_t>(LZ4_compressBound(kUploadSize * 2)));
  Compare(
      state, BytesOf(input),
      [&] {
        for (uint64_t frame = 0; frame < input.Frames(); ++frame) {
          for (const RecordedCall& call : calls) {
            LZ4_compress_default(reinterpret_cast<const char*>(call.payload.data()), output.data(),
                                 static_cast<int>(call.payload.size()),
                                 static_cast<int>(output.size()));
            benchmark::ClobberMemory();
          }
        }
      },
      [&] {
        RunTool({"repack", "--compression", "lz4", input.Path(), "-o", OutputOf(input)});
      });
  std::filesystem::remove(OutputOf(input));
}

[[maybe_unused]] const benchmark::internal::Benchmark* const registered[] = {
    Comparison("g. dcap frames", [](benchmark::State& state) { Index(state, "frames"); }),
    Comparison("g. dcap info", [](benchmark::State& state) { Index(state, "info"); }),
    Comparison("g. dcap info --scan", Scan),
    Comparison("w. dcap repack to none, uploads of 64 KiB",
               [](benchmark::State& state) { Repack(state, Uploads(kUploadSize)); }),
    Comparison("w. dcap repack to none, scalar calls",
               [](benchmark::State& state) { Repack(state, SelectCalls(0)); }),
    Comparison("w. dcap repack to lz4, uploads of 64 KiB", RepackToLZ4),
};

}  // namespace
