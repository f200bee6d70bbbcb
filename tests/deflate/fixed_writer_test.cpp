// The fixed code, bit for bit.

#include <string>

#include "deflate/calls.h"
#include "gtest/gtest.h"

namespace {

using namespace zeldc_test;

// Bits written lowest first, as the stream holds them.
class BitString {
 public:
  BitString& Add(unsigned value, int count) {
    for (int i = 0; i < count; ++i) bits_ += (value >> i & 1) != 0 ? '1' : '0';
    return *this;
  }

  Bytes ToBytes() const {
    Bytes bytes((bits_.size() + 7) / 8);
    for (size_t i = 0; i < bits_.size(); ++i) {
      if (bits_[i] == '1') bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 1u << i % 8);
    }
    return bytes;
  }

 private:
  std::string bits_;
};

// The bytes of a stream with one last fixed block of these pairs.
Bytes LastBlock(const Pairs& pairs) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  EndInput(record.get());
  return WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), pairs, zelLZ77FlushFinal).bytes;
}

}  // namespace

TEST(FixedCode, EmptyBlockIsHeaderAndEndOfBlock) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Written written = WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), {});
  EXPECT_EQ(written.status, zelOk);
  EXPECT_EQ(written.bytes, Bytes{2});  // 3 header bits, then zeros: 2 of the 7 are still held
  EXPECT_EQ(WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), {}, zelLZ77FlushSync).bytes,
            BitString().Add(0, 2).Add(2, 3).Add(0, 7).Add(0, 3).Add(0, 1).Add(0, 16).Add(0xFFFF, 16).ToBytes());
}

TEST(FixedCode, Literals) {
  EXPECT_EQ(LastBlock({{'A', 0}}), BitString().Add(3, 3).Add(0x8E, 8).Add(0, 7).ToBytes());
  EXPECT_EQ(LastBlock({{144, 0}}), BitString().Add(3, 3).Add(0x13, 9).Add(0, 7).ToBytes());
  EXPECT_EQ(LastBlock({{0, 0}}), BitString().Add(3, 3).Add(0x0C, 8).Add(0, 7).ToBytes());    // code 00110000
  EXPECT_EQ(LastBlock({{143, 0}}), BitString().Add(3, 3).Add(0xFD, 8).Add(0, 7).ToBytes());  // code 10111111
  EXPECT_EQ(LastBlock({{255, 0}}), BitString().Add(3, 3).Add(0x1FF, 9).Add(0, 7).ToBytes());
}

TEST(FixedCode, Lengths) {
  auto expected = [](unsigned code, int bits) {
    return BitString().Add(3, 3).Add(code, bits).Add(0, 5).Add(0, 7).ToBytes();
  };
  EXPECT_EQ(LastBlock({{3, 1}}), expected(0x40, 7));
  EXPECT_EQ(LastBlock({{11, 1}}), expected(0x48, 8));
  EXPECT_EQ(LastBlock({{258, 1}}), expected(0xA3, 8));
  EXPECT_EQ(LastBlock({{257, 1}}), expected(0x23 | 30 << 8, 13));  // code 11000100, 5 extra bits
}

TEST(FixedCode, Distances) {
  auto expected = [](unsigned code, int bits) {
    return BitString().Add(3, 3).Add(0x40, 7).Add(code, bits).Add(0, 7).ToBytes();
  };
  EXPECT_EQ(LastBlock({{3, 1}}), expected(0, 5));
  EXPECT_EQ(LastBlock({{3, 5}}), expected(4, 6));
  EXPECT_EQ(LastBlock({{3, 256}}), expected(30 | 63 << 5, 11));
  EXPECT_EQ(LastBlock({{3, 257}}), expected(1, 12));
  EXPECT_EQ(LastBlock({{3, 384}}), expected(1 | 127 << 5, 12));
  EXPECT_EQ(LastBlock({{3, 385}}), expected(17, 12));
  EXPECT_EQ(LastBlock({{3, 512}}), expected(17 | 127 << 5, 12));
  EXPECT_EQ(LastBlock({{3, 513}}), expected(9, 13));
  EXPECT_EQ(LastBlock({{3, 24577}}), expected(23, 18));
  EXPECT_EQ(LastBlock({{3, 32768}}), expected(23 | 8191 << 5, 18));
}

TEST(FixedCode, EveryPairTakesTheBitsOfTheFormat) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  EndInput(record.get());
  for (int length : {3, 10, 11, 18, 114, 115, 257, 258}) {
    for (int distance = 1; distance <= 32768; distance += distance < 600 ? 1 : 97) {
      const Pair pair{length, distance};
      const int bits = 3 + FixedBits(pair) + 7;
      const Written block = WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), {pair}, zelLZ77FlushFinal);
      ASSERT_EQ(block.bytes.size(), static_cast<size_t>((bits + 7) / 8)) << length << ", " << distance;
    }
  }
}
