#include "Util/LZ77Compressor.h"

#include <algorithm>
#include <cstring>

namespace Util {

namespace {

constexpr size_t kMinMatch = 3;        // shorter ones save nothing: token and distance take 2
constexpr size_t kInToken = 15;        // a half of the token that says: more length bytes follow
constexpr size_t kNearDistance = 128;  // distances up to here take one byte, others two
constexpr unsigned int kHashBits = 14;
constexpr unsigned int kMaxInput = 0x7E000000;  // CompressBound stays within 32 bits

// Writes a unit; `Put` writes nothing and returns false when it does not fit.
class UnitWriter {
 public:
  UnitWriter(unsigned char* output, size_t capacity) : next_(output), room_(capacity) {}

  // Writes literals, then a match of `length` bytes unless that is 0.
  bool Put(const unsigned char* literals, size_t count, size_t length, size_t distance) {
    const size_t code = length == 0 ? 0 : length - kMinMatch;
    const size_t needed =
        1 + ExtraSize(count) + count +
        (length == 0 ? 0 : 1 + size_t{distance > kNearDistance} + ExtraSize(code));
    if (needed > room_) {
      return false;
    }
    room_ -= needed;
    PutByte(std::min(count, kInToken) << 4 | std::min(code, kInToken));
    PutExtra(count);
    if (count != 0) {
      std::memcpy(next_, literals, count);
      next_ += count;
    }
    if (length != 0) {
      if (distance > kNearDistance) {
        PutByte(0x80 | (distance - 1) >> 8);
      }
      PutByte((distance - 1) & 0xFF);
      PutExtra(code);
    }
    return true;
  }

  [[nodiscard]] const unsigned char* End() const { return next_; }

 private:
  static size_t ExtraSize(size_t value) {
    return value < kInToken ? 0 : (value - kInToken) / 255 + 1;
  }

  void PutByte(size_t value) { *next_++ = static_cast<unsigned char>(value); }

  void PutExtra(size_t value) {
    if (value < kInToken) {
      return;
    }
    for (value -= kInToken; value >= 255; value -= 255) {
      PutByte(255);
    }
    PutByte(value);
  }

  unsigned char* next_;
  size_t room_;
};

uint32_t HashOf(const unsigned char* three) {
  const uint32_t value = three[0] | uint32_t{three[1]} << 8 | uint32_t{three[2]} << 16;
  // A multiplier close to 2^32 divided by the golden ratio spreads the bytes over the high bits.
  return value * 0x9E3779B1u >> (32 - kHashBits);
}

size_t CommonLength(const unsigned char* a, const unsigned char* b, size_t limit) {
  size_t length = 0;
  for (; length + 8 <= limit; length += 8) {
    uint64_t x = 0;
    uint64_t y = 0;
    std::memcpy(&x, a + length, 8);
    std::memcpy(&y, b + length, 8);
    if (x != y) {
      // The first byte that differs is the lowest one, as words are little-endian.
      return length + static_cast<size_t>(__builtin_ctzll(x ^ y)) / 8;
    }
  }
  while (length < limit && a[length] == b[length]) {
    ++length;
  }
  return length;
}

// Adds the extra bytes of a length. False when the input ends among them.
inline bool ReadExtra(const unsigned char** in, const unsigned char* inEnd, size_t* value) {
  unsigned char byte = 255;
  while (byte == 255) {
    if (*in == inEnd) {
      return false;
    }
    byte = *(*in)++;
    *value += byte;
  }
  return true;
}

// Copies steps from `done` on until `end` is reached or passed; returns where that is.
template <size_t kStep>
inline size_t CopySteps(unsigned char* out, const unsigned char* from, size_t done, size_t end) {
  for (; done < end; done += kStep) {
    std::memcpy(out + done, from + done, kStep);
  }
  return done;
}

// Copies a match, which may overlap its own copy. `room` bytes may be written, at least `length`.
inline void CopyMatch(unsigned char* out, size_t distance, size_t length, size_t room) {
  const unsigned char* from = out - distance;
  if (distance == 1) {
    std::memset(out, *from, length);
    return;
  }
  // A step that begins before this end stays within the room.
  const size_t end = room - length >= 15 ? length : length - std::min<size_t>(length, 15);
  size_t done = 0;
  if (distance >= 16) {
    done = CopySteps<16>(out, from, 0, end);
  } else if (distance >= 8) {
    done = CopySteps<8>(out, from, 0, end);
  } else if (end >= 8) {
    // What repeats after `distance` bytes also repeats after any multiple: one of at least 8 allows
    // steps of 8, once the bytes up to it are there.
    static constexpr size_t kMultiple[8] = {0, 8, 8, 9, 8, 10, 12, 14};
    const size_t multiple = kMultiple[distance];
    for (; done < multiple - distance; ++done) {
      out[done] = from[done];
    }
    done = CopySteps<8>(out, out - multiple, done, end);
  }
  for (; done < length; ++done) {
    out[done] = from[done];
  }
}

}  // namespace

// Bytes saved, give or take a constant: only comparisons matter.
size_t LZ77Compressor::Match::Gain() const { return length - (distance > kNearDistance ? 1 : 0); }

LZ77Compressor::LZ77Compressor(CompressorQuality quality, unsigned int effort, unsigned int window)
    : depth_(quality == kFastest    ? 4
             : quality == kSmallest ? 128
                                    : 16),
      niceLength_(quality == kSmallest ? 256 : 64),
      lazy_(quality != kFastest),
      window_(std::clamp(window, 1u, kMaxWindow)) {
  depth_ = std::min<size_t>(depth_ * std::max(effort, 1u), 1024);
}

LZ77Compressor::~LZ77Compressor() = default;

unsigned int LZ77Compressor::CompressBound(unsigned int inputSize) const {
  // No match takes more bytes than it saves, so only literals add bytes.
  return inputSize > kMaxInput ? 0 : inputSize + inputSize / 255 + 3;
}

uint64_t LZ77Compressor::MaxDecompressedSize(unsigned int inputSize) const {
  return uint64_t{255} * inputSize;
}

void LZ77Compressor::StartUnit(unsigned int inputSize) {
  // The hashes of earlier units keep their positions, which lie before unitStart_ and so count as
  // never seen. Only when 32 bits are used up are they cleared. back_ needs no clearing: it is read
  // for positions of this unit alone, which IndexUpTo has written.
  if (last_.empty() || nextUnit_ > UINT32_MAX - inputSize) {
    last_.assign(size_t{1} << kHashBits, 0);
    back_.resize(kMaxWindow);
    nextUnit_ = 1;
  }
  unitStart_ = nextUnit_;
  nextUnit_ += inputSize;
  indexed_ = 0;
}

void LZ77Compressor::IndexUpTo(const unsigned char* input, size_t position) {
  for (; indexed_ < position; ++indexed_) {
    const uint32_t here = unitStart_ + static_cast<uint32_t>(indexed_);
    uint32_t& last = last_[HashOf(input + indexed_)];
    const bool isNear = last >= unitStart_ && here - last <= kMaxWindow;
    back_[here % kMaxWindow] = static_cast<uint16_t>(isNear ? here - last : 0);
    last = here;
  }
}

// The most useful match at `position`, where three bytes are left at least; length 0 for none.
LZ77Compressor::Match LZ77Compressor::FindMatch(const unsigned char* input, size_t size,
                                                size_t position) {
  IndexUpTo(input, position);
  Match best;
  const uint32_t last = last_[HashOf(input + position)];
  if (last < unitStart_) {
    return best;
  }
  const size_t limit = size - position;
  size_t candidate = last - unitStart_;
  for (size_t tries = depth_; tries != 0 && position - candidate <= window_; --tries) {
    // A candidate that is longer than the best agrees with it in the byte behind that.
    if (input[candidate + best.length] == input[position + best.length]) {
      const Match match{CommonLength(input + candidate, input + position, limit),
                        position - candidate};
      if (match.length >= kMinMatch && match.Gain() >= kMinMatch && match.Gain() > best.Gain()) {
        best = match;
        if (best.length >= niceLength_ || best.length == limit) {
          break;
        }
      }
    }
    const size_t back = back_[(unitStart_ + candidate) % kMaxWindow];
    if (back == 0) {
      break;
    }
    candidate -= back;
  }
  return best;
}

bool LZ77Compressor::Compress(const unsigned char* input, unsigned int inputSize,
                              unsigned char* output, unsigned int* outputSize) {
  if (inputSize > kMaxInput) {
    return false;
  }
  StartUnit(inputSize);
  UnitWriter writer(output, *outputSize);
  const size_t size = inputSize;
  size_t position = 0;
  size_t literals = 0;  // where those not yet written begin
  while (position + kMinMatch <= size) {
    Match match = FindMatch(input, size, position);
    if (match.length == 0) {
      // The longer nothing was found, the less often it is worth looking.
      position += 1 + (position - literals) / 128;
      continue;
    }
    while (lazy_ && match.length < niceLength_ && position + 1 + kMinMatch <= size) {
      // A match that begins a byte later may save more; this byte is a literal then.
      const Match next = FindMatch(input, size, position + 1);
      if (next.Gain() <= match.Gain()) {
        break;
      }
      match = next;
      ++position;
    }
    if (!writer.Put(input + literals, position - literals, match.length, match.distance)) {
      return false;
    }
    position += match.length;
    literals = position;
  }
  if (literals < size && !writer.Put(input + literals, size - literals, 0, 0)) {
    return false;
  }
  *outputSize = static_cast<unsigned int>(writer.End() - output);
  return true;
}

bool LZ77Compressor::Decompress(const unsigned char* input, unsigned int inputSize,
                                unsigned char* output, unsigned int* outputSize) {
  // Sizes of the unit are compared with the bytes that are left; none is added to a pointer before.
  // So neither side is overrun, whatever the unit says.
  const unsigned char* in = input;
  const unsigned char* const inEnd = input + inputSize;
  unsigned char* out = output;
  unsigned char* const outEnd = output + *outputSize;
  while (in != inEnd) {
    const size_t token = *in++;
    size_t count = token >> 4;
    if (count < kInToken && inEnd - in >= 16 && outEnd - out >= 16) {
      std::memcpy(out, in, 16);  // more than needed, but it is one instruction
    } else {
      if (count == kInToken && !ReadExtra(&in, inEnd, &count)) {
        return false;
      }
      if (count > static_cast<size_t>(inEnd - in) || count > static_cast<size_t>(outEnd - out)) {
        return false;
      }
      if (count != 0) {
        std::memcpy(out, in, count);
      }
    }
    in += count;
    out += count;

    size_t length = token & 0xF;
    if (in == inEnd) {
      if (length != 0) {
        return false;
      }
      break;
    }
    size_t distance = *in++;
    if (distance >= kNearDistance) {
      if (in == inEnd) {
        return false;
      }
      distance = (distance & 0x7F) << 8 | *in++;
    }
    ++distance;
    if (length == kInToken && !ReadExtra(&in, inEnd, &length)) {
      return false;
    }
    length += kMinMatch;
    // A distance of more than has been put out would read before the output.
    const auto room = static_cast<size_t>(outEnd - out);
    if (distance > static_cast<size_t>(out - output) || distance > window_ || length > room) {
      return false;
    }
    CopyMatch(out, distance, length, room);
    out += length;
  }
  *outputSize = static_cast<unsigned int>(out - output);
  return true;
}

}  // namespace Util
