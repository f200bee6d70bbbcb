// The VLC decoder for codes that stand for several numbers, with their signs behind.

#include <algorithm>

#include "entropy/vlc_model.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Widths = std::vector<int32_t>;

struct Tuple {
  int32_t size;
  int32_t element_bits;
};

struct Expected {
  Values values;
  size_t end;
  size_t looked_at;
};

Expected TuplesByModel(const Codes& codes, const Tuple& tuple, const Bytes& stream, size_t start, size_t n) {
  int32_t longest = 0;
  for (const zelVLCCode& code : codes) longest = std::max(longest, code.length);
  Expected expected = {{}, start, start};
  for (size_t i = 0; i < n; ++i) {
    expected.looked_at = expected.end + static_cast<size_t>(longest + tuple.size);
    const zelVLCCode* const code = DecodeByModel(codes, stream, expected.end);
    if (code == nullptr) break;
    expected.end += static_cast<size_t>(code->length);
    for (int32_t k = tuple.size; k-- > 0;) {
      const uint32_t element = (static_cast<uint32_t>(code->value) >> (k * tuple.element_bits)) &
                               static_cast<uint32_t>((uint64_t{1} << tuple.element_bits) - 1);
      const bool minus = element != 0 && BitOf(stream, expected.end);
      if (element != 0) ++expected.end;
      expected.values.push_back(static_cast<int16_t>(minus ? 0 - element : element));
    }
  }
  return expected;
}

void ExpectAsByModel(const Codes& codes, const Widths& widths, const Tuple& tuple, const Bytes& stream, size_t start,
                     size_t n, Guard guard = Guard::kBehind) {
  const VlcDecoder decoder(codes, widths, tuple.size, tuple.element_bits, n % 32);
  ASSERT_TRUE(decoder.IsInside());
  const Expected expected = TuplesByModel(codes, tuple, stream, start, n);
  const GuardedBuffer words(Front(stream, (expected.looked_at + 31) / 32 * 4), guard);
  const size_t per_code = static_cast<size_t>(tuple.size);
  const size_t good = expected.values.size() / per_code;

  const int16_t untouched = -21931;
  Values values(n * per_code, untouched);
  Place place = PlaceOf(words.data(), start);
  const zelStatus status =
      zelsVLCDecodeUTupleBlock_1u16s(&place.byte, &place.bit, values.data(), static_cast<int32_t>(n), decoder.get());
  ASSERT_EQ(status, good < n ? zelErrVlcInput : zelOk);
  ASSERT_EQ(place, PlaceOf(words.data(), expected.end));
  ASSERT_TRUE(std::equal(expected.values.begin(), expected.values.end(), values.begin()));
  for (size_t i = expected.values.size(); i < values.size(); ++i) ASSERT_EQ(values[i], untouched);

  place = PlaceOf(words.data(), start);
  for (size_t i = 0; i < n; ++i) {
    Values one(per_code, untouched);
    const zelStatus one_status = zelsVLCDecodeUTupleOne_1u16s(&place.byte, &place.bit, one.data(), decoder.get());
    ASSERT_EQ(one_status, i < good ? zelOk : zelErrVlcInput);
    if (one_status != zelOk) {
      ASSERT_EQ(one, Values(per_code, untouched));
      break;
    }
    ASSERT_TRUE(std::equal(one.begin(), one.end(), expected.values.begin() + static_cast<ptrdiff_t>(i * per_code)));
  }
  ASSERT_EQ(place, PlaceOf(words.data(), expected.end));
}

}  // namespace

TEST(VlcTuple, OneElementWithASignAndOneWithout) {
  const Codes codes = {{0x30, 0b0, 1}, {0x03, 0b10, 2}, {0x00, 0b11, 2}};
  const VlcDecoder decoder(codes, {2}, 2, 4);
  Words words(32);
  const Bytes stream = {0b00011001, 0b01110000, 0, 0};  // +3 0, -3 0, 0 +3 (of 10 0), 0 -3 ..., 0 0
  std::copy(stream.begin(), stream.end(), words.data());
  Place place = PlaceOf(words.data(), 0);
  Values values(10, 99);
  EXPECT_EQ(zelsVLCDecodeUTupleBlock_1u16s(&place.byte, &place.bit, values.data(), 5, decoder.get()), zelOk);
  EXPECT_EQ(values, (Values{3, 0, -3, 0, 0, 3, 0, -3, 0, 0}));
  EXPECT_EQ(place, PlaceOf(words.data(), 12));
}

TEST(VlcTuple, ZerosHaveNoSign) {
  ExpectAsByModel({{0, 1, 1}, {1, 0, 1}}, {1}, {31, 1}, Bytes(8, 0xFF), 0, 30);
  ExpectAsByModel({{0, 1, 1}, {1, 0, 1}}, {1}, {1, 31}, {0x55, 0x55, 0x55, 0x55, 0, 0, 0, 0}, 0, 20);
}

TEST(VlcTuple, ElementsBeyond16BitsAreCut) {
  ExpectAsByModel({{0xFFFFFF, 0, 1}, {0x812345, 1, 1}}, {1}, {1, 24}, {0b00011011, 0, 0, 0, 0, 0, 0, 0}, 0, 4);
  ExpectAsByModel({{0x8000, 0, 1}, {0x7FFF, 1, 1}}, {1}, {1, 16}, {0b00011011, 0, 0, 0, 0, 0, 0, 0}, 0, 4);
}

TEST(VlcTuple, ValuesAboveTheTupleAndBelowZeroCountByTheirLowBits) {
  const Codes codes = {{-1, 0, 2}, {0x100, 1, 2}, {-16, 2, 2}, {0x7F, 3, 2}};
  ExpectAsByModel(codes, {2}, {2, 3}, RandomBytes(40, 1), 3, 30);
}

TEST(VlcTuple, LongestCodesAndMostSignsSpanThreeWords) {
  const Codes codes = {{0x7FFFFF, -1, 32}, {0, 0, 1}};
  for (size_t start = 0; start < 32; ++start) {
    ExpectAsByModel(codes, {8, 8, 8, 8}, {23, 1}, Bytes(80, 0xFF), start, 7);
    ExpectAsByModel(codes, {8, 8, 8, 8}, {31, 1}, Bytes(80, 0xFF), start, 7);
    ExpectAsByModel(codes, {8, 8, 8, 8}, {23, 1}, Bytes(80, 0xFF), start, 7, Guard::kBefore);
  }
}

// A leaf of 32 bits has 31 - b for values, b bits counting those of a code.
TEST(VlcTuple, ValuesThatNoElementHolds) {
  const auto status = [](int32_t value, const Widths& widths, const Tuple& tuple) {
    const Codes codes = {{value, 0, 20}};
    int32_t size = 0;
    return zelsVLCDecodeUTupleGetSize_32s(codes.data(), 1, widths.data(), static_cast<int32_t>(widths.size()),
                                          tuple.size, tuple.element_bits, &size);
  };
  EXPECT_EQ(status(0x7FFFFFFF, {7, 7, 6}, {28, 1}), zelOk);
  EXPECT_EQ(status(0x7FFFFFFF, {7, 7, 6}, {29, 1}), zelErrVlcTable);
  EXPECT_EQ(status(-0x7FFFFFFF, {7, 7, 6}, {29, 1}), zelErrVlcTable);
  EXPECT_EQ(status(0x07FFFFFF, {7, 7, 6}, {29, 1}), zelOk);
  EXPECT_EQ(status(0x08000000, {7, 7, 6}, {29, 1}), zelErrVlcTable);
  EXPECT_EQ(status(-0x08000000, {7, 7, 6}, {29, 1}), zelOk);
  EXPECT_EQ(status(0x7FFFFFFF, {8, 12}, {27, 1}), zelOk);
  EXPECT_EQ(status(0x7FFFFFFF, {8, 12}, {28, 1}), zelErrVlcTable);
}

TEST(VlcTuple, AnyBitsByTheModel) {
  Random random(1);
  for (size_t round = 0; round < 4000; ++round) {
    const int32_t size = static_cast<int32_t>(Uniform(random, 1, round % 5 == 0 ? 25 : 4));
    const Tuple tuple = {size, static_cast<int32_t>(Uniform(random, 1, static_cast<size_t>(25 / size)))};
    const int32_t high =
        static_cast<int32_t>(std::max(uint32_t{40}, (uint32_t{1} << tuple.size * tuple.element_bits) - 1));
    const Codes codes = RandomCodes({.n = Uniform(random, 1, 40),
                                     .max_length = static_cast<int32_t>(Uniform(random, 7, 32)),
                                     .low = 0,
                                     .high = high,
                                     .complete = round % 2 == 0},
                                    random);
    Widths widths;
    while (widths.size() < 32) widths.push_back(static_cast<int32_t>(Uniform(random, 1, 9)));
    ASSERT_NO_FATAL_FAILURE(ExpectAsByModel(codes, widths, tuple, RandomBytes(4000, round), Uniform(random, 0, 31),
                                            Uniform(random, 1, 200), round % 4 == 0 ? Guard::kBefore : Guard::kBehind));
  }
}
