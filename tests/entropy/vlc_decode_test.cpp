// The VLC decoder: edge cases, and every placement of a stream against the plain definition.

#include <algorithm>

#include "entropy/vlc_model.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Widths = std::vector<int32_t>;

zelStatus DecodeBlock(Place& place, Values& values, const VlcDecoder& decoder) {
  return zelsVLCDecodeBlock_1u16s(&place.byte, &place.bit, values.data(), static_cast<int32_t>(values.size()),
                                  decoder.get());
}

// What decoding n codes from the bit `start` on comes to.
struct Expected {
  Values values;     // up to the first bits that are no code
  size_t end;        // the bit behind them
  size_t looked_at;  // the bit behind all that a decoder may look at
};

Expected DecodeAllByModel(const Codes& codes, const Bytes& stream, size_t start, size_t n) {
  int32_t longest = 0;
  for (const zelVLCCode& code : codes) longest = std::max(longest, code.length);
  Expected expected = {{}, start, start};
  while (expected.values.size() < n) {
    expected.looked_at = expected.end + static_cast<size_t>(longest);
    const zelVLCCode* const code = DecodeByModel(codes, stream, expected.end);
    if (code == nullptr) break;
    expected.values.push_back(static_cast<int16_t>(code->value));
    expected.end += static_cast<size_t>(code->length);
  }
  return expected;
}

// Decodes n codes of any stream, whole and one by one, from words that end where a decoder may not look any more.
void ExpectAsByModel(const Codes& codes, const VlcDecoder& decoder, const Bytes& stream, size_t start, size_t n,
                     Guard guard = Guard::kBehind) {
  const Expected expected = DecodeAllByModel(codes, stream, start, n);
  const GuardedBuffer words(Front(stream, (expected.looked_at + 31) / 32 * 4), guard);
  const bool fails = expected.values.size() < n;

  const int16_t untouched = -21931;
  Values values(n, untouched);
  Place place = PlaceOf(words.data(), start);
  ASSERT_EQ(DecodeBlock(place, values, decoder), fails ? zelErrVlcInput : zelOk);
  ASSERT_EQ(place, PlaceOf(words.data(), expected.end));
  ASSERT_TRUE(std::equal(expected.values.begin(), expected.values.end(), values.begin()));
  for (size_t i = expected.values.size(); i < n; ++i) ASSERT_EQ(values[i], untouched);

  place = PlaceOf(words.data(), start);
  for (size_t i = 0; i < n; ++i) {
    int16_t value = untouched;
    const zelStatus status = zelsVLCDecodeOne_1u16s(&place.byte, &place.bit, &value, decoder.get());
    ASSERT_EQ(status, i < expected.values.size() ? zelOk : zelErrVlcInput);
    if (status != zelOk) break;
    ASSERT_EQ(value, expected.values[i]);
  }
  ASSERT_EQ(place, PlaceOf(words.data(), expected.end));
}

}  // namespace

TEST(VlcDecode, CodeAcrossWords) {
  const VlcDecoder decoder({{-7, 0b10110, 5}, {3, 0b0, 1}}, {2, 3});
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    ExpectAsByModel({{-7, 0b10110, 5}, {3, 0b0, 1}}, decoder, {0xFF, 0xFF, 0xFF, 0xFD, 0x80, 0, 0, 0}, 30, 4, guard);
  }
}

TEST(VlcDecode, LastCodeOfABufferWithoutALaterWord) {
  const Codes codes = {{1, 0, 1}, {2, 1, 1}};
  const VlcDecoder decoder(codes, {1});
  ExpectAsByModel(codes, decoder, {0x5A, 0xC3, 0x0F, 0x99}, 0, 32);
}

TEST(VlcDecode, BitsThatAreNoCode) {
  const Codes codes = {{1, 0b00, 2}, {2, 0b1100, 4}, {3, 0b111111, 6}};
  const VlcDecoder decoder(codes, {2, 2, 2});
  const Bytes stream = {0b00110010, 0, 0, 0};
  ExpectAsByModel(codes, decoder, stream, 0, 3);
  ExpectAsByModel(codes, decoder, {0b11010000, 0, 0, 0}, 0, 1);
  ExpectAsByModel(codes, decoder, {0b11111000, 0, 0, 0}, 0, 1);
  ExpectAsByModel(codes, decoder, {0b01000000, 0, 0, 0}, 0, 1);
}

TEST(VlcDecode, TableOfOneCode) {
  for (int32_t length : {1, 8, 31, 32}) {
    const Codes codes = {{-5, -1, length}};
    const VlcDecoder decoder(codes, {8, 8, 8, 8});
    ExpectAsByModel(codes, decoder, Bytes(1000, 0xFF), 5, 7000 / static_cast<size_t>(length) - 10);
    ExpectAsByModel(codes, decoder, Bytes(1000, 0xFE), 0, 10);
  }
}

TEST(VlcDecode, ValuesAtTheEndsOfTheirFields) {
  for (int32_t value : {1, 2, 3, 4, 8, 16, 32, 64, 1024, 2048, 4096, 8192, 16384, 32767}) {
    for (int32_t width = 1; width < 12; ++width) {
      const Codes codes = {{value, 0, 1}, {-value, 0b10, 2}, {value - 1, 0xFFF, 12}, {1 - value, 0xFFE, 12}};
      const VlcDecoder decoder(codes, Widths(12, width));
      ExpectAsByModel(codes, decoder, {0b01011111, 0b11111111, 0b11111111, 0b11100000, 0, 0, 0, 0}, 0, 4);
    }
  }
}

TEST(VlcDecode, LowBitsOfValuesThatDoNotFit16) {
  for (int32_t value : {32768, 65536, -32769, 0x12345678, INT32_MAX, INT32_MIN, -0x12345678}) {
    const Codes codes = {{value, 0, 1}, {-1, 1, 1}};
    const VlcDecoder decoder(codes, {1});
    ExpectAsByModel(codes, decoder, {0x55, 0x55, 0x55, 0x55}, 0, 8);
  }
}

TEST(VlcDecode, SeveralCodesOfOneValue) {
  const Codes codes = {{7, 0b0, 1}, {7, 0b10, 2}, {7, 0b11, 2}};
  const VlcDecoder decoder(codes, {2});
  ExpectAsByModel(codes, decoder, {0x5A, 0xC3, 0x0F, 0x99}, 0, 15);
}

TEST(VlcDecode, RecordWithTuplesGivesLowBitsOfItsValues) {
  const Codes codes = {{0x123456, 0, 1}, {0x30, 1, 1}};
  const VlcDecoder decoder(codes, {1}, 6, 4);
  ExpectAsByModel(codes, decoder, {0x55, 0x55, 0x55, 0x55}, 0, 8);
}

TEST(VlcDecode, EveryPlaceAndLengthByTheModel) {
  Random random(1);
  const std::vector<Widths> lists = {{3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}, {9, 6, 8, 9}, {1, 1, 1, 1, 28}, {12, 12, 12}};
  for (size_t round = 0; round < 16; ++round) {
    const int32_t max_length = static_cast<int32_t>(round % 4 == 2 ? 14 : 8 + 8 * (round / 4));
    const Codes codes = RandomCodes(
        {.n = Uniform(random, 2, 100), .max_length = max_length, .low = -99, .high = 99, .complete = round % 3 == 0},
        random);
    const VlcDecoder decoder(codes, lists[round % 4]);
    for (size_t start = 0; start < 32; ++start) {
      for (size_t n = 1; n < 20; ++n) {
        Bytes stream(4 * n + 16, 0xFF);
        EncodeByModel(codes, RandomValues(codes, n, random), stream, start);
        ASSERT_NO_FATAL_FAILURE(
            ExpectAsByModel(codes, decoder, stream, start, n, n % 2 == 0 ? Guard::kBehind : Guard::kBefore));
      }
    }
  }
}

TEST(VlcDecode, AnyBitsByTheModel) {
  Random random(2);
  for (size_t round = 0; round < 3000; ++round) {
    const Codes codes = RandomCodes({.n = Uniform(random, 1, 40),
                                     .max_length = static_cast<int32_t>(Uniform(random, 7, 32)),
                                     .low = -32768,
                                     .high = round % 2 == 0 ? 32767 : -32700,
                                     .complete = false},
                                    random);
    Widths widths;
    while (widths.size() < 32) widths.push_back(static_cast<int32_t>(Uniform(random, 1, 9)));
    const VlcDecoder decoder(codes, widths, round % 32);
    ASSERT_TRUE(decoder.IsInside());
    const Bytes stream = RandomBytes(1200, round);
    ASSERT_NO_FATAL_FAILURE(ExpectAsByModel(codes, decoder, stream, Uniform(random, 0, 31), Uniform(random, 1, 200)));
  }
}

// With and without patterns that are no codes, and with an end at any of them. Lengths lie around those from which on
// longer calls are done in other ways.
TEST(VlcDecode, LongBlocksByTheModel) {
  Random random(3);
  for (size_t round = 0; round < 24; ++round) {
    const int32_t most = round % 3 == 0 ? 60 : 30000;
    const Codes codes = RandomCodes({.n = 2 + round * 5,
                                     .max_length = static_cast<int32_t>(9 + round),
                                     .low = -most,
                                     .high = most,
                                     .complete = round % 4 != 0},
                                    random);
    const VlcDecoder decoder(codes, {static_cast<int32_t>(1 + round % 12), 6, 5, 4, 8, 8});
    const size_t n = (round % 3 == 1 ? 12290 : round % 3 == 2 ? 550 : 3000) + round;
    Bytes stream(4 * n + 100);
    const size_t end = EncodeByModel(codes, RandomValues(codes, n, random), stream, round);
    ASSERT_NO_FATAL_FAILURE(ExpectAsByModel(codes, decoder, stream, round, n));
    for (size_t damage = 0; damage < 4; ++damage) {
      Bytes damaged = stream;
      const Bytes noise = RandomBytes(20, damage);
      std::copy(noise.begin(), noise.end(), damaged.begin() + static_cast<ptrdiff_t>(Uniform(random, 0, end / 8)));
      ASSERT_NO_FATAL_FAILURE(ExpectAsByModel(codes, decoder, damaged, round, n - n / 3));
    }
  }
}
