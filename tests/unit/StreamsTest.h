// What the tests of streams share.
#ifndef DCAPKIT_TESTS_STREAMSTEST_H
#define DCAPKIT_TESTS_STREAMSTEST_H

#include <fcntl.h>
#include <unistd.h>

#include "Core/DataReader.h"

#include "support/TemporaryFolder.h"
#include "support/Test.h"

inline std::vector<uint8_t> RandomBytes(size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::vector<uint8_t> bytes(size);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

inline std::vector<uint8_t> ReadUpTo(Core::DataReader& reader, size_t size) {
  std::vector<uint8_t> bytes(size);
  bytes.resize(reader.Read(bytes.data(), size));
  return bytes;
}

inline std::vector<uint8_t> Slice(const std::vector<uint8_t>& bytes, size_t start, size_t size) {
  const auto end = static_cast<ptrdiff_t>(std::min(start + size, bytes.size()));
  return {bytes.begin() + static_cast<ptrdiff_t>(start), bytes.begin() + end};
}

class StreamsTest : public testing::Test {
 protected:
  std::string FileWith(const std::vector<uint8_t>& bytes) const {
    WriteFile(folder_ / "input", bytes);
    return folder_ / "input";
  }

  const TemporaryFolder folder_;
};

// A pipe whose ends have paths.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
  // Holds these bytes and has no writer left.
  explicit Pipe(const std::vector<uint8_t>& bytes) : Pipe() {
    EXPECT_EQ(write(ends_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    CloseEnd(1);
  }
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  std::string Path(int end) const { return "/proc/self/fd/" + std::to_string(ends_[end]); }
  void CloseEnd(int end) {
    if (ends_[end] >= 0) close(ends_[end]);
    ends_[end] = -1;
  }

 private:
  int ends_[2] = {-1, -1};
};

#endif  // DCAPKIT_TESTS_STREAMSTEST_H
