// The captures that are measured, made when the benchmarks start.
#ifndef DCAPKIT_BENCH_INPUT_H
#define DCAPKIT_BENCH_INPUT_H

#include <cstdint>
#include <string>
#include <vector>

#include "Data/DCAPFormat.h"

/// A recorded function call, its payload decompressed.
struct RecordedCall {
  uint32_t threadId;
  uint16_t id;
  std::vector<uint8_t> payload;
};

/// All function calls of the capture that the benchmarks were started with, in file order.
const std::vector<RecordedCall>& RecordedCalls();

/// Those of them with small payloads.
std::vector<RecordedCall> SmallCalls();
/// Those of the small ones that the bare walk knows, with as many pointers each.
std::vector<RecordedCall> SelectCalls(int pointers);

/// Sets the capture; before anything is measured.
void SetSourceCapture(const std::string& path);

/// A capture of at least `bytes` bytes in a temporary file that goes with the object: one frame, a
/// few hundred calls long, again and again.
class Input {
 public:
  /// The frame repeats `calls`; its size is at least `kFrameBytes`. With a compression the payloads
  /// of all calls are compressed.
  explicit Input(const std::vector<RecordedCall>& calls,
                 Data::CompressionType compression = Data::kCompressionNone,
                 uint64_t bytes = kInputBytes);
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] uint64_t Calls() const { return frames_ * callsPerFrame_; }
  [[nodiscard]] uint64_t CallsPerFrame() const { return callsPerFrame_; }
  [[nodiscard]] uint64_t Frames() const { return frames_; }
  /// Bytes of all payloads, decompressed.
  [[nodiscard]] uint64_t PayloadBytes() const { return payloadBytes_; }

  static constexpr uint64_t kInputBytes = uint64_t{200} << 20;
  static constexpr uint64_t kFrameBytes = uint64_t{8} << 10;

 private:
  void Write(const std::vector<uint8_t>& oneFrame, uint64_t bytes);

  std::string path_;
  uint64_t frames_ = 0;
  uint64_t callsPerFrame_ = 0;
  uint64_t payloadBytes_ = 0;
};

#endif  // DCAPKIT_BENCH_INPUT_H
