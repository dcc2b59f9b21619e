#include "Core/Detail/Reading.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Core {

namespace {

void ReadAndDrop(DataReader* reader, uint64_t count) {
  std::array<unsigned char, 16384> dropped;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  while (count != 0) {
    const unsigned long wanted = std::min<uint64_t>(count, dropped.size());
    const unsigned long read = ReadUpTo(reader, dropped.data(), wanted);
    if (read == 0) return;
    count -= read;
  }
}

}  // namespace

void LeaveOut(DataReader* reader, uint64_t count) {
  if (reader->Seek(SEEK_CUR, static_cast<int64_t>(count)) != 0) ReadAndDrop(reader, count);
}

void LeaveOutRest(DataReader* reader) {
  if (reader->Seek(SEEK_END, 0) != 0) ReadAndDrop(reader, UINT64_MAX);
}

}  // namespace Core
