// The least that a walk through the library's interfaces can do: what the library is measured by.
#ifndef DCAPKIT_BENCH_BAREWALK_H
#define DCAPKIT_BENCH_BAREWALK_H

#include <cstdint>
#include <memory>
#include <string>

#include "Core/DataReader.h"
#include "Data/DCAPConsumer.h"
#include "Data/GLAdapter.h"

/// Copies from a buffer of its own, 1 MiB at a time, which it fills with `read`.
class BareReader final : public Core::DataReader {
 public:
  explicit BareReader(const std::string& path);
  BareReader(const BareReader&) = delete;
  BareReader& operator=(const BareReader&) = delete;
  ~BareReader() override;

  [[nodiscard]] bool IsValid() const override { return file_ >= 0; }
  unsigned long Read(void* buffer, unsigned long size) override;
  [[nodiscard]] bool AtEof() const override { return next_ == limit_; }
  int Seek(int, int64_t) override { return -1; }
  [[nodiscard]] uint64_t Tell() const override { return 0; }

 private:
  static constexpr unsigned long kBufferSize = 1ul << 20;

  int file_;
  std::unique_ptr<unsigned char[]> buffer_;
  const unsigned char* next_;
  const unsigned char* limit_;
};

/// True when the bare walk can decode calls of this identifier: a few dozen, without result.
bool BareWalkKnows(uint16_t id);
/// How many pointers the parameters of a known call have: none or one.
int BarePointerCount(uint16_t id);

/// Walks an honest capture with thread ids and trailers and calls the adapter. Each record is read
/// into a local by itself; a thread is looked up when it changes; a table leads from the identifier
/// to a handler, which takes the parameters off the payload one by one. A pointer is one `new[]`
/// and a copy. No option, no error, no second adapter, no log.
void BareWalk(Core::DataReader& reader, Data::GLAdapter& adapter);

/// The same walk without decoding.
void BareWalk(Core::DataReader& reader, Data::DCAPConsumer& consumer);

#endif  // DCAPKIT_BENCH_BAREWALK_H
