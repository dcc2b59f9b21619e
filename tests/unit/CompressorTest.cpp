#include <lz4frame.h>

#include "Util/LZ4Compressor.h"
#include "Util/LZ77Compressor.h"

#include "support/Test.h"

namespace {

using Util::Compressor;
using Util::LZ4Compressor;
using Util::LZ77Compressor;
using Bytes = std::vector<unsigned char>;

constexpr auto kQuality = Compressor::kDefault;

Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

unsigned int SizeOf(const Bytes& bytes) { return static_cast<unsigned int>(bytes.size()); }

std::optional<Bytes> Compress(Compressor& compressor, const Bytes& bytes, size_t capacity) {
  Bytes unit(capacity);
  auto size = static_cast<unsigned int>(capacity);
  if (!compressor.Compress(bytes.data(), SizeOf(bytes), unit.data(), &size)) return std::nullopt;
  EXPECT_LE(size, capacity);
  unit.resize(size);
  return unit;
}

Bytes Compress(Compressor& compressor, const Bytes& bytes) {
  return Compress(compressor, bytes, compressor.CompressBound(SizeOf(bytes))).value();
}

// Decompresses into exactly `capacity` bytes of a larger block, and checks that the rest stays.
std::optional<Bytes> Decompress(Compressor& compressor, const Bytes& unit, size_t capacity) {
  constexpr size_t kGuard = 64;
  const Bytes exact(
      unit.begin(),
      unit.end());  // a heap block of its own size, so that a sanitizer sees over-reads
  Bytes output(capacity + kGuard, 0xA5);
  auto size = static_cast<unsigned int>(capacity);
  const bool good = compressor.Decompress(exact.data(), SizeOf(exact), output.data(), &size);
  EXPECT_EQ(std::count(output.end() - kGuard, output.end(), 0xA5), kGuard);
  if (!good) return std::nullopt;
  EXPECT_LE(size, capacity);
  EXPECT_LE(size, compressor.MaxDecompressedSize(SizeOf(unit)));
  output.resize(size);
  return output;
}

// The format as docs/format.md tells it, one byte at a time.
std::optional<Bytes> DecodeByTheBook(const Bytes& unit, size_t capacity, size_t window) {
  Bytes output;
  size_t next = 0;
  const auto length = [&](size_t fourBits) -> std::optional<size_t> {
    for (size_t byte = 255; fourBits >= 15 && byte == 255; fourBits += byte) {
      if (next == unit.size()) return std::nullopt;
      byte = unit[next++];
    }
    return fourBits;
  };
  while (next < unit.size()) {
    const size_t token = unit[next++];
    const auto literals = length(token / 16);
    if (!literals || *literals > unit.size() - next) return std::nullopt;
    for (size_t i = 0; i < *literals; ++i) output.push_back(unit[next++]);
    if (next == unit.size() && token % 16 != 0) return std::nullopt;
    if (next == unit.size()) break;
    size_t distance = unit[next++];
    if (distance >= 128) {
      if (next == unit.size()) return std::nullopt;
      distance = (distance - 128) * 256 + unit[next++];
    }
    const auto code = length(token % 16);
    if (!code || ++distance > std::min(output.size(), window)) return std::nullopt;
    if (output.size() + *code + 3 > capacity) return std::nullopt;
    for (size_t i = 0; i < *code + 3; ++i) output.push_back(output[output.size() - distance]);
  }
  if (output.size() > capacity) return std::nullopt;
  return output;
}

// Inputs that are hard in different ways.
std::vector<Bytes> Shapes() {
  std::mt19937 random(7);
  std::vector<Bytes> shapes;
  for (const size_t size :
       {0u, 1u, 2u, 3u, 4u, 14u, 15u, 16u, 17u, 18u, 33u, 270u, 4000u, 70'000u}) {
    Bytes noise(size);
    for (auto& byte : noise) byte = static_cast<unsigned char>(random());
    shapes.push_back(noise);
    shapes.emplace_back(size, 'z');
    for (auto& byte : noise) byte = static_cast<unsigned char>('a' + random() % 2);
    shapes.push_back(noise);
    for (const size_t period : {2u, 3u, 4u, 5u, 6u, 7u, 8u, 12u, 15u, 16u, 17u, 129u, 32'768u}) {
      for (size_t i = period; i < size; ++i) noise[i] = noise[i - period];
      shapes.push_back(noise);
    }
  }
  // Literal and match lengths around every place where their coding changes.
  Bytes lengths;
  for (const size_t base : {0u, 12u, 15u, 18u, 268u, 270u, 273u, 525u, 780u}) {
    for (size_t extra = 0; extra < 4; ++extra) {
      for (size_t i = 0; i < base + extra; ++i)
        lengths.push_back(static_cast<unsigned char>(random()));
      lengths.insert(lengths.end(), base + extra, 'm');
    }
  }
  shapes.push_back(lengths);
  shapes.emplace_back(3'000'000, 0);
  return shapes;
}

struct Maker {
  std::string name;
  std::unique_ptr<Compressor> (*make)();
};

void PrintTo(const Maker& maker, std::ostream* stream) { *stream << maker.name; }

template <typename Type, Compressor::CompressorQuality quality, unsigned int... arguments>
std::unique_ptr<Compressor> Make() {
  return std::make_unique<Type>(quality, arguments...);
}

class CompressorTest : public testing::TestWithParam<Maker> {
 protected:
  std::unique_ptr<Compressor> compressor_ = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(
    All, CompressorTest,
    testing::Values(Maker{"LZ4Fastest", Make<LZ4Compressor, Compressor::kFastest, 0>},
                    Maker{"LZ4", Make<LZ4Compressor, Compressor::kDefault, 1>},
                    Maker{"LZ4Smallest", Make<LZ4Compressor, Compressor::kSmallest, UINT_MAX>},
                    Maker{"LZ77Fastest", Make<LZ77Compressor, Compressor::kFastest, 0, 32768>},
                    Maker{"LZ77", Make<LZ77Compressor, Compressor::kDefault, 1, 32768>},
                    Maker{"LZ77Smallest", Make<LZ77Compressor, Compressor::kSmallest, 9, 32768>},
                    Maker{"LZ77SmallWindow", Make<LZ77Compressor, Compressor::kDefault, 1, 100>}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(CompressorTest, WhatIsCompressedComesBackAndHardlyGrowsAndFitsInNothingSmaller) {
  EXPECT_LT(Compress(*compressor_, Bytes(100'000, 0)).size(), 500u);
  for (const Bytes& bytes : Shapes()) {
    const Bytes unit = Compress(*compressor_, bytes);
    EXPECT_LE(unit.size(), bytes.size() + bytes.size() / 255 + 3);
    ASSERT_TRUE(Decompress(*compressor_, unit, bytes.size()) == bytes) << bytes.size();
    ASSERT_TRUE(Decompress(*compressor_, unit, bytes.size() + 100) == bytes) << bytes.size();
    if (bytes.empty()) continue;
    EXPECT_EQ(Decompress(*compressor_, unit, bytes.size() - 1), std::nullopt);
    EXPECT_EQ(Decompress(*compressor_, unit, 0), std::nullopt);
    if (GetParam().name == "LZ4Smallest") continue;  // may find a smaller coding when pressed
    EXPECT_EQ(Compress(*compressor_, bytes, unit.size() - 1), std::nullopt);
  }
}

TEST_P(CompressorTest, NoChangeOrCutOfAUnitDoesHarm) {
  const Bytes bytes =
      BytesOf("glDrawArrays glDrawElements glBindBuffer glDraw" + std::string(300, '.') +
              "glDrawRangeElements, glBindBuffer, glVertexAttribPointer, glDraw");
  const Bytes unit = Compress(*compressor_, bytes);
  for (size_t at = 0; at < unit.size(); ++at) {
    const Bytes cut(unit.begin(), unit.begin() + static_cast<ptrdiff_t>(at));
    EXPECT_NE(Decompress(*compressor_, cut, bytes.size()), bytes);
    for (int value = 0; value < 256; ++value) {
      Bytes changed = unit;
      changed[at] = static_cast<unsigned char>(value);
      Decompress(*compressor_, changed, bytes.size());
    }
  }
}

TEST_P(CompressorTest, InputsTooLargeForItHaveNoBound) {
  EXPECT_EQ(compressor_->CompressBound(UINT_MAX), 0u);
  EXPECT_EQ(compressor_->CompressBound(0x7E000001), 0u);
  unsigned char byte = 0;
  unsigned int size = 1;
  EXPECT_FALSE(compressor_->Compress(&byte, 0x7E000001, &byte, &size));
  if (!GetParam().name.starts_with("LZ4")) return;  // whose library counts in `int`
  EXPECT_FALSE(compressor_->Decompress(&byte, INT_MAX + 1u, &byte, &size));
  size = INT_MAX + 1u;
  EXPECT_FALSE(compressor_->Decompress(&byte, 1, &byte, &size));
  EXPECT_FALSE(compressor_->Compress(&byte, 1, &byte, &size));
}

// Makes LZ4 frames with the reference library.
class LZ4FrameTest : public testing::Test {
 protected:
  static Bytes Frame(const Bytes& bytes, bool checked, bool linked) {
    LZ4F_preferences_t preferences{};
    preferences.frameInfo.blockMode = linked ? LZ4F_blockLinked : LZ4F_blockIndependent;
    preferences.frameInfo.contentChecksumFlag =
        checked ? LZ4F_contentChecksumEnabled : LZ4F_noContentChecksum;
    preferences.frameInfo.contentSize = checked ? bytes.size() : 0;
    Bytes frame(LZ4F_compressFrameBound(bytes.size(), &preferences));
    frame.resize(
        LZ4F_compressFrame(frame.data(), frame.size(), bytes.data(), bytes.size(), &preferences));
    return frame;
  }

  LZ4Compressor compressor_{kQuality, 1};
};

TEST_F(LZ4FrameTest, FramesOfEveryKindAreAccepted) {
  for (const Bytes& bytes : Shapes()) {
    for (const bool checked : {true, false}) {
      for (const bool linked : {true, false}) {
        ASSERT_TRUE(Decompress(compressor_, Frame(bytes, checked, linked), bytes.size()) == bytes);
      }
    }
  }
}

TEST_F(LZ4FrameTest, AFrameThatIsCutContinuedDamagedOrTooLargeIsRefusedAndTheNextDecodes) {
  const Bytes bytes = BytesOf("glDrawArrays glDrawArrays glDrawArrays");
  const Bytes frame = Frame(bytes, true, false);
  for (size_t at = 4; at < frame.size(); ++at) {
    const Bytes cut(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(at));
    EXPECT_EQ(Decompress(compressor_, cut, bytes.size()), std::nullopt) << at;
    Bytes changed = frame;
    changed[at] ^= 0x10;
    EXPECT_EQ(Decompress(compressor_, changed, bytes.size()), std::nullopt) << at;
    EXPECT_EQ(Decompress(compressor_, frame, bytes.size()), bytes);
  }
  Bytes longer = frame;
  longer.push_back(0);
  EXPECT_EQ(Decompress(compressor_, longer, bytes.size()), std::nullopt);
  const Bytes large = Frame(Bytes(200'000, 'x'), false, true);
  EXPECT_EQ(Decompress(compressor_, large, 200'000 - 1), std::nullopt);
  EXPECT_EQ(Decompress(compressor_, large, 0), std::nullopt);
}

class LZ77Test : public testing::Test {
 protected:
  static std::optional<Bytes> Decode(const Bytes& unit, size_t capacity,
                                     unsigned int window = 32768) {
    LZ77Compressor compressor(kQuality, 1, window);
    return Decompress(compressor, unit, capacity);
  }

  // A unit of 40000 literals, then a match at `distance`.
  static Bytes FarMatch(size_t distance) {
    Bytes unit{0xF0};
    unit.insert(unit.end(), (40'000 - 15) / 255, 255);
    unit.push_back((40'000 - 15) % 255);
    for (int i = 0; i < 40'000; ++i) unit.push_back(static_cast<unsigned char>(i * i >> 8));
    unit.push_back(static_cast<unsigned char>(0x80 | (distance - 1) >> 8));
    unit.push_back(static_cast<unsigned char>(distance - 1));
    return unit;
  }
};

TEST_F(LZ77Test, TheExampleOfTheFormatDecodesAsItSays) {
  const Bytes unit{0x33, 0x41, 0x42, 0x43, 0x02, 0x12, 0x2D, 0x00, 0x1F,
                   0x2E, 0x00, 0x02, 0x01, 0x80, 0x23, 0x10, 0x21};
  const Bytes expected = BytesOf("ABCABCABC------.....................ABCA!");
  EXPECT_EQ(Decode(unit, 41), expected);
  EXPECT_EQ(DecodeByTheBook(unit, 41, 32768), expected);
}

TEST_F(LZ77Test, UnitsThatEndInTheMiddleOrReachTooFarAreDamaged) {
  EXPECT_EQ(Decode({}, 5), Bytes()) << "the empty unit gives nothing";
  for (const Bytes& unit : {Bytes{0x20, 'a'},
                            {0xF0},
                            {0xF0, 0xFF},
                            {0x11, 'a'},
                            {0x11, 'a', 0x80},
                            {0x1F, 'a', 0x00},
                            {0x10, 'a', 0x01},
                            {0x00, 0x00}}) {
    EXPECT_EQ(Decode(unit, 500), std::nullopt);
  }
  EXPECT_EQ(Decode({0x10, 'a', 0x00}, 50), BytesOf("aaaa"));
  EXPECT_EQ(Decode({0x20, 'a', 'b', 0x01}, 50, 2), BytesOf("ababa"));
  EXPECT_EQ(Decode({0x20, 'a', 'b', 0x01}, 50, 1), std::nullopt);
  EXPECT_EQ(Decode(FarMatch(32'768), 40'003)->size(), 40'003u);
  EXPECT_EQ(Decode(FarMatch(32'768), 40'003, 32'767), std::nullopt);
}

TEST_F(LZ77Test, HugeLengthsNeitherWrapNorOutgrowTheBound) {
  Bytes unit{0x1F, 'a', 0x00};
  unit.insert(unit.end(), 100'000, 0xFF);
  unit.push_back(0xFE);
  const size_t size = 1 + 3 + 15 + 255 * 100'000 + 254;
  EXPECT_EQ(Decode(unit, 1000), std::nullopt);
  EXPECT_EQ(Decode(unit, size - 1), std::nullopt);
  EXPECT_TRUE(Decode(unit, size) == Bytes(size, 'a'));
  EXPECT_LE(size, LZ77Compressor(kQuality, 1, 32768).MaxDecompressedSize(SizeOf(unit)));
}

TEST_F(LZ77Test, AnyBytesDecodeAsByTheBook) {
  std::mt19937 random(11);
  LZ77Compressor compressor(kQuality, 1, 300);
  for (int round = 0; round < 50'000; ++round) {
    Bytes unit(random() % 60);
    for (auto& byte : unit) {
      // Small values are short lengths and distances, which keep a unit alive for longer.
      byte = static_cast<unsigned char>(random() % 3 == 0 ? random() : random() % 64);
    }
    const size_t capacity = random() % 2 == 0 ? 1000 : random() % 100;
    ASSERT_EQ(Decompress(compressor, unit, capacity), DecodeByTheBook(unit, capacity, 300));
  }
}

TEST_F(LZ77Test, EveryDistanceAndLengthCopiesRightUpToTheLastByte) {
  Bytes start(40);
  for (size_t i = 0; i < start.size(); ++i) start[i] = static_cast<unsigned char>('A' + i);
  for (unsigned char distance = 0; distance < 40; ++distance) {
    for (unsigned char extra = 0; extra < 100; ++extra) {
      Bytes unit{0xFF, 25};
      unit.insert(unit.end(), start.begin(), start.end());
      unit.insert(unit.end(), {distance, extra});
      const size_t size = 40u + 18 + extra;
      const auto expected = DecodeByTheBook(unit, size, 32768);
      for (const size_t spare : {0u, 1u, 14u, 15u, 16u, 100u}) {
        ASSERT_EQ(Decode(unit, size + spare), expected) << int{distance} << " " << int{extra};
      }
    }
  }
}

TEST_F(LZ77Test, CompressionKeepsToTheWindow) {
  std::mt19937 random(5);
  Bytes bytes(300);
  for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
  bytes.insert(bytes.end(), bytes.begin(), bytes.end());
  LZ77Compressor tooSmall(kQuality, 1, 299);
  LZ77Compressor enough(kQuality, 1, 300);
  EXPECT_GE(Compress(tooSmall, bytes).size(), 600u);
  EXPECT_LT(Compress(enough, bytes).size(), 320u);
}

TEST_F(LZ77Test, UnitsDoNotDependOnWhatWasCompressedBefore) {
  LZ77Compressor used(kQuality, 1, 32768);
  for (const Bytes& bytes : Shapes()) {
    LZ77Compressor fresh(kQuality, 1, 32768);
    ASSERT_TRUE(Compress(used, bytes) == Compress(fresh, bytes));
  }
}

}  // namespace
