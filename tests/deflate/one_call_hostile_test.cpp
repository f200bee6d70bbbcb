// The one-call helpers with tables, windows, codes and items of any content: nothing outside the buffers is touched,
// and what the search finds is true.

#include <string.h>

#include <algorithm>
#include <string>

#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

constexpr int32_t kSomeLevels[] = {1, 4, 6, 9};

// Bytes before the input as the window tells them.
Bytes HistoryOf(OneCallStream& stream) {
  return Front(stream.window().ToBytes(), static_cast<size_t>(std::clamp(stream.index, 0, stream.win_size)));
}

// Entries near `index`, far ones, and others.
int32_t AnyEntry(Random& random, int32_t index) {
  switch (random() % 6) {
    case 0:
      return static_cast<int32_t>(random());
    case 1:
      return random() % 2 == 0 ? INT32_MIN : INT32_MAX;
    case 2:
      return static_cast<int32_t>(static_cast<uint32_t>(index) + random() % 3000);
    default:
      return static_cast<int32_t>(static_cast<uint32_t>(index) - random() % 40000);
  }
}

void SpoilTables(OneCallStream& stream, Random& random) {
  for (int32_t i = 0; i < stream.hash_size; ++i) stream.head()[i] = AnyEntry(random, stream.index);
  for (int32_t i = 0; i < stream.win_size; ++i) stream.chain()[i] = AnyEntry(random, stream.index);
}

class OneCallHostile : public testing::TestWithParam<int32_t> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Level, OneCallHostile, testing::ValuesIn(kSomeLevels),
                         [](const auto& level) { return std::to_string(level.param); });

TEST_P(OneCallHostile, TablesOfAnyContent) {
  Random random(static_cast<uint64_t>(GetParam()));
  for (int32_t win_size : {256, 999, 32768}) {
    for (int32_t hash_size : {256, 65536}) {
      for (int32_t index : {INT32_MIN, -100, 0, 1, 300, 40000, INT32_MAX - 500, INT32_MAX}) {
        SCOPED_TRACE(std::to_string(win_size) + ", " + std::to_string(hash_size) + ", " + std::to_string(index));
        OneCallStream stream(GetParam(), win_size, hash_size, random() % 2 == 0 ? Guard::kBehind : Guard::kBefore);
        stream.index = index;
        const Bytes noise = SmallAlphabet(static_cast<size_t>(win_size), 2, random());
        std::copy(noise.begin(), noise.end(), stream.window().data());
        SpoilTables(stream, random);
        const Bytes history = HistoryOf(stream);
        const Bytes input = SmallAlphabet(3000, 2, random());
        const OneCallSearched got = stream.Search(input, zelLZ77FlushFinal, random() % 2 == 0 ? SIZE_MAX : 50);
        EXPECT_EQ(ExpandItems(got.items, history), Front(input, got.consumed));
        EXPECT_EQ(got.counts, CountItems(got.items));
        for (uint16_t distance : got.items.dist) ASSERT_LT(distance, win_size);
      }
    }
  }
}

TEST_P(OneCallHostile, TablesThatChangeBetweenCalls) {
  Random random(100 + static_cast<uint64_t>(GetParam()));
  OneCallStream stream(GetParam(), 4096, 1024);
  Bytes whole;
  for (int call = 0; call < 60; ++call) {
    const Bytes input = Mixed(Uniform(random, 1, 3000), random());
    const OneCallSearched got =
        stream.Search(input, random() % 2 == 0 ? zelLZ77FlushFinal : zelLZ77FlushNone, Uniform(random, 1, 3000));
    EXPECT_EQ(ExpandItems(got.items, whole), Front(input, got.consumed));
    Append(whole, Front(input, got.consumed));
    if (call % 3 == 0) SpoilTables(stream, random);
  }
}

TEST_P(OneCallHostile, ChainsThatGoInCircles) {
  OneCallStream stream(GetParam());
  const Bytes input = SmallAlphabet(5000, 2, 3);
  stream.index = 32768;
  for (int32_t i = 0; i < stream.hash_size; ++i) stream.head()[i] = 100 + i % 7;
  for (int32_t i = 0; i < stream.win_size; ++i) stream.chain()[i] = 100 + (i + 1) % 7;
  const Bytes history = HistoryOf(stream);
  EXPECT_EQ(ExpandItems(stream.Search(input, zelLZ77FlushFinal).items, history), input);
}

TEST_P(OneCallHostile, HashSizesThatAreNoPowersOfTwo) {
  for (int32_t hash_size : {257, 300, 1000, 32769, 65535}) {
    OneCallStream stream(GetParam(), 1000, hash_size);
    const Bytes input = Mixed(20000, 5);
    EXPECT_EQ(ExpandItems(stream.Search(input, zelLZ77FlushFinal).items), input);
  }
}

TEST_P(OneCallHostile, CountersOverflowWithoutHarm) {
  const Bytes input = Text(5000, 1);
  Bytes window(32768);
  std::vector<int32_t> head(65536, kNoPosition), chain(32768, kNoPosition);
  std::vector<int32_t> lit(286, INT32_MAX), dist(30, INT32_MAX);
  Items items{Bytes(5000), std::vector<uint16_t>(5000)};
  uint8_t* next = const_cast<uint8_t*>(input.data());
  int32_t left = 5000, index = 0, room = 5000;
  EXPECT_EQ(zelsDeflateLZ77_8u(&next, &left, &index, window.data(), 32768, head.data(), chain.data(), 65536, lit.data(),
                               dist.data(), items.lit.data(), items.dist.data(), &room, GetParam(), zelLZ77FlushFinal),
            zelOk);
  EXPECT_EQ(lit[256], INT32_MAX);
  EXPECT_LT(lit['e'], 0);
}

TEST(OneCallWriterHostile, CodesAndItemsOfAnyContent) {
  Random random(7);
  for (size_t size : {size_t{1}, size_t{50}, size_t{2047}, size_t{2048}, size_t{5000}}) {
    for (int round = 0; round < 20; ++round) {
      const auto fill = [&](GuardedBuffer& buffer) {
        for (size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = static_cast<uint8_t>(random() >> (random() % 9));
      };
      GuardedBuffer lit(size), dist(2 * size), lit_codes(4 * 286), dist_codes(4 * 30);
      fill(lit);
      fill(dist);
      fill(lit_codes);
      fill(dist_codes);
      // No item takes more than two codes of 16 bits and the extra bits.
      const GuardedBuffer room(size * 50 / 8 + 4);
      uint16_t code = static_cast<uint16_t>(random());
      int32_t bits = static_cast<int32_t>(random() % 2 == 0 ? random() : random() % 40);
      int32_t index = 0;
      EXPECT_EQ(
          zelsDeflateHuff_8u(lit.data(), reinterpret_cast<const uint16_t*>(dist.data()), static_cast<int32_t>(size),
                             &code, &bits, reinterpret_cast<const zelDeflateHuffCode*>(lit_codes.data()),
                             reinterpret_cast<const zelDeflateHuffCode*>(dist_codes.data()), room.data(), &index),
          zelOk);
      EXPECT_GE(index, 0);
      EXPECT_LE(static_cast<size_t>(index), room.size());
      EXPECT_GE(bits, 0);
      EXPECT_LT(bits, 8);
      EXPECT_EQ(code >> bits, 0);
    }
  }
}
