// The entries of decoded metadata records, as meta handlers receive them.
#ifndef DCAPKIT_DATA_METARECORDS_H
#define DCAPKIT_DATA_METARECORDS_H

#include <cstdint>
#include <cstring>

namespace Data {

// Fields named by a letter and a number are passed on as recorded: the format fixes their order and
// width, not their meaning. Fields that a short payload does not hold are 0, pointers null.
//
// Everything is valid only until the handler returns. Names are NUL-terminated copies. Arrays and
// data point INTO the payload, where nothing is aligned: read arrays with `LoadWord`.

/// Returns element `index` of an array of 32-bit values that points into a payload.
inline uint32_t LoadWord(const uint32_t* array, int32_t index) {
  uint32_t word = 0;
  std::memcpy(&word, reinterpret_cast<const unsigned char*>(array) + int64_t{index} * 4, 4);
  return word;
}

/// One plane of an EGL image.
struct EglImagePlane {
  uint32_t p0;
  uint64_t size;  ///< bytes at `data`
  uint64_t p1;
  const uint8_t* data;  ///< into the payload; null when the payload does not hold `size` bytes
};

/// An EGL image buffer, and its contents where they are recorded.
struct EglImageBufferDesc {
  uint32_t f0;
  uint32_t f1;
  uint32_t f2;
  uint32_t f3;
  uint32_t planeCount;
  EglImagePlane* planes;  ///< null when `planeCount` is 0
};

/// A uniform or an attribute of a program.
struct GLResourceDesc {
  uint32_t e0;
  uint32_t e1;
  uint32_t e2;
  uint32_t e3;
  int32_t nameLength;
  char* name;  ///< null when `nameLength` is below 1
};

/// A uniform block of a program.
struct GLUniformBlockDesc {
  uint32_t e0;
  uint32_t e1;
  int32_t nameLength;
  char* name;  ///< null when `nameLength` is below 1
  uint32_t e3;
  uint32_t e4;
  uint32_t e5;
  uint32_t e6;
  int32_t arrayLength;        ///< elements of each array
  const uint32_t* arrays[8];  ///< into the payload; null when absent
};

/// An atomic counter buffer of a program.
struct GLAtomicCounterBufferDesc {
  uint32_t e0;
  uint32_t e1;
  uint32_t e2;
  uint32_t e3;
  uint32_t e4;
  uint32_t e5;
  int32_t arrayLength;
  const uint32_t* array;  ///< into the payload; null when absent
};

/// A buffer variable of a program.
struct GLBufferVariableDesc {
  uint32_t e0;
  uint32_t e1;
  uint32_t e2;
  uint32_t e3;
  uint32_t e4;
  uint32_t e5;
  uint32_t e6;
  uint32_t e7;
  uint32_t e8;
  uint32_t e9;
  uint32_t e10;
  uint32_t e11;
  uint32_t e12;
  int32_t nameLength;
  char* name;  ///< null when `nameLength` is below 1
};

/// A shader storage block of a program.
struct GLStorageBlockDesc {
  uint32_t e0;
  int32_t nameLength;
  char* name;  ///< null when `nameLength` is below 1
  uint32_t e2;
  uint32_t e3;
  uint32_t e4;
  uint32_t e5;
  uint32_t e6;
  int32_t arrayLength;
  const uint32_t* array;  ///< into the payload; null when absent
};

/// One implementation limit.
struct GLLimitPair {
  uint32_t first;
  uint32_t second;
};

}  // namespace Data

#endif  // DCAPKIT_DATA_METARECORDS_H
