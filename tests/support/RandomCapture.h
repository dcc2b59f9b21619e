// Captures made from the call tables, a different one for every seed.
#ifndef DCAPKIT_TESTS_RANDOMCAPTURE_H
#define DCAPKIT_TESTS_RANDOMCAPTURE_H

#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include "Data/ApiCallType.h"

#include "support/CaptureBuilder.h"
#include "support/PayloadBuilder.h"

namespace Data {
struct CallDesc;
struct ParameterDesc;
}  // namespace Data

/// Every call of the tables, every kind of pointer block with every flag, client memory, metadata,
/// type-2 blocks, with and without thread ids and trailers. Never compressed.
class RandomCapture {
 public:
  /// What the capture may hold that typed calls do not carry, so that encoding the calls again
  /// cannot give it back.
  enum Oddities { kNone, kSome };

  explicit RandomCapture(uint32_t seed, Oddities oddities = kNone);

  [[nodiscard]] std::vector<uint8_t> Finish() const { return capture_.Finish(); }

  /// The calls that are in it.
  [[nodiscard]] const std::set<Data::ApiCallType>& Calls() const { return calls_; }
  /// How many calls are odd.
  [[nodiscard]] size_t OddCalls() const { return oddCalls_; }

 private:
  void AddSubBlock();
  void AddCall();
  void AddOddCall();
  void PutValue(Bytes& payload, const Data::ParameterDesc& value);
  void PutPointer(Bytes& payload, uint32_t elementSize);
  void PutStrings(Bytes& payload);
  void PutVertexRecords(Bytes& payload);
  void PutMappedBytes(Bytes& payload, uint32_t length, bool sizeAlone);
  Bytes Payload(const Data::CallDesc& call);
  Bytes Content(size_t size);
  uint32_t Draw(uint32_t below) { return static_cast<uint32_t>(random_() % below); }
  bool OneIn(uint32_t n) { return Draw(n) == 0; }

  std::mt19937 random_;
  Oddities oddities_;
  CaptureBuilder capture_;
  std::set<Data::ApiCallType> calls_;
  size_t oddCalls_ = 0;
};

#endif  // DCAPKIT_TESTS_RANDOMCAPTURE_H
