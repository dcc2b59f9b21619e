// The consumer of the walks that do not decode.
#ifndef DCAPKIT_BENCH_COUNTINGCONSUMER_H
#define DCAPKIT_BENCH_COUNTINGCONSUMER_H

#include <cstdint>

#include "Data/DCAPConsumer.h"

/// Adds up calls and payload bytes, without looking at these.
class CountingConsumer final : public Data::DCAPConsumer {
 public:
  uint64_t sum = 0;

  void ProcessFileStart(const Data::FileHeader&) override {}
  void ProcessFileEnd() override {}
  void ProcessBlockStart(const Data::BlockHeader& header) override { sum += header.size; }
  void ProcessBlockEnd(unsigned long) override {}
  void ProcessFrameNumber(unsigned int number) override { sum += number; }
  void ProcessMethodCall(const Data::SubBlockHeader&, const Data::MethodCallDesc&,
                         const unsigned char*, unsigned int size) override {
    sum += 1 + size;
  }
  void ProcessFunctionCall(const Data::SubBlockHeader& header, const Data::FunctionCallDesc& desc,
                           const unsigned char*, unsigned int size) override {
    sum += 1 + size + desc.callId + header.threadId;
  }
  void ProcessMetadata(const Data::SubBlockHeader&, const Data::MetadataDesc&, const unsigned char*,
                       unsigned int size) override {
    sum += size;
  }
};

#endif  // DCAPKIT_BENCH_COUNTINGCONSUMER_H
