// The VLC encoder: edge cases, and every placement of a stream against the plain definition.

#include <algorithm>

#include "entropy/vlc_model.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

zelStatus EncodeOne(int16_t value, Place& place, const VlcEncoder& encoder) {
  return zelsVLCEncodeOne_16s1u(value, &place.byte, &place.bit, encoder.get());
}

zelStatus EncodeBlock(const Values& values, Place& place, const VlcEncoder& encoder) {
  return zelsVLCEncodeBlock_16s1u(values.data(), static_cast<int32_t>(values.size()), &place.byte, &place.bit,
                                  encoder.get());
}

int32_t SizeFor(const Codes& codes) {
  int32_t size = 0;
  EXPECT_EQ(zelsVLCEncodeGetSize_32s(codes.data(), static_cast<int32_t>(codes.size()), &size), zelOk);
  return size;
}

const Codes kFive = {{0, 0b10110, 5}};

}  // namespace

TEST(VlcEncode, TableOfOneEntry) {
  EXPECT_EQ(SizeFor({{77, 1, 3}}), 76);
  const VlcEncoder encoder({{77, 1, 3}});
  const Words words(32);
  Place place = PlaceOf(words.data(), 0);
  EXPECT_EQ(EncodeBlock({77, 77}, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes(), (Bytes{0b00100111, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(place, PlaceOf(words.data(), 6));
  EXPECT_EQ(EncodeOne(76, place, encoder), zelErrVlcInput);
  EXPECT_EQ(EncodeOne(78, place, encoder), zelErrVlcInput);
}

TEST(VlcEncode, ValuesFromMinusThreeToFourTake160Bytes) { EXPECT_EQ(SizeFor({{-3, 0, 1}, {4, 1, 1}}), 160); }

TEST(VlcEncode, SizesFollowTheRangeOfValues) {
  EXPECT_EQ(SizeFor({{5, 0, 1}, {6, 1, 1}}), (1 + 4) * 4 + 68);
  EXPECT_EQ(SizeFor({{-1, 0, 1}, {1, 1, 1}}), (2 + 4) * 4 + 68);
  EXPECT_EQ(SizeFor({{0, 0, 1}, {254, 1, 1}}), (254 + 256) * 4 + 68);
  EXPECT_EQ(SizeFor({{0, 0, 1}, {255, 1, 1}}), (255 + 512) * 4 + 68);
  EXPECT_EQ(SizeFor({{-32768, 0, 1}, {32767, 1, 1}}), (65535 + 131072) * 4 + 68);
}

// Up to 2^28 - 1 values take 2^28 lengths.
TEST(VlcEncode, SizesBeyond31BitsAreErrors) {
  EXPECT_EQ(SizeFor({{0, 0, 1}, {(1 << 28) - 18, 1, 1}}), ((1ll << 29) - 18) * 4 + 68);
  for (const auto& [low, high] : {std::pair<int32_t, int32_t>{0, (1 << 28) - 17},
                                  {0, (1 << 28) - 1},
                                  {-1, INT32_MAX},
                                  {INT32_MIN, -1},
                                  {INT32_MIN, INT32_MAX},
                                  {-2000000000, 2000000000}}) {
    const Codes codes = {{low, 0, 1}, {high, 1, 1}};
    int32_t size = -7;
    EXPECT_EQ(zelsVLCEncodeGetSize_32s(codes.data(), 2, &size), zelErrVlcInput);
    EXPECT_EQ(size, -7);
    Bytes memory(200, 0xA5);
    auto* record = reinterpret_cast<zelVLCEncodeState*>(memory.data());
    EXPECT_EQ(zelsVLCEncodeInit_32s(codes.data(), 2, record), zelErrVlcInput);
    EXPECT_EQ(memory, Bytes(200, 0xA5));
    zelVLCEncodeState* const before = record;
    EXPECT_EQ(zelsVLCEncodeInitAlloc_32s(codes.data(), 2, &record), zelErrVlcInput);
    EXPECT_EQ(record, before);
  }
}

TEST(VlcEncode, ValuesAtTheEndsOf32BitsAreNeverMet) {
  for (int32_t far : {INT32_MIN, INT32_MAX - 4, 65536, -65536 - 4}) {
    const VlcEncoder encoder({{far, 0, 2}, {far + 4, 1, 2}});
    for (int32_t value : {-32768, -1, 0, 4, 32767}) {
      const Words words(32);
      const Bytes before = words.ToBytes();
      Place place = PlaceOf(words.data(), 0);
      EXPECT_EQ(EncodeOne(static_cast<int16_t>(value), place, encoder), zelErrVlcInput);
      EXPECT_EQ(words.ToBytes(), before);
    }
  }
}

TEST(VlcEncode, OnesFollowACodeInsideItsWord) {
  const VlcEncoder encoder(kFive);
  const Words words(32);
  Bytes expected = words.ToBytes();
  for (size_t i = 3; i < 32; ++i) SetBit(expected, i, i == 3 || i == 5 || i == 6 || i > 7);
  Place place = PlaceOf(words.data(), 3);
  EXPECT_EQ(EncodeOne(0, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes(), expected);
  EXPECT_EQ(place, PlaceOf(words.data(), 8));

  EXPECT_EQ(EncodeOne(0, place, encoder), zelOk);
  expected[1] = 0b10110111;
  EXPECT_EQ(words.ToBytes(), expected);
  EXPECT_EQ(place, PlaceOf(words.data(), 13));
}

TEST(VlcEncode, CodeAcrossWordsKeepsWhatFollows) {
  const VlcEncoder encoder(kFive);
  const Words words(64);
  Bytes expected = words.ToBytes();
  for (size_t i = 0; i < 5; ++i) SetBit(expected, 29 + i, 0b10110 >> (4 - i) & 1);
  Place place = PlaceOf(words.data(), 29);
  EXPECT_EQ(EncodeOne(0, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes(), expected);
  EXPECT_EQ(place, PlaceOf(words.data(), 34));
}

TEST(VlcEncode, CodeThatFillsItsWordLeavesTheNextAlone) {
  const VlcEncoder encoder(kFive);
  const Words words(32);  // the next word is not there
  Bytes expected = words.ToBytes();
  for (size_t i = 0; i < 5; ++i) SetBit(expected, 27 + i, 0b10110 >> (4 - i) & 1);
  Place place = PlaceOf(words.data(), 27);
  EXPECT_EQ(EncodeOne(0, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes(), expected);
  EXPECT_EQ(place, PlaceOf(words.data(), 32));
}

TEST(VlcEncode, OneDoesNotCheckTheOffsetBlockDoes) {
  const VlcEncoder encoder(kFive);
  for (int32_t offset : {-13, -8, -1, 8, 9, 31, 40}) {
    const Words words(128), by_model(128);
    Place place = {words.data() + 8, offset};
    EXPECT_EQ(EncodeBlock({0}, place, encoder), zelErrVlcInput);
    EXPECT_EQ(words.ToBytes(), by_model.ToBytes());
    EXPECT_EQ(place, (Place{words.data() + 8, offset}));

    Bytes expected = by_model.ToBytes();
    const size_t end = EncodeByModel(kFive, {0}, expected, static_cast<size_t>(64 + offset));
    EXPECT_EQ(EncodeOne(0, place, encoder), zelOk);
    EXPECT_EQ(words.ToBytes(), expected);
    EXPECT_EQ(place, PlaceOf(words.data(), end));
  }
}

TEST(VlcEncode, OfAValueListedTwiceTheFirstEntryCounts) {
  const VlcEncoder encoder({{1, 0b1, 1}, {2, 0b011, 3}, {1, 0b0101, 4}, {2, 0, 2}});
  const Words words(32);
  Place place = PlaceOf(words.data(), 0);
  EXPECT_EQ(EncodeBlock({1, 2}, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes()[0], 0b10111111);
  EXPECT_EQ(place, PlaceOf(words.data(), 4));
}

TEST(VlcEncode, BitsAboveTheLengthDoNotMatter) {
  const VlcEncoder encoder({{1, -1, 3}, {2, INT32_MIN, 4}});
  const Words words(32);
  Place place = PlaceOf(words.data(), 0);
  EXPECT_EQ(EncodeBlock({2, 1}, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes()[0], 0b00001111);
  EXPECT_EQ(place, PlaceOf(words.data(), 7));
}

TEST(VlcEncode, LengthsOutside1To32AreNoCodes) {
  const VlcEncoder encoder({{0, 1, 0}, {1, 1, 33}, {2, 1, -1}, {3, 1, INT32_MIN}, {4, 1, INT32_MAX}, {5, 1, 1}});
  const Words words(32);
  const Bytes before = words.ToBytes();
  Place place = PlaceOf(words.data(), 0);
  for (int16_t value = 0; value < 5; ++value) EXPECT_EQ(EncodeOne(value, place, encoder), zelErrVlcInput) << value;
  EXPECT_EQ(words.ToBytes(), before);
  EXPECT_EQ(place, PlaceOf(words.data(), 0));
  EXPECT_EQ(EncodeOne(5, place, encoder), zelOk);
}

TEST(VlcEncode, Length32IsACodeOfZeros) {
  const VlcEncoder encoder({{9, -1, 32}, {8, 1, 1}});
  const Words words(96);
  Bytes expected = words.ToBytes();
  for (size_t i = 5; i < 69; ++i) SetBit(expected, i, false);
  Place place = PlaceOf(words.data(), 5);
  EXPECT_EQ(EncodeBlock({9, 9}, place, encoder), zelOk);
  EXPECT_EQ(words.ToBytes(), expected);
  EXPECT_EQ(place, PlaceOf(words.data(), 69));
}

TEST(VlcEncode, ValueWithoutACodeEndsABlockAtIt) {
  Random random(1);
  const Codes codes = RandomCodes({.n = 40, .max_length = 31, .low = -60, .high = 60}, random);
  const VlcEncoder encoder(codes);
  Values missing = {32767, -32768};
  for (int16_t value = -60; value <= 60; ++value) {
    if (std::none_of(codes.begin(), codes.end(), [&](const zelVLCCode& c) { return c.value == value; })) {
      missing.push_back(value);
    }
  }
  for (size_t round = 0; round < 600; ++round) {
    const size_t good = round % 7;
    Values values = RandomValues(codes, 12, random);
    values[good] = missing[Uniform(random, 0, missing.size() - 1)];
    const size_t start = Uniform(random, 0, 31);
    Bytes model = Bytes(400);
    size_t written = 0;
    const size_t end = EncodeByModel(codes, values, model, start, &written);
    ASSERT_EQ(written, good);
    const Words words(std::max<size_t>(end, 1), Guard::kBehind, round);  // no word beyond those of the good codes
    model = words.ToBytes();
    EncodeByModel(codes, values, model, start);
    Place place = PlaceOf(words.data(), start);
    ASSERT_EQ(EncodeBlock(values, place, encoder), zelErrVlcInput);
    ASSERT_EQ(words.ToBytes(), model) << round;
    ASSERT_EQ(place, PlaceOf(words.data(), end)) << round;
  }
}

TEST(VlcEncode, EveryPlaceAndLengthByTheModel) {
  Random random(2);
  for (int32_t max_length : {3, 9, 20, 31}) {
    const Codes codes =
        RandomCodes({.n = max_length == 3 ? 6u : 90u, .max_length = max_length, .low = -99, .high = 30}, random);
    const VlcEncoder encoder(codes);
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      for (size_t start = 0; start < 32; ++start) {
        for (size_t n = 1; n < 24; ++n) {
          const Values values = RandomValues(codes, n, random);
          Bytes model(4 * n + 8);
          const size_t end = EncodeByModel(codes, values, model, start);
          const Words words(end, guard, n), one_by_one(end, guard, n);
          model = words.ToBytes();
          EncodeByModel(codes, values, model, start);
          Place place = PlaceOf(words.data(), start);
          ASSERT_EQ(EncodeBlock(values, place, encoder), zelOk);
          ASSERT_EQ(words.ToBytes(), model);
          ASSERT_EQ(place, PlaceOf(words.data(), end));
          place = PlaceOf(one_by_one.data(), start);
          for (int16_t value : values) ASSERT_EQ(EncodeOne(value, place, encoder), zelOk);
          ASSERT_EQ(one_by_one.ToBytes(), model);
          ASSERT_EQ(place, PlaceOf(one_by_one.data(), end));
        }
      }
    }
  }
}

TEST(VlcEncode, LongBlocksByTheModel) {
  Random random(3);
  for (size_t round = 0; round < 10; ++round) {
    const Codes codes = RandomCodes({.n = 300, .max_length = 20, .low = -32768, .high = 32767}, random);
    const VlcEncoder encoder(codes);
    const Values values = RandomValues(codes, 5000 + round, random);
    Bytes model(20 * values.size());
    const size_t end = EncodeByModel(codes, values, model, 17);
    const Words words(end, Guard::kBehind, round);
    model = words.ToBytes();
    EncodeByModel(codes, values, model, 17);
    Place place = PlaceOf(words.data(), 17);
    ASSERT_EQ(EncodeBlock(values, place, encoder), zelOk);
    ASSERT_EQ(words.ToBytes(), model);
    int32_t bits = 0;
    ASSERT_EQ(zelsVLCCountBits_16s32s(values.data(), static_cast<int32_t>(values.size()), &bits, encoder.get()), zelOk);
    ASSERT_EQ(static_cast<size_t>(bits), end - 17);
  }
}

TEST(VlcEncode, RecordAtAnyAddress) {
  Random random(4);
  const Codes codes = RandomCodes({.n = 20, .max_length = 12, .low = -20, .high = 20}, random);
  const Values values = RandomValues(codes, 50, random);
  Bytes model(100);
  EncodeByModel(codes, values, model, 0);
  for (size_t offset = 0; offset < 32; ++offset) {
    const VlcEncoder encoder(codes, offset);
    Bytes words(100 + 4);
    uint8_t* const base = words.data() + (4 - reinterpret_cast<uintptr_t>(words.data()) % 4) % 4;
    Place place = PlaceOf(base, 0);
    ASSERT_EQ(EncodeBlock(values, place, encoder), zelOk);
    ASSERT_TRUE(std::equal(model.begin(), model.end(), base)) << offset;
    ASSERT_TRUE(encoder.IsInside()) << offset;
  }
}

TEST(VlcEncode, CountsBitsUpTo31) {
  const VlcEncoder encoder({{0, 0, 32}, {1, 1, 31}});
  const size_t n = size_t{1} << 26;
  const GuardedBuffer memory(2 * n);
  auto* const values = reinterpret_cast<int16_t*>(memory.data());
  int32_t bits = -7;
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, n, &bits, encoder.get()), zelErrVlcInput);
  EXPECT_EQ(bits, -7);
  values[n / 2] = 1;
  EXPECT_EQ(zelsVLCCountBits_16s32s(values, n, &bits, encoder.get()), zelOk);
  EXPECT_EQ(bits, INT32_MAX);
}
