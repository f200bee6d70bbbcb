// Code length tables: packed, unpacked, and the buffer sizes that follow from them.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

struct PackResult {
  zelStatus status;
  Bytes bytes;
};

// Packs into exactly `room` bytes.
PackResult Pack(const Lengths& lengths, size_t room = 384) {
  const GuardedBuffer out(room);
  std::fill_n(out.data(), room, uint8_t{0xA5});
  int32_t len = static_cast<int32_t>(room);
  const zelStatus status = zelsHuffLenCodeTablePack_8u(lengths.data(), out.data(), &len);
  EXPECT_GE(len, 0);
  EXPECT_LE(len, static_cast<int32_t>(room));
  EXPECT_TRUE(std::all_of(out.data() + len, out.end(), [](uint8_t byte) { return byte == 0xA5; }));
  return {status, Front(out.ToBytes(), static_cast<size_t>(len))};
}

struct UnpackResult {
  zelStatus status;
  int32_t used;
  Lengths lengths;
};

UnpackResult Unpack(const Bytes& packed) {
  const GuardedBuffer source(packed);
  const GuardedBuffer table(256 * sizeof(int32_t));
  UnpackResult result;
  result.used = static_cast<int32_t>(packed.size());
  result.status = zelsHuffLenCodeTableUnpack_8u(source.data(), &result.used, reinterpret_cast<int32_t*>(table.data()));
  std::copy_n(reinterpret_cast<int32_t*>(table.data()), 256, result.lengths.begin());
  return result;
}

// A packed table from its nibbles, with zeros up to `size` bytes.
Bytes Nibbles(const std::vector<int>& nibbles, size_t size = 0) {
  Bytes bytes(std::max((nibbles.size() + 1) / 2, size));
  for (size_t i = 0; i < nibbles.size(); ++i) {
    bytes[i / 2] = static_cast<uint8_t>(bytes[i / 2] | nibbles[i] << (i % 2 == 0 ? 4 : 0));
  }
  return bytes;
}

std::vector<Lengths> Tables() {
  std::vector<Lengths> tables;
  for (const auto& [name, frequencies] : AllFrequencies()) tables.push_back(ModelLengths(frequencies));
  Random random(1);
  Lengths lengths{};
  tables.push_back(lengths);
  for (int32_t v : {1, 8, 12, 13, 25, 26, 32}) {
    lengths.fill(v);
    tables.push_back(lengths);
  }
  for (size_t max_run : {1, 2, 3, 4, 34, 35, 36, 37, 69, 70, 100, 256}) {
    for (int i = 0; i < 10; ++i) {
      for (size_t v = 0; v < 256;) {
        const int32_t length = static_cast<int32_t>(Uniform(random, 0, 32));
        for (size_t run = i < 5 ? max_run : Uniform(random, 1, max_run); run > 0 && v < 256; --run) {
          lengths[v++] = length;
        }
      }
      tables.push_back(lengths);
    }
  }
  return tables;
}

TEST(HuffmanPack, StatusesInOrder) {
  Lengths lengths{};
  lengths[9] = 33;
  uint8_t out[2] = {7, 7};
  int32_t len = 0;
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(nullptr, out, &len), zelErrNullPtr);
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(lengths.data(), nullptr, &len), zelErrNullPtr);
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(lengths.data(), out, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(lengths.data(), out, &len), zelErrSize);
  EXPECT_EQ(len, 0);
  EXPECT_EQ(out[0], 7);
  len = 1;
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(lengths.data(), out, &len), zelErrHuffLenTable) << "and too little room";
  EXPECT_EQ(len, 1);
  EXPECT_EQ(out[1], 7);
  lengths.fill(0);
  len = 1;
  EXPECT_EQ(zelsHuffLenCodeTablePack_8u(lengths.data(), out, &len), zelErrSize);
  EXPECT_EQ(len, 1);
}

TEST(HuffmanPack, RunsAreCountedFromTheThirdEqualLengthOn) {
  Lengths lengths{};
  lengths[0] = 5;
  for (size_t v = 1; v < 256; ++v) lengths[v] = v % 2 ? 1 : 2;
  lengths[10] = lengths[11] = lengths[12] = 7;
  const std::vector<int> nibbles = {5, 1, 2, 1, 2, 1, 2, 1, 2, 1, 7, 7, 7, 0, 1, 2};
  const PackResult result = Pack(lengths);
  EXPECT_EQ(result.status, zelOk);
  EXPECT_EQ(Front(result.bytes, 8), Nibbles(nibbles));
  EXPECT_EQ(result.bytes.size(), 129u) << "257 nibbles and one of padding";
  EXPECT_EQ(result.bytes.back() & 15, 0);
}

TEST(HuffmanPack, ARunOfZerosAtTheStartCountsOneThatIsNotWritten) {
  // 34 zeros: two are written, and a count of 32, for which the bank is left.
  Lengths lengths;
  lengths.fill(26);
  std::fill_n(lengths.begin(), 34, 0);
  const PackResult result = Pack(lengths);
  EXPECT_EQ(result.status, zelOk);
  // Then lengths of 26, which is 0 in the bank of 26: three and a count of 32, then twice two and a count.
  EXPECT_EQ(Front(result.bytes, 5), Nibbles({0, 0, 15, 6, 0, 0, 0, 6, 0, 0}));
}

TEST(HuffmanPack, ARunThatEndsWithTheTableHasItsCount) {
  Lengths lengths{};
  for (size_t v = 0; v < 256; ++v) lengths[v] = v % 2 ? 1 : 2;
  lengths[253] = lengths[254] = lengths[255] = 9;
  const PackResult result = Pack(lengths);
  EXPECT_EQ(result.status, zelOk);
  EXPECT_EQ(result.bytes.size(), 129u) << "256 lengths and a count of 0";
  const UnpackResult back = Unpack(result.bytes);
  EXPECT_EQ(back.status, zelOk);
  EXPECT_EQ(back.used, 129);
  EXPECT_EQ(back.lengths, lengths);
}

TEST(HuffmanPack, EveryTableComesBack) {
  for (const Lengths& lengths : Tables()) {
    const PackResult packed = Pack(lengths);
    ASSERT_EQ(packed.status, zelOk);
    ASSERT_EQ(packed.bytes, ModelPacked(lengths));
    Bytes longer = packed.bytes;
    longer.resize(longer.size() + 3, 0xFF);
    const UnpackResult back = Unpack(longer);
    EXPECT_EQ(back.status, zelOk);
    EXPECT_EQ(back.used, static_cast<int32_t>(packed.bytes.size()));
    EXPECT_EQ(back.lengths, lengths);
  }
}

TEST(HuffmanPack, ExactRoomSufficesAndLessIsTold) {
  const Lengths lengths = ModelLengths(CountBytes(Text(5000, 1)));
  const Bytes packed = ModelPacked(lengths);
  EXPECT_EQ(Pack(lengths, packed.size()).status, zelOk);
  for (size_t room = 1; room < packed.size(); ++room) {
    const PackResult result = Pack(lengths, room);
    EXPECT_EQ(result.status, zelErrSize) << room;
    EXPECT_EQ(result.bytes, Front(packed, room)) << room;
  }
}

TEST(HuffmanPack, LengthsThatAreNoneAreFoundBehindTheOutput) {
  for (int32_t length : {-1, 33, 38, 39, 1000, INT32_MIN, INT32_MAX}) {
    for (size_t v : {0, 100, 255}) {
      Lengths lengths;
      lengths.fill(8);
      lengths[v] = length;
      const PackResult result = Pack(lengths);
      EXPECT_EQ(result.status, zelErrHuffLenTable) << length;
      EXPECT_FALSE(result.bytes.empty());
    }
  }
  // What the numbers can say is written.
  Lengths lengths{};
  lengths[0] = 33;
  const PackResult result = Pack(lengths);
  EXPECT_EQ(result.status, zelErrHuffLenTable);
  EXPECT_EQ(Unpack(result.bytes).lengths, lengths);
}

TEST(HuffmanPack, ATableOfManyChangesFitsIn384Bytes) {
  Lengths lengths;
  for (size_t v = 0; v < 256; ++v) lengths[v] = v % 2 ? 32 : 1;
  EXPECT_EQ(Pack(lengths, 384).status, zelOk);
}

TEST(HuffmanUnpack, StatusesInOrder) {
  Lengths lengths{};
  const Bytes packed = {0};
  int32_t len = 0;
  EXPECT_EQ(zelsHuffLenCodeTableUnpack_8u(nullptr, &len, lengths.data()), zelErrNullPtr);
  EXPECT_EQ(zelsHuffLenCodeTableUnpack_8u(packed.data(), nullptr, lengths.data()), zelErrNullPtr);
  EXPECT_EQ(zelsHuffLenCodeTableUnpack_8u(packed.data(), &len, nullptr), zelErrNullPtr);
  lengths[0] = 99;
  EXPECT_EQ(zelsHuffLenCodeTableUnpack_8u(packed.data(), &len, lengths.data()), zelErrSize);
  EXPECT_EQ(lengths[0], 99);
}

TEST(HuffmanUnpack, TheBankStaysBehindARunCount) {
  // 34 zeros, then numbers above 26: 31 and, back in the bank of 0, 5.
  const UnpackResult result = Unpack(Nibbles({0, 0, 15, 6, 5, 13, 5, 4}, 300));
  EXPECT_EQ(result.status, zelOk);
  EXPECT_TRUE(std::all_of(result.lengths.begin(), result.lengths.begin() + 34, [](int32_t n) { return n == 0; }));
  EXPECT_EQ(result.lengths[34], 31);
  EXPECT_EQ(result.lengths[35], 5);
  EXPECT_EQ(result.lengths[36], 4);
}

TEST(HuffmanUnpack, ARunEndsWithTheTable) {
  std::vector<int> nibbles;
  for (int i = 0; i < 250; ++i) nibbles.push_back(i % 2 ? 3 : 4);
  nibbles.insert(nibbles.end(), {9, 9, 9, 15, 12});  // 38 more, of which there is room for 3
  const UnpackResult result = Unpack(Nibbles(nibbles, 140));
  EXPECT_EQ(result.status, zelOk);
  EXPECT_EQ(result.used, 128);
  EXPECT_EQ(result.lengths[252], 9);
  EXPECT_EQ(result.lengths[255], 9);
}

TEST(HuffmanUnpack, ATableBehindTheSourcesEndIsReadAsZeros) {
  for (const Lengths& lengths : Tables()) {
    const Bytes packed = ModelPacked(lengths);
    for (size_t size = 1; size < packed.size(); size += 1 + size / 3) {
      const Bytes cut = Front(packed, size);
      Bytes filled = cut;
      filled.resize(600);
      const UnpackResult result = Unpack(cut);
      const UnpackResult whole = Unpack(filled);
      ASSERT_EQ(whole.status, zelOk);
      ASSERT_EQ(result.lengths, whole.lengths);
      EXPECT_EQ(result.status, whole.used > static_cast<int32_t>(size) ? zelErrSize : zelOk);
      EXPECT_EQ(result.used, std::min(whole.used, static_cast<int32_t>(size)));
    }
  }
}

TEST(HuffmanUnpack, AnyBytesAreSomeTable) {
  Random random(4);
  for (int i = 0; i < 2000; ++i) {
    const UnpackResult result = Unpack(RandomBytes(Uniform(random, 1, 300), random()));
    EXPECT_TRUE(result.status == zelOk || result.status == zelErrSize);
    EXPECT_TRUE(std::all_of(result.lengths.begin(), result.lengths.end(), [](int32_t n) { return n >= 0 && n <= 41; }));
  }
}

TEST(HuffmanBufferSize, StatusesInOrder) {
  Lengths lengths{};
  lengths[1] = 33;
  int32_t enc = 77, dec = 77;
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(nullptr, 0, &enc, &dec), zelErrNullPtr);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), 0, &enc, &dec), zelErrSize);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), -5, &enc, &dec), zelErrSize);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX, &enc, &dec), zelErrHuffLenTable);
  lengths[1] = -1;
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), 1, &enc, &dec), zelErrHuffLenTable);
  lengths[1] = 9;
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX, &enc, &dec), zelErrSize);
  EXPECT_EQ(enc, 77);
  EXPECT_EQ(dec, 77);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), 1, nullptr, nullptr), zelOk);
}

TEST(HuffmanBufferSize, FollowsFromLongestAndShortest) {
  Lengths lengths{};
  lengths[1] = 2;
  lengths[2] = 9;
  lengths[3] = 9;
  int32_t enc = 0, dec = 0;
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), 100, &enc, &dec), zelOk);
  EXPECT_EQ(enc, (100 * 9 + 9 + 7) / 8);
  EXPECT_EQ(dec, 100 * 64 / 2);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(Lengths{}.data(), 100, &enc, &dec), zelOk);
  EXPECT_EQ(enc, (100 + 1 + 7) / 8);
  EXPECT_EQ(dec, 100 * 64 / 32);
}

TEST(HuffmanBufferSize, OnlyASizeThatIsAskedForMustFit) {
  Lengths lengths{};
  lengths[1] = 8;
  int32_t enc = 0, dec = 0;
  // Up to 2^31 - 1 of either.
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX - 1, &enc, nullptr), zelOk);
  EXPECT_EQ(enc, INT32_MAX);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX, &enc, nullptr), zelErrSize);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX / 8, nullptr, &dec), zelOk);
  EXPECT_EQ(dec, INT32_MAX / 8 * 8);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX / 8 + 1, nullptr, &dec), zelErrSize);
  EXPECT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), INT32_MAX / 8 + 1, &enc, nullptr), zelOk);
}

}  // namespace
}  // namespace zeldc_test
