// The tables of the VLC decoder: their sizes, and what is no table.

#include <algorithm>
#include <set>

#include "entropy/vlc_model.h"
#include "gtest/gtest.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Widths = std::vector<int32_t>;

zelStatus GetSize(const Codes& codes, const Widths& widths, int32_t* size) {
  return zelsVLCDecodeGetSize_32s(codes.data(), static_cast<int32_t>(codes.size()), widths.data(),
                                  static_cast<int32_t>(widths.size()), size);
}

zelStatus StatusOf(const Codes& codes, const Widths& widths) {
  int32_t size = 0;
  return GetSize(codes, widths, &size);
}

int32_t SizeFor(const Codes& codes, const Widths& widths) {
  int32_t size = 0;
  EXPECT_EQ(GetSize(codes, widths, &size), zelOk);
  return size;
}

// Elements for the levels of the given widths, whose sum is the longest length.
size_t ElementsByModel(const Codes& codes, const Widths& widths) {
  size_t elements = (size_t{1} << widths[0]) + 1;
  int32_t start = 0;
  for (size_t level = 1; level < widths.size(); ++level) {
    start += widths[level - 1];
    std::set<uint32_t> beginnings;
    for (const zelVLCCode& code : codes) {
      if (code.length > start) {
        beginnings.insert((static_cast<uint32_t>(code.code) << (32 - code.length)) >> (32 - start));
      }
    }
    elements += beginnings.size() * ((size_t{1} << widths[level]) + 1);
  }
  return elements;
}

Widths Cut(const Widths& widths, const Codes& codes) {
  int32_t longest = 0;
  for (const zelVLCCode& code : codes) longest = std::max(longest, code.length);
  Widths cut;
  for (int32_t width : widths) {
    if (longest == 0) break;
    cut.push_back(std::min(width, longest));
    longest -= cut.back();
  }
  return cut;
}

// Codes 0, 10, 110 and so on; the last one all ones.
Codes Ladder(int32_t longest) {
  Codes codes;
  for (int32_t length = 1; length <= longest; ++length) {
    codes.push_back({length, static_cast<int32_t>(~uint32_t{0} << 1), length});
  }
  codes.push_back({0, -1, longest});
  return codes;
}

// All codes of `length` bits; values count from `low`.
Codes Flat(int32_t length, int32_t low) {
  Codes codes;
  for (int32_t code = 0; code < 1 << length; ++code) codes.push_back({low + code, code, length});
  return codes;
}

}  // namespace

TEST(VlcTable, LevelsAreCutToTheLongestCode) {
  EXPECT_EQ(SizeFor(Ladder(9), {4, 4, 4}), SizeFor(Ladder(9), {4, 4, 1}));
  EXPECT_EQ(SizeFor(Ladder(9), {4, 4, 4}), (17 + 17 + 3) * 16 / 8 + 88);  // 5 + 3 + 1 bits of a leaf
  EXPECT_EQ(SizeFor(Ladder(9), {4, 4, 4, 0, -1}), SizeFor(Ladder(9), {4, 4, 1}));
  EXPECT_EQ(SizeFor(Ladder(9), {INT32_MAX}), SizeFor(Ladder(9), {9}));
  EXPECT_EQ(SizeFor(Ladder(9), {1, INT32_MAX}), SizeFor(Ladder(9), {1, 8}));
}

TEST(VlcTable, WidthsThatDoNotReachTheLongestCode) {
  EXPECT_EQ(StatusOf(Ladder(5), {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf(Ladder(5), {2, 2}), zelErrVlcTable);
  EXPECT_EQ(StatusOf(Ladder(5), {2, 2, 1}), zelOk);
}

TEST(VlcTable, WidthsBelowOne) {
  for (int32_t width : {0, -1, INT32_MIN}) {
    EXPECT_EQ(StatusOf(Ladder(5), {width, 5}), zelErrVlcTable);
    EXPECT_EQ(StatusOf(Ladder(5), {3, width, 2}), zelErrVlcTable);
    EXPECT_EQ(StatusOf(Ladder(5), {3, 2, width}), zelOk);
  }
}

TEST(VlcTable, LengthsOutside1To32) {
  for (int32_t length : {0, -1, 33, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(StatusOf({{1, 0, length}}, {8, 8, 8, 8}), zelErrVlcTable);
    EXPECT_EQ(StatusOf({{1, 0, 2}, {2, 1, length}}, {8, 8, 8, 8}), zelErrVlcTable);
    EXPECT_EQ(StatusOf({{1, 0, length}, {2, 1, 2}}, {8, 8, 8, 8}), zelErrVlcTable);
  }
  EXPECT_EQ(StatusOf({{1, 0, 32}}, {8, 8, 8, 8}), zelOk);
}

TEST(VlcTable, SmallValuesTakeElementsOf8Bits) {
  const Codes codes = Flat(3, -4);
  EXPECT_EQ(SizeFor(Codes(codes.begin() + 1, codes.end()), {3}), 9 + 88);
}

// The field for values up to 2^v in size holds -2^v, but +2^v only if there is a bit to spare.
TEST(VlcTable, ValuesThatFillTheLeafExactly) {
  // Four bits for values, two for lengths and the mark: 8 in all with values up to 16.
  EXPECT_EQ(SizeFor({{-16, 0, 2}, {15, 1, 2}}, {2}), 5 + 88);
  EXPECT_EQ(SizeFor({{-16, 0, 2}, {16, 1, 2}}, {2}), 5 * 2 + 88);
  EXPECT_EQ(SizeFor({{-17, 0, 2}, {15, 1, 2}}, {2}), 5 * 2 + 88);
  // Twelve for values.
  EXPECT_EQ(SizeFor({{-4096, 0, 2}, {4095, 1, 2}}, {2}), 5 * 2 + 88);
  EXPECT_EQ(SizeFor({{-4096, 0, 2}, {4096, 1, 2}}, {2}), 5 * 4 + 88);
  EXPECT_EQ(SizeFor({{8, 0, 2}, {-3, 1, 2}}, {2}), 5 + 88);
}

TEST(VlcTable, ManyElementsTakeWiderLinks) {
  // Links of 8 bits reach up to 127 elements and the next; here are 2^6 + 1 and twice 2^5 + 1 in all.
  const Codes codes = {{0, 0, 11}, {0, ~0, 11}};
  EXPECT_EQ(SizeFor(codes, {5, 6}), (33 + 2 * 65) * 2 + 88);
  EXPECT_EQ(SizeFor({{0, 0, 11}}, {5, 6}), 33 + 65 + 88);
}

TEST(VlcTable, CodesThatBeginWithOthers) {
  EXPECT_EQ(StatusOf({{1, 0b10, 2}, {2, 0b101, 3}}, {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, 0b101, 3}, {2, 0b10, 2}}, {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, 0b100, 3}, {2, 0b10, 2}}, {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, 0b10, 2}, {2, 0b10, 2}}, {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, 0b10, 2}, {1, 0b10, 2}}, {3}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, 0, 1}, {2, 0, 32}}, {8, 8, 8, 8}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, -1, 32}, {2, 1, 1}}, {8, 8, 8, 8}), zelErrVlcTable);
  EXPECT_EQ(StatusOf({{1, -1, 32}, {2, 0, 1}, {3, -2, 32}}, {8, 8, 8, 8}), zelOk);
}

TEST(VlcTable, SizesBeyond31Bits) {
  const Codes long_one = {{0, 0, 32}};
  EXPECT_EQ(StatusOf(long_one, {32}), zelErrVlcInput);
  EXPECT_EQ(StatusOf(long_one, {1, 31}), zelErrVlcInput);
  EXPECT_EQ(StatusOf(long_one, {2, 30}), zelErrVlcInput);
  EXPECT_EQ(StatusOf(long_one, {4, 28}), zelOk);  // 2^28 + 1 elements of 32 bits
  EXPECT_EQ(StatusOf({{0, 0, 29}}, {29}), zelErrVlcInput);
  const Codes many = Flat(6, 0);
  Codes longer;
  for (const zelVLCCode& code : many) longer.push_back({code.value, code.code << 26, 32});
  EXPECT_EQ(StatusOf(longer, {6, 26}), zelErrVlcInput);
  EXPECT_EQ(StatusOf(longer, {6, 13, 13}), zelOk);
}

TEST(VlcTable, SizesByTheModel) {
  Random random(1);
  for (size_t round = 0; round < 400; ++round) {
    const Codes codes = RandomCodes({.n = Uniform(random, 2, 200),
                                     .max_length = static_cast<int32_t>(Uniform(random, 9, 32)),
                                     .low = -1000,
                                     .high = static_cast<int32_t>(Uniform(random, 0, 70000)),
                                     .complete = round % 2 == 0},
                                    random);
    Widths widths;
    int32_t sum = 0;
    while (sum < 32) sum += widths.emplace_back(static_cast<int32_t>(Uniform(random, 1, 9)));
    const size_t elements = ElementsByModel(codes, Cut(widths, codes));
    int64_t largest = 0;
    for (const zelVLCCode& code : codes) largest = std::max<int64_t>(largest, std::abs(code.value));
    int32_t value_bits = 0, length_bits = 0, link_bits = 0;
    while (int64_t{1} << value_bits < largest) ++value_bits;
    const Widths cut = Cut(widths, codes);
    while (1 << length_bits <= *std::max_element(cut.begin(), cut.end())) ++length_bits;
    while ((size_t{1} << link_bits) - 1 < elements + 1) ++link_bits;
    const int32_t bits = std::max(value_bits + 1 + length_bits + 1, link_bits + 1);
    const bool exact = std::any_of(codes.begin(), codes.end(),
                                   [&](const zelVLCCode& code) { return code.value == int64_t{1} << value_bits; });
    int32_t width = bits <= 8 ? 8 : bits <= 16 ? 16 : 32;
    if (exact && value_bits + length_bits + 2 == width) width *= 2;
    ASSERT_EQ(static_cast<size_t>(SizeFor(codes, widths)), elements * static_cast<size_t>(width / 8) + 88) << round;
    for (size_t offset = 0; offset < 32; offset += 1 + round % 7) {
      ASSERT_TRUE(VlcDecoder(codes, widths, offset).IsInside()) << round;
    }
  }
}

// More codes than are sorted at a time, in any order.
TEST(VlcTable, LargeTables) {
  Random random(2);
  for (int32_t length : {11, 12, 15, 16}) {
    Codes codes = Flat(length, -(1 << (length - 1)));
    std::shuffle(codes.begin(), codes.end(), random);
    const Widths widths = {7, 5, 4};
    EXPECT_EQ(static_cast<size_t>(SizeFor(codes, widths)),
              88 + (length <= 12 ? 2 : 4) * ElementsByModel(codes, Cut(widths, codes)));
    const size_t at = Uniform(random, 0, codes.size() - 1), other = (at + 1) % codes.size();
    const zelVLCCode kept = codes[at];
    codes[at] = codes[other];
    EXPECT_EQ(StatusOf(codes, widths), zelErrVlcTable);
    codes[at] = {kept.value, kept.code << 1, kept.length + 1};
    EXPECT_EQ(StatusOf(codes, {7, 5, 5}), zelOk);
    codes[other] = {kept.value, kept.code, kept.length};
    EXPECT_EQ(StatusOf(codes, {7, 5, 5}), zelErrVlcTable);
  }
}

// Codes are sorted some thousands at a time: a code and its equal may be parted.
TEST(VlcTable, LargeTablesWithAPairOfEqualCodesAnywhere) {
  for (int32_t twice = 0; twice < 4095; ++twice) {
    if (twice % 61 != 0 && (twice < 1000 || twice > 1050)) continue;
    Codes codes;
    for (int32_t code = 0; code < 4095; ++code) codes.push_back({code, code, 12});
    EXPECT_EQ(StatusOf(codes, {12}), zelOk);
    codes.insert(codes.begin() + twice, {7, twice, 12});
    EXPECT_EQ(StatusOf(codes, {12}), zelErrVlcTable) << twice;
  }
}

TEST(VlcTable, LargeTablesOfEqualCodes) {
  for (size_t n : {2, 2047, 2048, 2049, 5000}) {
    Codes codes(n, {0, 5, 7});
    EXPECT_EQ(StatusOf(codes, {7}), zelErrVlcTable) << n;
    codes.back() = {0, 4, 7};
    EXPECT_EQ(StatusOf(codes, {7}), n > 2 ? zelErrVlcTable : zelOk) << n;
  }
}
