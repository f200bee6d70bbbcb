// What zelsInflateBuildHuffTable leaves in the record, held against the layout that the header tells, and the codes at
// the edges: incomplete, over-subscribed, of one symbol.

#include <string.h>

#include "gtest/gtest.h"
#include "inflate/one_call.h"
#include "inflate/random_stream.h"
#include "inflate/stream_builder.h"

namespace zeldc_test {
namespace {

struct Codes {
  Codes(const Lengths& lit_len_lengths, const Lengths& distance_lengths)
      : lit_len(lit_len_lengths), distance(distance_lengths) {}

  zelStatus Build(zelInflateState* record) const {
    std::vector<uint16_t> lengths;
    for (int length : lit_len) lengths.push_back(static_cast<uint16_t>(length));
    for (int length : distance) lengths.push_back(static_cast<uint16_t>(length));
    return zelsInflateBuildHuffTable(lengths.data(), static_cast<uint32_t>(lit_len.size()),
                                     static_cast<uint32_t>(distance.size()), record);
  }

  Lengths lit_len, distance;
};

zelInflateState Built(const Codes& codes, uint32_t form) {
  Random random(3);
  zelInflateState record = RandomRecord(random);
  EXPECT_EQ(codes.Build(&record), zelOk);
  EXPECT_EQ(record.tableForm, form);
  return record;
}

uint16_t Word(const uint8_t* from) {
  uint16_t value;
  memcpy(&value, from, sizeof(value));
  return value;
}

uint32_t DoubleWord(const uint8_t* from) {
  uint32_t value;
  memcpy(&value, from, sizeof(value));
  return value;
}

// The bits of a code in the order of the stream.
size_t Reversed(uint32_t code, int length) {
  size_t reversed = 0;
  for (int i = 0; i < length; ++i) reversed |= size_t{code >> i & 1} << (length - 1 - i);
  return reversed;
}

// Value and information of a symbol but for the length of its code.
struct Meaning {
  unsigned value, info;
};

Meaning LitLenMeaning(size_t symbol, unsigned end_of_block) {
  if (symbol < 256) return {static_cast<unsigned>(symbol), 0};
  if (symbol == 256) return {0, end_of_block << 4};
  for (int length = 3;; ++length) {
    const RangeCode code = LengthCode(length);
    if (code.symbol == static_cast<int>(symbol)) {
      return {static_cast<unsigned>(length - 3), static_cast<unsigned>(8 + code.extra_bits) << 4};
    }
  }
}

Meaning DistanceMeaning(size_t symbol) {
  for (int distance = 1;; ++distance) {
    const RangeCode code = DistanceCode(distance);
    if (code.symbol == static_cast<int>(symbol)) {
      return {static_cast<unsigned>(distance), static_cast<unsigned>(code.extra_bits) << 4};
    }
  }
}

// Calls check(symbol, length, code) for each symbol with a code.
template <typename Check>
void ForEachCode(const Lengths& lengths, Check check) {
  const std::vector<uint32_t> codes = CanonicalCodes(lengths);
  for (size_t i = 0; i < lengths.size(); ++i) {
    if (lengths[i] > 0) check(i, lengths[i], codes[i]);
  }
}

void ExpectShortTables(const Codes& codes) {
  const zelInflateState record = Built(codes, zelInflateShort);
  ASSERT_EQ(record.maxLitBits, static_cast<uint32_t>(*std::max_element(codes.lit_len.begin(), codes.lit_len.end())));
  ASSERT_EQ(record.maxDistBits, static_cast<uint32_t>(*std::max_element(codes.distance.begin(), codes.distance.end())));
  std::vector<bool> reached(size_t{1} << record.maxLitBits);
  ForEachCode(codes.lit_len, [&](size_t symbol, int length, uint32_t code) {
    const Meaning m = LitLenMeaning(symbol, 15);
    for (size_t i = Reversed(code, length); i < reached.size(); i += size_t{1} << length) {
      reached[i] = true;
      ASSERT_EQ(Word(record.tables + 2 * i), m.value << 8 | m.info | static_cast<unsigned>(length));
    }
  });
  for (size_t i = 0; i < reached.size(); ++i) {
    const unsigned kind = Word(record.tables + 2 * i) >> 4 & 15;
    ASSERT_EQ(reached[i], kind == 0 || (kind >= 8 && kind <= 13) || kind == 15);
  }
  reached.assign(size_t{1} << record.maxDistBits, false);
  ForEachCode(codes.distance, [&](size_t symbol, int length, uint32_t code) {
    const Meaning m = DistanceMeaning(symbol);
    for (size_t i = Reversed(code, length); i < reached.size(); i += size_t{1} << length) {
      reached[i] = true;
      ASSERT_EQ(DoubleWord(record.tables + 4096 + 4 * i), m.value << 16 | m.info | static_cast<unsigned>(length));
    }
  });
  for (size_t i = 0; i < reached.size(); ++i) {
    ASSERT_EQ(reached[i], (DoubleWord(record.tables + 4096 + 4 * i) >> 4 & 15) <= 13);
  }
}

void ExpectGeneralTables(const Codes& codes) {
  const zelInflateState record = Built(codes, zelInflateGeneral);
  const auto check = [](const Lengths& lengths, const uint8_t* infos, size_t entries, auto value, auto meaning) {
    ForEachCode(lengths, [&](size_t symbol, int length, uint32_t code) {
      const Meaning m = meaning(symbol);
      const auto expect = [&](size_t i) {
        ASSERT_LT(i, entries);
        ASSERT_EQ(infos[i], m.info | static_cast<unsigned>(length)) << symbol;
        ASSERT_EQ(value(i), m.value) << symbol;
      };
      if (length <= 10) {
        for (size_t i = Reversed(code, length); i < 1024; i += size_t{1} << length) expect(i);
        return;
      }
      const size_t link = Reversed(code >> (length - 10), 10);
      const int longest = infos[link] & 15;
      ASSERT_GE(longest, length);
      const size_t start = 1024 + 2 * size_t{value(link)};
      const size_t low = size_t{code & ((1u << (length - 10)) - 1)} << (longest - length);
      for (size_t i = 0; i < size_t{1} << (longest - length); ++i) expect(start + low + i);
    });
  };
  check(
      codes.lit_len, record.tables + 1536, 1536, [&](size_t i) { return unsigned{record.tables[i]}; },
      [](size_t symbol) { return LitLenMeaning(symbol, 6); });
  check(
      codes.distance, record.tables + 5632, 1280,
      [&](size_t i) { return unsigned{Word(record.tables + 3072 + 2 * i)}; },
      [](size_t symbol) { return DistanceMeaning(symbol); });
}

TEST(OneCallTables, ShortFormIsAsTold) {
  ExpectShortTables({AllLitLens(), AllDistances()});
  ExpectShortTables({MakeLengths(257, {{256, 1}}), MakeLengths(1, {{0, 1}})});
  ExpectShortTables({MakeLengths(286, {{'a', 11}, {256, 2}, {285, 1}}), MakeLengths(30, {{29, 10}, {0, 1}})});
}

TEST(OneCallTables, GeneralFormIsAsTold) {
  ExpectGeneralTables({Staircase(286, {'a', 'b', 'c', 'd', 256, 257, 258, 284, 285, 0, 1, 2, 3, 4, 5, 6}),
                       Staircase(30, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 29, 28, 27, 26, 25})});
  ExpectGeneralTables({AllLitLens(), MakeLengths(30, {{3, 11}, {4, 15}, {9, 15}})});
  ExpectGeneralTables({MakeLengths(286, {{0, 12}, {7, 13}, {256, 14}, {285, 15}}), AllDistances()});
}

TEST(OneCallTables, RandomCodesInEitherForm) {
  Random random(4);
  size_t general = 0;
  for (int i = 0; i < 300; ++i) {
    const size_t count = Uniform(random, 257, 286);
    const size_t distances = Uniform(random, 1, 30);
    const Codes codes(RandomCode(random, count, Uniform(random, 2, random() % 2 ? 30 : count), 256),
                      RandomCode(random, distances, Uniform(random, 1, distances), 0));
    if (*std::max_element(codes.lit_len.begin(), codes.lit_len.end()) > 11 ||
        *std::max_element(codes.distance.begin(), codes.distance.end()) > 10) {
      ++general;
      ExpectGeneralTables(codes);
    } else {
      ExpectShortTables(codes);
    }
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(general, 30u);
  EXPECT_LT(general, 270u);
}

TEST(OneCallTables, LongerCodesSelectTheGeneralForm) {
  const Lengths distance = MakeLengths(1, {{0, 1}});
  Built({MakeLengths(257, {{0, 11}, {256, 1}}), distance}, zelInflateShort);
  Built({MakeLengths(257, {{0, 12}, {256, 1}}), distance}, zelInflateGeneral);
  const Lengths lit_len = MakeLengths(257, {{256, 1}});
  Built({lit_len, MakeLengths(2, {{1, 10}})}, zelInflateShort);
  Built({lit_len, MakeLengths(2, {{1, 11}})}, zelInflateGeneral);
}

// Decodes `bits` bits of a stream with the codes; answers status, mode and output size.
struct Outcome {
  zelStatus status;
  int32_t mode;
  size_t written;
  bool operator==(const Outcome&) const = default;
};

Outcome DecodeWith(zelInflateState* record, const Bytes& stream, size_t room) {
  const uint8_t* src = stream.data();
  uint32_t src_len = static_cast<uint32_t>(stream.size()), bits = 0, bit_count = 0;
  Bytes out(room + 1);
  uint8_t* dst = out.data();
  uint32_t dst_len = static_cast<uint32_t>(room);
  int32_t mode = 1;
  const zelStatus status = zelsInflate_8u(&src, &src_len, &bits, &bit_count, 0, &dst, &dst_len, 0, &mode, record);
  return {status, mode, static_cast<size_t>(dst - out.data())};
}

TEST(OneCallTables, EntriesThatNoCodeReachesAreInvalidSymbols) {
  // One code of one bit: the other one is invalid. In the general form likewise, once ten bits are there.
  zelInflateState record = Built({MakeLengths(257, {{256, 1}}), MakeLengths(1, {{0, 1}})}, zelInflateShort);
  EXPECT_EQ(DecodeWith(&record, {0xFE}, 9), (Outcome{zelOk, 0, 0}));
  EXPECT_EQ(DecodeWith(&record, {0x01}, 9), (Outcome{zelErrBadData, 1, 0}));
  record = Built({MakeLengths(257, {{'x', 12}, {256, 1}}), MakeLengths(1, {{0, 1}})}, zelInflateGeneral);
  EXPECT_EQ(DecodeWith(&record, {0xFF}, 9), (Outcome{zelOk, 1, 0}));
  EXPECT_EQ(DecodeWith(&record, {0xFF, 0x03}, 9), (Outcome{zelErrBadData, 1, 0}));
  // 'x' is a one and eleven zeros; behind its first ten bits there are codes of 12 bits.
  EXPECT_EQ(DecodeWith(&record, {0x01, 0x00}, 9), (Outcome{zelOk, 0, 1}));
  EXPECT_EQ(DecodeWith(&record, {0x01, 0x04}, 9), (Outcome{zelErrBadData, 1, 0}));
}

TEST(OneCallTables, ADistanceThatNoCodeReachesIsBadData) {
  // 'a' 0, end 10, length 3 11; distance 1 is 0, and 1 is none.
  const Codes codes(MakeLengths(258, {{'a', 1}, {256, 2}, {257, 2}}), MakeLengths(1, {{0, 1}}));
  zelInflateState record = Built(codes, zelInflateShort);
  EXPECT_EQ(DecodeWith(&record, {0x16}, 9), (Outcome{zelOk, 0, 4}));          // a, match, distance 1, end
  EXPECT_EQ(DecodeWith(&record, {0x0E}, 9), (Outcome{zelErrBadData, 1, 1}));  // a, match, no distance
}

TEST(OneCallTables, OverSubscribedCodesHaveNoSymbols) {
  const Lengths one = MakeLengths(1, {{0, 1}});
  for (const int extra : {3, 12}) {
    Lengths lit_len(286, 8);
    lit_len[256] = extra;
    zelInflateState record = Built({lit_len, one}, extra == 3 ? zelInflateShort : zelInflateGeneral);
    for (const uint8_t byte : Bytes{0, 1, 0x55, 0xAA, 0xFF}) {
      EXPECT_EQ(DecodeWith(&record, Bytes(4, byte), 9), (Outcome{zelErrBadData, 1, 0}));
    }
  }
  // Over-subscribed distances do no harm in a block without matches.
  const Lengths lit_len = MakeLengths(258, {{'a', 1}, {256, 2}, {257, 2}});
  for (const int length : {4, 10}) {
    Lengths distance(30, length == 4 ? 4 : 1);
    if (length == 10) distance[0] = 11;
    zelInflateState record = Built({lit_len, distance}, length == 4 ? zelInflateShort : zelInflateGeneral);
    EXPECT_EQ(DecodeWith(&record, {0x02}, 9), (Outcome{zelOk, 0, 1}));
    EXPECT_EQ(DecodeWith(&record, {0x0E, 0, 0}, 9), (Outcome{zelErrBadData, 1, 1}));
  }
}

}  // namespace
}  // namespace zeldc_test
