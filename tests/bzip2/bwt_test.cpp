// The Burrows-Wheeler transform against its definition, on blocks of every structure that makes sorting hard.

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace zeldc_test {
namespace {

struct Transformed {
  Bytes column;
  int32_t index = -1;
};

// The definition: all rotations, sorted. The rows at which rotation 0, or one that equals it, stands.
struct Sorted {
  Bytes column;
  std::vector<int32_t> rows;
};

Sorted SortRotations(const Bytes& block) {
  const size_t n = block.size();
  Bytes twice = block;
  twice.insert(twice.end(), block.begin(), block.end());
  std::vector<size_t> starts(n);
  std::iota(starts.begin(), starts.end(), size_t{0});
  auto compare = [&](size_t a, size_t b) { return memcmp(&twice[a], &twice[b], n); };
  std::stable_sort(starts.begin(), starts.end(), [&](size_t a, size_t b) { return compare(a, b) < 0; });
  Sorted sorted;
  for (size_t k = 0; k < n; ++k) {
    sorted.column.push_back(twice[starts[k] + n - 1]);
    if (compare(starts[k], 0) == 0) sorted.rows.push_back(static_cast<int32_t>(k));
  }
  return sorted;
}

// One of the two variants.
struct Variant {
  const char* name;
  decltype(&zelsBWTFwd_8u) forward;
  decltype(&zelsBWTInv_8u) inverse;
  size_t (*forward_buffer)(size_t len);
  size_t (*inverse_buffer)(size_t len);
};

const Variant kGeneral = {"general", zelsBWTFwd_8u, zelsBWTInv_8u, [](size_t len) { return 6 * len + 70145; },
                          [](size_t len) { return 4 * len + 1024; }};
const Variant kSmall = {"small", zelsBWTFwd_SmallBlock_8u, zelsBWTInv_SmallBlock_8u,
                        [](size_t len) { return 4 * len + 2080; }, [](size_t len) { return 4 * len + 2080; }};

Transformed Forward(const Variant& v, const Bytes& block) {
  const GuardedBuffer source(block);
  const GuardedBuffer column(block.size()), buffer(v.forward_buffer(block.size()));
  memset(buffer.data(), 0xA5, buffer.size());
  Transformed t;
  EXPECT_EQ(v.forward(source.data(), column.data(), static_cast<int32_t>(block.size()), &t.index, buffer.data()),
            zelOk);
  t.column = column.ToBytes();
  return t;
}

Bytes Inverse(const Variant& v, const Bytes& column, int32_t index) {
  const GuardedBuffer source(column);
  const GuardedBuffer block(column.size()), buffer(v.inverse_buffer(column.size()));
  memset(buffer.data(), 0x5A, buffer.size());
  EXPECT_EQ(v.inverse(source.data(), block.data(), static_cast<int32_t>(column.size()), index, buffer.data()), zelOk);
  return block.ToBytes();
}

void CheckDefinition(const Variant& v, const Bytes& block, const Sorted& expected) {
  const Transformed t = Forward(v, block);
  ASSERT_EQ(t.column, expected.column) << v.name;
  ASSERT_TRUE(std::count(expected.rows.begin(), expected.rows.end(), t.index)) << v.name;
  for (const int32_t row : expected.rows) ASSERT_EQ(Inverse(v, t.column, row), block) << v.name;
}

void CheckDefinition(const Bytes& block) {
  const Sorted expected = SortRotations(block);
  CheckDefinition(kGeneral, block, expected);
  CheckDefinition(kSmall, block, expected);
}

// For blocks that are too long for the definition.
void CheckRoundTrip(const Bytes& block) {
  const Transformed t = Forward(kGeneral, block);
  ASSERT_TRUE(Inverse(kGeneral, t.column, t.index) == block);
  if (block.size() > 32768) return;
  const Transformed small = Forward(kSmall, block);
  ASSERT_TRUE(small.column == t.column);
  ASSERT_TRUE(Inverse(kSmall, small.column, small.index) == block);
}

Bytes ThueMorse(size_t size) {
  Bytes word(size);
  for (size_t i = 0; i < size; ++i) word[i] = static_cast<uint8_t>('a' + __builtin_popcountll(i) % 2);
  return word;
}

// Blocks of `size` bytes, each of which is hard in its own way.
std::vector<NamedData> HardBlocks(size_t size) {
  std::vector<NamedData> blocks;
  blocks.push_back({"random", RandomBytes(size, 1)});
  blocks.push_back({"two symbols", SmallAlphabet(size, 2, 2)});
  blocks.push_back({"four symbols", SmallAlphabet(size, 4, 3)});
  blocks.push_back({"text", Text(size, 4)});
  blocks.push_back({"runs", Runs(size, 300, 5)});
  blocks.push_back({"mixed", Mixed(size, 6)});
  blocks.push_back({"Fibonacci word", FibonacciWord(size)});
  blocks.push_back({"Thue-Morse word", ThueMorse(size)});
  for (const size_t period : {1, 2, 3, 5, 7, 16, 255, 256, 1000}) {
    Bytes block = Periodic(size, period, 7 + period);
    blocks.push_back({"period " + std::to_string(period), block});
    block[size / 2] ^= 1;
    blocks.push_back({"a change in period " + std::to_string(period), block});
  }
  Bytes descending(size), ascending(size);
  for (size_t i = 0; i < size; ++i) {
    ascending[i] = static_cast<uint8_t>(i * 256 / size);
    descending[i] = static_cast<uint8_t>(255 - ascending[i]);
  }
  blocks.push_back({"ascending", ascending});
  blocks.push_back({"descending", descending});
  Bytes last(size, 'a'), first(size, 'b');
  last.back() = 'b';
  first.front() = 'a';
  blocks.push_back({"one larger byte at the end", last});
  blocks.push_back({"one smaller byte at the start", first});
  Bytes comb(size);
  for (size_t i = 0; i < size; ++i) comb[i] = static_cast<uint8_t>(i % 2 == 0 ? 0 : 1 + i * 7919 % 255);
  blocks.push_back({"every second rotation a valley", comb});
  return blocks;
}

TEST(Bwt, OneByte) {
  CheckDefinition({7});
  EXPECT_EQ(Forward(kGeneral, {7}).index, 0);
}

TEST(Bwt, OneRepeatedByteHasIndex0) {
  for (const size_t size : {1, 2, 3, 64, 65, 1000, 32768}) {
    const Bytes block(size, 200);
    for (const Variant* v : {&kGeneral, &kSmall}) {
      const Transformed t = Forward(*v, block);
      EXPECT_EQ(t.column, block);
      EXPECT_EQ(t.index, 0);
    }
  }
}

TEST(Bwt, NonDecreasingBlockWithOneLargestByte) {
  const Transformed t = Forward(kGeneral, {97, 97, 98});
  EXPECT_EQ(t.column, (Bytes{98, 97, 97}));
  EXPECT_EQ(t.index, 0);
}

// Its rotations 0, 1, 3, 2 are in order, not 0, 1, 2, 3.
TEST(Bwt, NonDecreasingBlockWithTwoLargestBytes) {
  const Transformed t = Forward(kGeneral, ToBytes("aabb"));
  EXPECT_EQ(t.column, ToBytes("baba"));
  EXPECT_EQ(t.index, 0);
}

TEST(Bwt, BananaOfTheTextbooks) {
  for (const Variant* v : {&kGeneral, &kSmall}) {
    const Transformed t = Forward(*v, {98, 97, 110, 97, 110, 97});
    EXPECT_EQ(t.column, (Bytes{110, 110, 98, 97, 97, 97}));
    EXPECT_EQ(t.index, 3);
  }
}

TEST(Bwt, PeriodicBlockNamesAnyOfTheEqualRows) {
  for (const Variant* v : {&kGeneral, &kSmall}) {
    const Transformed t = Forward(*v, {97, 98, 97, 98});
    EXPECT_EQ(t.column, (Bytes{98, 98, 97, 97}));
    EXPECT_TRUE(t.index == 0 || t.index == 1);
  }
}

// All blocks of up to 8 bytes over three values.
TEST(Bwt, EveryShortBlock) {
  for (size_t size = 1; size <= 8; ++size) {
    Bytes block(size, 0);
    for (;;) {
      CheckDefinition(block);
      if (HasFatalFailure()) return;
      size_t i = 0;
      while (i < size && block[i] == 2) block[i++] = 0;
      if (i == size) break;
      ++block[i];
    }
  }
}

TEST(Bwt, EverySizeAroundAWordOfBits) {
  for (size_t size = 1; size <= 200; ++size) {
    CheckDefinition(RandomBytes(size, size));
    CheckDefinition(SmallAlphabet(size, 2, size));
    CheckDefinition(Text(size, size));
    ASSERT_FALSE(HasFatalFailure()) << size;
  }
}

TEST(Bwt, HardBlocksBecomeTheirSortedRotations) {
  for (const size_t size : {300, 2500}) {
    for (const NamedData& block : HardBlocks(size)) {
      SCOPED_TRACE(block.name);
      CheckDefinition(block.data);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(Bwt, RotatedBlocksHaveTheSameColumn) {
  Bytes block = Text(1000, 1);
  const Bytes column = Forward(kGeneral, block).column;
  for (int i = 0; i < 50; ++i) {
    std::rotate(block.begin(), block.begin() + 13, block.end());
    const Transformed t = Forward(kGeneral, block);
    ASSERT_EQ(t.column, column);
    ASSERT_EQ(Inverse(kGeneral, t.column, t.index), block);
  }
}

TEST(Bwt, BothVariantsAgreeOnTheLargestSmallBlocks) {
  for (const size_t size : {32767, 32768}) {
    for (const NamedData& block : HardBlocks(size)) {
      SCOPED_TRACE(block.name);
      CheckRoundTrip(block.data);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(Bwt, LargeHardBlocksComeBack) {
  for (const NamedData& block : HardBlocks(900000)) {
    SCOPED_TRACE(block.name);
    CheckRoundTrip(block.data);
    ASSERT_FALSE(HasFatalFailure());
  }
}

// Rows of more than 24 bits.
TEST(Bwt, BlockOfMoreThan16MiBComesBack) { CheckRoundTrip(Mixed((size_t{1} << 24) + 100, 1)); }

// Pairs of a valley and a peak, so that each pair is an LMS substring with the next valley. A third of the pairs,
// `pairs` in all, are alike, whether spread evenly or in a row; of the others as many are twice there as `repeated`
// says.
Bytes OftenTheSameValley(size_t pairs, bool inARow, size_t repeated) {
  const size_t third = pairs / 3;
  const Bytes same = {0, 128};
  Bytes block;
  for (size_t i = 0; inARow && i < third; ++i) block.insert(block.end(), same.begin(), same.end());
  for (size_t i = 0; i < third; ++i) {
    if (!inARow) block.insert(block.end(), same.begin(), same.end());
    // The numbers 256 to 16383 in disorder: peak and valley between them say which.
    const size_t number = 256 + i % (third - repeated) * 5 % 16128;
    const uint8_t peak = static_cast<uint8_t>(128 + number % 128);
    const uint8_t valley = static_cast<uint8_t>(number / 128);
    for (const uint8_t byte : {uint8_t{1}, peak, valley, peak}) block.push_back(byte);
  }
  return block;
}

// One group of LMS rotations that agree is larger than what the working buffer has room to sort at once.
TEST(Bwt, AThirdOfTheRotationsAgreeAtFirst) {
  for (const bool inARow : {false, true}) {
    const Bytes block = OftenTheSameValley(48000, inARow, 0);
    CheckDefinition(kGeneral, block, SortRotations(block));
    const Bytes small = OftenTheSameValley(16383, inARow, 0);
    CheckDefinition(kSmall, small, SortRotations(small));
  }
}

// So many differ that the working buffer has no room to keep their counts.
TEST(Bwt, JustMoreThanAThirdOfTheRotationsAgreeAtFirst) {
  const Bytes block = OftenTheSameValley(48000, false, 10);
  CheckDefinition(kGeneral, block, SortRotations(block));
}

// What stands behind the word is sorted near place 65536 for one of the bytes that follow: its places differ in three
// bytes then, and in two for the others.
TEST(Bwt, AWordThatIsOftenAmongRandomBytes) {
  for (uint8_t next = 40; next < 104; next += 4) {
    const Bytes word = {'o', 'f', 't', next, 'n'};
    Bytes block = RandomBytes(300000, 1);
    for (size_t at = 0; at < block.size(); at += 100) std::copy(word.begin(), word.end(), &block[at]);
    CheckRoundTrip(block);
  }
}

TEST(Bwt, BuffersMayStandAnywhere) {
  const Bytes block = Mixed(20000, 2);
  const Transformed expected = Forward(kGeneral, block);
  for (const Variant* v : {&kGeneral, &kSmall}) {
    for (size_t offset = 0; offset < 40; ++offset) {
      // The buffers end at a guard page, so their starts move with their sizes.
      const Bytes shifted(block.begin(), block.end() - static_cast<ptrdiff_t>(offset));
      const Transformed t = Forward(*v, shifted);
      ASSERT_EQ(Inverse(*v, t.column, t.index), shifted);
      GuardedBuffer buffer(v->forward_buffer(block.size()) + offset), column(block.size() + offset);
      int32_t index = -1;
      ASSERT_EQ(v->forward(block.data(), column.data() + offset, static_cast<int32_t>(block.size()), &index,
                           buffer.data() + offset),
                zelOk);
      ASSERT_EQ(memcmp(column.data() + offset, expected.column.data(), block.size()), 0);
      ASSERT_EQ(index, expected.index);
    }
  }
}

TEST(Bwt, InverseOfTheTextbookColumn) { EXPECT_EQ(Inverse(kGeneral, {98, 97, 97}, 0), (Bytes{97, 97, 98})); }

// The definition of the inverse, on a column that is the transform of nothing.
Bytes FollowLinks(const Bytes& column, size_t row) {
  std::vector<size_t> links(column.size());
  std::iota(links.begin(), links.end(), size_t{0});
  std::stable_sort(links.begin(), links.end(), [&](size_t a, size_t b) { return column[a] < column[b]; });
  Bytes block;
  for (size_t k = 0; k < column.size(); ++k) {
    row = links[row];
    block.push_back(column[row]);
  }
  return block;
}

TEST(Bwt, InverseOfAnyColumnFollowsItsLinks) {
  for (const size_t size : {2, 3, 10, 4095, 4096, 4097, 5000, 20000, 32768}) {
    for (const NamedData& column : HardBlocks(size < 10 ? 10 : size)) {
      const Bytes cut(column.data.begin(), column.data.begin() + static_cast<ptrdiff_t>(size));
      for (const size_t row : {size_t{0}, size / 3, size - 1}) {
        const Bytes expected = FollowLinks(cut, row);
        ASSERT_TRUE(Inverse(kGeneral, cut, static_cast<int32_t>(row)) == expected) << column.name << size;
        ASSERT_TRUE(Inverse(kSmall, cut, static_cast<int32_t>(row)) == expected) << column.name << size;
      }
    }
  }
}

// The links go eight rows on each, so no cycle but the first one meets rows whose number is a multiple of eight, from
// which stretches of the walk begin; the seven others are one long cycle. It is led through one such row.
TEST(Bwt, InverseWhoseWalkMeetsFewRoundRows) {
  constexpr size_t kSize = 5000;
  std::vector<size_t> links(kSize);
  for (size_t row = 0; row < kSize; ++row) links[row] = (row + 8) % kSize;
  // The other seven, one after another.
  for (size_t row = 1; row < 8; ++row) links[kSize - 8 + row] = row == 7 ? 1 : row + 1;
  std::swap(links[1000], links[1001]);
  std::swap(links[1008], links[1009]);
  // What stands in a row names the run of links that rises; the same byte's rows are in order.
  Bytes column(kSize);
  uint8_t symbol = 0;
  for (size_t row = 0; row < kSize; ++row) {
    if (row > 0 && links[row] < links[row - 1]) ++symbol;
    column[links[row]] = symbol;
  }
  for (const size_t row : {size_t{1}, size_t{1009}, size_t{1001}, size_t{4999}}) {
    const Bytes expected = FollowLinks(column, row);
    ASSERT_TRUE(Inverse(kGeneral, column, static_cast<int32_t>(row)) == expected) << row;
    ASSERT_TRUE(Inverse(kSmall, column, static_cast<int32_t>(row)) == expected) << row;
  }
}

TEST(Bwt, SizesOfTheWorkingBuffers) {
  int32_t size = -1;
  EXPECT_EQ(zelsBWTFwdGetSize_8u(1, &size), zelOk);
  EXPECT_EQ(size, 70151);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(900000, &size), zelOk);
  EXPECT_EQ(size, 6 * 900000 + 70145);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(357902250, &size), zelOk);
  EXPECT_EQ(size, 2147483645);
  EXPECT_EQ(zelsBWTInvGetSize_8u(0, &size), zelOk);
  EXPECT_EQ(size, 1024);
  EXPECT_EQ(zelsBWTInvGetSize_8u(900000, &size), zelOk);
  EXPECT_EQ(size, 4 * 900000 + 1024);
  EXPECT_EQ(zelsBWTInvGetSize_8u(536870655, &size), zelOk);
  EXPECT_EQ(size, 2147483644);
  EXPECT_EQ(zelsBWTGetSize_SmallBlock_8u(1, &size), zelOk);
  EXPECT_EQ(size, 2084);
  EXPECT_EQ(zelsBWTGetSize_SmallBlock_8u(32768, &size), zelOk);
  EXPECT_EQ(size, 4 * 32768 + 2080);
}

TEST(Bwt, SizeStatuses) {
  int32_t size = 123;
  EXPECT_EQ(zelsBWTFwdGetSize_8u(0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(0, &size), zelErrSize);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(-1, &size), zelErrSize);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(357902251, &size), zelErrSize);
  EXPECT_EQ(zelsBWTFwdGetSize_8u(INT_MAX, &size), zelErrSize);
  EXPECT_EQ(zelsBWTInvGetSize_8u(1, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsBWTInvGetSize_8u(536870656, &size), zelErrSize);
  EXPECT_EQ(zelsBWTInvGetSize_8u(UINT_MAX, &size), zelErrSize);
  EXPECT_EQ(zelsBWTGetSize_SmallBlock_8u(0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsBWTGetSize_SmallBlock_8u(0, &size), zelErrSize);
  EXPECT_EQ(zelsBWTGetSize_SmallBlock_8u(32769, &size), zelErrSize);
  EXPECT_EQ(size, 123);
}

TEST(Bwt, ForwardStatusesInOrder) {
  for (const Variant* v : {&kGeneral, &kSmall}) {
    uint8_t source[4] = {1, 2, 3, 4}, column[4] = {};
    Bytes buffer(v->forward_buffer(4));
    int32_t index = 99;
    EXPECT_EQ(v->forward(nullptr, column, 0, &index, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->forward(source, nullptr, 0, &index, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->forward(source, column, 0, nullptr, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->forward(source, column, 0, &index, nullptr), zelErrNullPtr);
    EXPECT_EQ(v->forward(source, column, 0, &index, buffer.data()), zelErrSize);
    EXPECT_EQ(v->forward(source, column, -5, &index, buffer.data()), zelErrSize);
    EXPECT_EQ(v->forward(source, column, v == &kSmall ? 32769 : 357902251, &index, buffer.data()), zelErrSize);
    EXPECT_EQ(index, 99);
    EXPECT_EQ(column[0], 0);
  }
}

TEST(Bwt, InverseStatusesInOrder) {
  for (const Variant* v : {&kGeneral, &kSmall}) {
    uint8_t source[4] = {1, 2, 3, 4}, block[4] = {};
    Bytes buffer(v->inverse_buffer(4));
    // Below two bytes: a copy, which looks at the pointers first and neither at the index nor at the buffer.
    EXPECT_EQ(v->inverse(nullptr, block, 0, 0, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->inverse(source, nullptr, 1, 0, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->inverse(source, block, 0, 0, nullptr), zelErrSize);
    EXPECT_EQ(v->inverse(source, block, -1, 0, nullptr), zelErrSize);
    EXPECT_EQ(v->inverse(source, block, 1, 77, nullptr), zelOk);
    EXPECT_EQ(block[0], 1);
    block[0] = 0;
    EXPECT_EQ(v->inverse(nullptr, block, 4, 4, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->inverse(source, nullptr, 4, 4, buffer.data()), zelErrNullPtr);
    EXPECT_EQ(v->inverse(source, block, 4, 4, nullptr), zelErrNullPtr);
    EXPECT_EQ(v->inverse(source, block, 4, 4, buffer.data()), zelErrSize);
    EXPECT_EQ(v->inverse(source, block, 4, -1, buffer.data()), zelErrSize);
    EXPECT_EQ(v->inverse(source, block, 4, INT_MIN, buffer.data()), zelErrSize);
    EXPECT_EQ(v->inverse(source, block, v == &kSmall ? 32769 : 536870656, 0, buffer.data()), zelErrSize);
    EXPECT_EQ(block[0], 0);
  }
}

}  // namespace
}  // namespace zeldc_test
