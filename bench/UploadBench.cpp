// Uploads: large payloads, stored as they are and compressed.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <lz4.h>
#include <unistd.h>

#include "Core/MappedReader.h"
#include "Core/StdioReader.h"
#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

#include "Compare.h"
#include "CountingAdapter.h"
#include "Input.h"
#include "LibraryWalk.h"
#include "Uploads.h"

namespace {

Work BytesOf(const Input& input) { return {static_cast<double>(input.PayloadBytes()), "B"}; }

void ReadAndCopy(const Input& input, size_t size) {
  constexpr size_t kPiece = 1 << 20;
  const std::unique_ptr<uint8_t, decltype(&std::free)> piece(
      static_cast<uint8_t*>(std::aligned_alloc(4096, kPiece)), &std::free);
  const int file = open(input.Path().c_str(), O_RDONLY | O_CLOEXEC);
  for (ssize_t got; (got = read(file, piece.get(), kPiece)) > 0;) {
    for (size_t at = 0; at + size <= static_cast<size_t>(got); at += size) {
      const std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
      std::memcpy(copy.get(), piece.get() + at, size);
      benchmark::DoNotOptimize(copy.get());
      benchmark::ClobberMemory();
    }
  }
  close(file);
}

void Stored(benchmark::State& state, uint32_t size) {
  const Input input(Uploads(size));
  CountingAdapter adapter;
  Compare(
      state, BytesOf(input), [&] { ReadAndCopy(input, size); },
      [&] {
        LibraryWalk(input.Path(), {&adapter, 1}).Finish();
      });
}

// The payloads of one frame, compressed, and decompressed as often as there are frames.
class Units {
 public:
  Units(const std::vector<RecordedCall>& calls, Util::Compressor* compressor) {
    for (const RecordedCall& call : calls) {
      const auto size = static_cast<unsigned int>(call.payload.size());
      std::vector<uint8_t> unit(compressor->CompressBound(size));
      auto unitSize = static_cast<unsigned int>(unit.size());
      compressor->Compress(call.payload.data(), size, unit.data(), &unitSize);
      unit.resize(unitSize);
      units_.push_back(unit);
      output_.resize(call.payload.size());
    }
  }

  template <typename Decompress>
  void DecompressAll(uint64_t rounds, Decompress decompress) {
    for (uint64_t round = 0; round < rounds; ++round) {
      for (const std::vector<uint8_t>& unit : units_) {
        decompress(unit, &output_);
        benchmark::ClobberMemory();
      }
    }
  }

 private:
  std::vector<std::vector<uint8_t>> units_;
  std::vector<uint8_t> output_;
};

template <typename Reader>
void LZ4(benchmark::State& state, uint32_t size) {
  const std::vector<RecordedCall> calls = Uploads(size);
  const Input input(calls, Data::kCompressionLZ4);
  Util::LZ4Compressor compressor(Util::Compressor::kDefault, 1);
  Units units(calls, &compressor);
  CountingAdapter adapter;
  Compare(
      state, BytesOf(input),
      [&] {
        units.DecompressAll(input.Frames(), [](const auto& unit, auto* output) {
          LZ4_decompress_safe(reinterpret_cast<const char*>(unit.data()),
                              reinterpret_cast<char*>(output->data()),
                              static_cast<int>(unit.size()), static_cast<int>(output->size()));
        });
      },
      [&] {
        LibraryWalk(std::make_shared<Reader>(input.Path()), {&adapter, 1}).Finish();
      });
}

void LZ77(benchmark::State& state, uint32_t size) {
  const std::vector<RecordedCall> calls = Uploads(size);
  const Input input(calls, Data::kCompressionLZ77);
  Util::LZ77Compressor compressor(Util::Compressor::kDefault, 1, 32768);
  Units units(calls, &compressor);
  CountingAdapter adapter;
  Compare(
      state, BytesOf(input),
      [&] {
        units.DecompressAll(input.Frames(), [&](const auto& unit, auto* output) {
          auto produced = static_cast<unsigned int>(output->size());
          compressor.Decompress(unit.data(), static_cast<unsigned int>(unit.size()), output->data(),
                                &produced);
        });
      },
      [&] {
        LibraryWalk(input.Path(), {&adapter, 1}).Finish();
      });
}

void RegisterAll() {
  using Function = void (*)(benchmark::State&, uint32_t);
  const auto registerSizes = [](const std::string& name, Function function) {
    for (const uint32_t kilobytes : {16u, 64u, 256u, 1024u}) {
      Comparison((name + ", " + std::to_string(kilobytes) + " KiB each").c_str(),
                 [=](benchmark::State& state) { function(state, kilobytes << 10); });
    }
  };
  registerSizes("d. uploads", Stored);
  registerSizes("e. LZ4 uploads", LZ4<Core::StdioReader>);
  registerSizes("e. LZ4 uploads, mapped", LZ4<Core::MappedReader>);
  registerSizes("e. LZ77 uploads", LZ77);
}

[[maybe_unused]] const bool registered = (RegisterAll(), true);

}  // namespace
