// The byte Huffman coder's decoder: statuses, edge cases, and streams of all kinds.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

class Decoder {
 public:
  explicit Decoder(const Lengths& lengths) { EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record_.get()), zelOk); }

  Bytes Decode(const Bytes& stream, size_t room) {
    const GuardedBuffer source(stream);
    const GuardedBuffer out(room);
    int32_t len = static_cast<int32_t>(room);
    EXPECT_EQ(zelsDecodeHuff_8u(source.data(), static_cast<int32_t>(stream.size()), out.data(), &len, record_.get()),
              zelOk);
    EXPECT_GE(len, 0);
    EXPECT_LE(len, static_cast<int32_t>(room));
    return Front(out.ToBytes(), static_cast<size_t>(len));
  }

  zelHuffState* record() const { return record_.get(); }

 private:
  HuffRecord record_;
};

Lengths LengthsWith(std::initializer_list<std::pair<size_t, int32_t>> some) {
  Lengths lengths{};
  for (const auto& [value, length] : some) lengths[value] = length;
  return lengths;
}

TEST(HuffmanDecode, StatusesInOrder) {
  const Decoder decoder(LengthsWith({{1, 1}, {2, 1}}));
  uint8_t src[1] = {0}, out[8];
  int32_t len = 0;
  zelHuffState* const s = decoder.record();
  EXPECT_EQ(zelsDecodeHuff_8u(nullptr, 0, out, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_8u(src, 0, nullptr, &len, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_8u(src, 0, out, nullptr, s), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_8u(src, 0, out, &len, nullptr), zelErrNullPtr);
  len = 8;
  EXPECT_EQ(zelsDecodeHuff_8u(src, 0, out, &len, s), zelErrSize);
  for (int32_t room : {0, -1}) {
    len = room;
    EXPECT_EQ(zelsDecodeHuff_8u(src, 1, out, &len, s), zelErrSize);
    EXPECT_EQ(len, room);
  }
  len = 8;
  EXPECT_EQ(zelsDecodeHuff_8u(src, 1, out, &len, s), zelOk);
  EXPECT_EQ(len, 8);
}

TEST(HuffmanDecode, AnEncodersRecordHasNoTablesForIt) {
  const HuffRecord encoder;
  const Frequencies f = CountBytes(Text(100, 1));
  ASSERT_EQ(zelsEncodeHuffInit_8u(f.data(), encoder.get()), zelOk);
  uint8_t src[5] = {}, out[8];
  int32_t len = 8;
  EXPECT_EQ(zelsDecodeHuff_8u(src, 5, out, &len, encoder.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuff_8u(src, 0, out, &len, encoder.get()), zelErrSize);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 0, out, encoder.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 8, out, encoder.get()), zelErrSize);
}

TEST(HuffmanDecode, ARecordWithoutCodesDecodesNothing) {
  Decoder decoder(Lengths{});
  EXPECT_EQ(decoder.Decode(Bytes(10, 0), 100), Bytes());
  EXPECT_EQ(decoder.Decode(Bytes(10000, 0xFF), 100000), Bytes());
}

TEST(HuffmanDecode, OneCodeAloneDecodesItsZerosAndWhateverElse) {
  Decoder decoder(LengthsWith({{'x', 1}}));
  EXPECT_EQ(decoder.Decode(Bytes(100, 0), 10000), Bytes(800, 'x'));
  EXPECT_EQ(decoder.Decode(Bytes(100, 0xFF), 10000), Bytes(800, 'x'));
}

TEST(HuffmanDecode, ALongRunOfZerosIsARunOfTheByteWithTheZeroCode) {
  Decoder decoder(LengthsWith({{'a', 1}, {'b', 2}, {'c', 3}, {'d', 3}}));
  EXPECT_EQ(decoder.Decode(Bytes(30000, 0), 100000), Bytes(80000, 'd'));
  // 240000 bits more, of which the room takes 30; then the rest.
  EXPECT_EQ(decoder.Decode(Bytes(30000, 0), 10), Bytes(10, 'd'));
  EXPECT_EQ(decoder.Decode(Bytes(1, 0xFF), 100000).size(), 79990u + 8u);
}

TEST(HuffmanDecode, CodesOf32BitsDecodeWhileThereIsSource) {
  const Frequencies f = FibonacciFrequencies(33);
  const Lengths lengths = ModelLengths(f);
  const Codes codes = ModelCodes(lengths);
  Bytes data;
  for (size_t v = 0; v < 256; ++v) {
    if (lengths[v] > 0) data.insert(data.end(), 5, static_cast<uint8_t>(v));
  }
  for (uint64_t seed = 0; seed < 20; ++seed) {
    Random random(seed);
    std::shuffle(data.begin(), data.end(), random);
    const Bytes stream = BytesOfBits(ModelBits(codes, data));
    Decoder whole(lengths);
    EXPECT_EQ(whole.Decode(stream, data.size()), data);
    Decoder parts(lengths);
    Bytes out;
    for (uint8_t byte : stream) Append(out, parts.Decode({byte}, 100));
    EXPECT_EQ(Front(out, data.size()), data);
  }
}

TEST(HuffmanDecode, IncompleteCodesDecodeInsideTheTables) {
  // Whatever stands in the gaps is one of the bytes with a code.
  Random random(3);
  for (int i = 0; i < 500; ++i) {
    Lengths lengths{};
    uint64_t space = 0;
    for (int k = 0; k < 40; ++k) {
      const size_t length = Uniform(random, i % 32 / 2 + 1, 32);
      if (space + (uint64_t{1} << (32 - length)) >= uint64_t{1} << 32) break;
      space += uint64_t{1} << (32 - length);
      int32_t& entry = lengths[Uniform(random, 0, 255)];
      if (entry == 0) entry = static_cast<int32_t>(length);
    }
    Decoder decoder(lengths);
    for (const Bytes& source : {RandomBytes(200, random()), Bytes(100, 0xFF), Bytes(100, 0), Runs(300, 30, random())}) {
      for (uint8_t byte : decoder.Decode(source, 5000)) ASSERT_GT(lengths[byte], 0);
      uint8_t out = 0;
      if (std::count(lengths.begin(), lengths.end(), 0) == 256) continue;
      for (int32_t offset = 0; offset < 8; ++offset) {
        ASSERT_EQ(zelsDecodeHuffOne_8u(source.data(), offset, &out, decoder.record()), zelOk);
        ASSERT_GT(lengths[out], 0);
      }
    }
  }
}

TEST(HuffmanDecode, EveryDistributionComesBack) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Lengths lengths = ModelLengths(frequencies);
    const Codes codes = ModelCodes(lengths);
    for (size_t size : {1, 2, 10, 100, 1000, 30000, 120000}) {
      const Bytes data = DrawBytes(frequencies, size, size);
      const Bytes stream = BytesOfBits(ModelBits(codes, data));
      Decoder exact(lengths);
      EXPECT_TRUE(exact.Decode(stream, data.size()) == data) << size;
      // With all room the padding may decode, too.
      int32_t room = 0;
      ASSERT_EQ(zelsHuffGetDstBuffSize_8u(lengths.data(), static_cast<int32_t>(stream.size()), nullptr, &room), zelOk);
      ASSERT_LT(size, static_cast<size_t>(room));
      Decoder all(lengths);
      const Bytes decoded = all.Decode(stream, static_cast<size_t>(room));
      EXPECT_LE(decoded.size(), data.size() + 7);
      EXPECT_TRUE(Front(decoded, data.size()) == data) << size;
    }
  }
}

TEST(HuffmanDecode, OurEncodersStreamComesBack) {
  for (const NamedData& kind : AllKinds(50000)) {
    SCOPED_TRACE(kind.name);
    if (kind.data.empty()) continue;
    const Frequencies f = CountBytes(kind.data);
    const HuffRecord encoder;
    ASSERT_EQ(zelsEncodeHuffInit_8u(f.data(), encoder.get()), zelOk);
    Lengths lengths;
    ASSERT_EQ(zelsHuffGetLenCodeTable_8u(encoder.get(), lengths.data()), zelOk);
    Bytes stream(kind.data.size() * 4 + 8);
    int32_t len = 0, rest = 0;
    ASSERT_EQ(
        zelsEncodeHuff_8u(kind.data.data(), static_cast<int32_t>(kind.data.size()), stream.data(), &len, encoder.get()),
        zelOk);
    ASSERT_EQ(zelsEncodeHuffFinal_8u(stream.data() + len, &rest, encoder.get()), zelOk);
    Decoder decoder(lengths);
    EXPECT_TRUE(decoder.Decode(Front(stream, static_cast<size_t>(len + rest)), kind.data.size()) == kind.data);
  }
}

TEST(HuffmanDecode, ADecodersRecordEncodesOneByOne) {
  const Frequencies f = CountBytes(Text(1000, 1));
  const Lengths lengths = ModelLengths(f);
  const Decoder decoder(lengths);
  uint8_t out[5] = {};
  ASSERT_EQ(zelsEncodeHuffOne_8u('e', out, 0, decoder.record()), zelOk);
  EXPECT_EQ(BytesOfBits(ModelCodes(lengths)['e'])[0], out[0]);
}

TEST(HuffmanDecodeOne, StatusesInOrder) {
  const Decoder decoder(LengthsWith({{1, 1}, {2, 1}}));
  uint8_t src[1] = {0x40}, out = 0;
  EXPECT_EQ(zelsDecodeHuffOne_8u(nullptr, 8, &out, decoder.record()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 8, nullptr, decoder.record()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 8, &out, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 8, &out, decoder.record()), zelErrSize);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, -1, &out, decoder.record()), zelErrSize);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 7, &out, Decoder(Lengths{}).record()), zelErrSize) << "no codes";
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 7, &out, decoder.record()), zelOk);
  EXPECT_EQ(out, 2);
  EXPECT_EQ(zelsDecodeHuffOne_8u(src, 1, &out, decoder.record()), zelOk);
  EXPECT_EQ(out, 1);
}

TEST(HuffmanDecodeOne, EveryCodeAtEveryBit) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const Lengths lengths = ModelLengths(frequencies);
    const Codes codes = ModelCodes(lengths);
    const Decoder decoder(lengths);
    const size_t longest = static_cast<size_t>(*std::max_element(lengths.begin(), lengths.end()));
    for (size_t v = 0; v < 256; ++v) {
      if (codes[v].empty()) continue;
      for (size_t offset = 0; offset < 8; ++offset) {
        for (char fill : {'0', '1'}) {
          std::string bits = std::string(offset, fill) + codes[v];
          bits.resize((offset + longest + 7) / 8 * 8, fill);
          const GuardedBuffer source(BytesOfBits(bits));
          uint8_t out = 0;
          ASSERT_EQ(zelsDecodeHuffOne_8u(source.data(), static_cast<int32_t>(offset), &out, decoder.record()), zelOk);
          ASSERT_EQ(out, v) << "at " << offset;
        }
      }
    }
  }
}

}  // namespace
}  // namespace zeldc_test
