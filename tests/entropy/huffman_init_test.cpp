// The byte Huffman coder's records: codes from frequencies and from lengths, and what they tell.

#include <algorithm>

#include "entropy/huffman_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

Lengths LengthsOf(const zelHuffState* state) {
  Lengths lengths;
  lengths.fill(-1);
  EXPECT_EQ(zelsHuffGetLenCodeTable_8u(state, lengths.data()), zelOk);
  return lengths;
}

// A byte's code, as the one-symbol encoder writes it.
std::string CodeOf(const zelHuffState* state, uint8_t byte, int32_t length) {
  Bytes out(5, 0);
  EXPECT_EQ(zelsEncodeHuffOne_8u(byte, out.data(), 0, state), zelOk);
  return BitsOfBytes(out).substr(0, static_cast<size_t>(length));
}

TEST(HuffmanSize, IsTheSameOnEveryBuild) {
  EXPECT_EQ(zelsHuffGetSize_8u(nullptr), zelErrNullPtr);
  int32_t size = 0;
  EXPECT_EQ(zelsHuffGetSize_8u(&size), zelOk);
  EXPECT_EQ(size, 2596);
}

TEST(HuffmanEncodeInit, StatusesInOrder) {
  const HuffRecord record;
  Frequencies f{};
  EXPECT_EQ(zelsEncodeHuffInit_8u(nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelErrHuffFreq) << "all are zero";
  f[3] = 5;
  f[255] = -1;
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelErrHuffFreq) << "one is negative";
  f[255] = INT32_MAX - 4;
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelErrHuffFreq) << "2^31";
  f.fill(INT32_MAX);
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelErrHuffFreq) << "a sum beyond 32 bits";
  EXPECT_EQ(zelsEncodeHuffInit_8u(FibonacciFrequencies(34).data(), record.get()), zelErrHuffCodeLen);
  EXPECT_TRUE(record.IsUntouched());
  f.fill(0);
  f[3] = 5;
  f[255] = INT32_MAX - 5;
  EXPECT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelOk) << "2^31 - 1";
}

TEST(HuffmanEncodeInit, ATreeFarTooDeepIsOnlyTooDeep) {
  // 44 weights that add up to less than 2^31, for codes of up to 43 bits.
  const HuffRecord record;
  EXPECT_EQ(zelsEncodeHuffInit_8u(FibonacciFrequencies(44).data(), record.get()), zelErrHuffCodeLen);
  EXPECT_TRUE(record.IsUntouched());
}

TEST(HuffmanEncodeInit, OneByteInUseHasTheCodeZeroOfOneBit) {
  const HuffRecord record;
  Frequencies f{};
  f['x'] = 7;
  ASSERT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelOk);
  Lengths expected{};
  expected['x'] = 1;
  EXPECT_EQ(LengthsOf(record.get()), expected);
  EXPECT_EQ(CodeOf(record.get(), 'x', 1), "0");
}

TEST(HuffmanEncodeInit, FibonacciWeightsOf33SymbolsGiveCodesOf32Bits) {
  const HuffRecord record;
  ASSERT_EQ(zelsEncodeHuffInit_8u(FibonacciFrequencies(33).data(), record.get()), zelOk);
  const Lengths lengths = LengthsOf(record.get());
  EXPECT_EQ(*std::max_element(lengths.begin(), lengths.end()), 32);
  EXPECT_EQ(std::count(lengths.begin(), lengths.end(), 32), 2);
  EXPECT_EQ(CodeOf(record.get(), 7, 32), std::string(32, '0'));
  EXPECT_EQ(CodeOf(record.get(), 0, 32), std::string(31, '0') + "1");
}

TEST(HuffmanEncodeInit, TheLongestCodesAreTheSmallestNumbers) {
  // Lengths 1, 2, 3, 3: the higher byte of the two longest has zeros only.
  const HuffRecord record;
  Frequencies f{};
  f[10] = 1;
  f[20] = 1;
  f[30] = 2;
  f[40] = 4;
  ASSERT_EQ(zelsEncodeHuffInit_8u(f.data(), record.get()), zelOk);
  EXPECT_EQ(CodeOf(record.get(), 20, 3), "000");
  EXPECT_EQ(CodeOf(record.get(), 10, 3), "001");
  EXPECT_EQ(CodeOf(record.get(), 30, 2), "01");
  EXPECT_EQ(CodeOf(record.get(), 40, 1), "1");
}

TEST(HuffmanEncodeInit, LengthsAndCodesAreThoseOfThePlainRules) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const HuffRecord record;
    ASSERT_EQ(zelsEncodeHuffInit_8u(frequencies.data(), record.get()), zelOk);
    const Lengths lengths = LengthsOf(record.get());
    ASSERT_EQ(lengths, ModelLengths(frequencies));
    const Codes codes = ModelCodes(lengths);
    for (size_t v = 0; v < 256; ++v) {
      if (lengths[v] > 0) {
        EXPECT_EQ(CodeOf(record.get(), static_cast<uint8_t>(v), lengths[v]), codes[v]);
      }
    }
  }
}

TEST(HuffmanDecodeInit, StatusesInOrder) {
  const HuffRecord record;
  Lengths lengths{};
  EXPECT_EQ(zelsDecodeHuffInit_8u(nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), nullptr), zelErrNullPtr);
  for (int32_t length : {-1, 33, INT32_MIN, INT32_MAX, 256}) {
    lengths[77] = length;
    EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelErrHuffLenTable) << length;
  }
  EXPECT_TRUE(record.IsUntouched());
  lengths[77] = 32;
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelOk);
}

TEST(HuffmanDecodeInit, MoreCodesThanTheLengthsAllowAreNone) {
  const HuffRecord record;
  Lengths lengths{};
  lengths[0] = lengths[1] = 1;
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelOk);
  lengths[2] = 32;
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelErrHuffLenTable);
  lengths.fill(8);
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelOk);
  lengths[100] = 7;
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelErrHuffLenTable);
  lengths.fill(1);
  EXPECT_EQ(zelsDecodeHuffInit_8u(lengths.data(), record.get()), zelErrHuffLenTable);
}

TEST(HuffmanDecodeInit, HasTheCodesOfTheEncoder) {
  for (const auto& [name, frequencies] : AllFrequencies()) {
    SCOPED_TRACE(name);
    const HuffRecord encoder, decoder;
    ASSERT_EQ(zelsEncodeHuffInit_8u(frequencies.data(), encoder.get()), zelOk);
    const Lengths lengths = LengthsOf(encoder.get());
    ASSERT_EQ(zelsDecodeHuffInit_8u(lengths.data(), decoder.get()), zelOk);
    EXPECT_EQ(LengthsOf(decoder.get()), lengths);
    for (size_t v = 0; v < 256; ++v) {
      if (lengths[v] == 0) continue;
      const uint8_t byte = static_cast<uint8_t>(v);
      EXPECT_EQ(CodeOf(decoder.get(), byte, lengths[v]), CodeOf(encoder.get(), byte, lengths[v]));
    }
  }
}

TEST(HuffmanLengths, StatusesInOrder) {
  const HuffRecord record;
  Lengths lengths{};
  EXPECT_EQ(zelsHuffGetLenCodeTable_8u(nullptr, lengths.data()), zelErrNullPtr);
  EXPECT_EQ(zelsHuffGetLenCodeTable_8u(record.get(), nullptr), zelErrNullPtr);
}

TEST(HuffmanRecord, WorksWhereverItIsCopied) {
  const Bytes data = Text(1000, 5);
  const HuffRecord encoder, copy;
  ASSERT_EQ(zelsEncodeHuffInit_8u(CountBytes(data).data(), encoder.get()), zelOk);
  Bytes first(3000), second(3000);
  int32_t first_len = 0, second_len = 0;
  ASSERT_EQ(zelsEncodeHuff_8u(data.data(), 333, first.data(), &first_len, encoder.get()), zelOk);
  std::copy_n(reinterpret_cast<uint8_t*>(encoder.get()), 2596, reinterpret_cast<uint8_t*>(copy.get()));
  ASSERT_EQ(zelsEncodeHuff_8u(data.data() + 333, 667, first.data(), &first_len, encoder.get()), zelOk);
  ASSERT_EQ(zelsEncodeHuff_8u(data.data() + 333, 667, second.data(), &second_len, copy.get()), zelOk);
  EXPECT_EQ(first_len, second_len);
  first.resize(static_cast<size_t>(first_len));
  second.resize(static_cast<size_t>(second_len));
  EXPECT_EQ(first, second);
}

}  // namespace
}  // namespace zeldc_test
