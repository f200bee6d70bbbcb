// zelsEncodeLZ77SelectHuffMode_8u: the choice follows the costs, and stands until it is used.

#include <algorithm>
#include <tuple>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

zelLZ77HuffMode Select(zelLZ77State* record, const Pairs& pairs) {
  const auto records = ToRecords(pairs);
  const GuardedBuffer memory(records.size() * sizeof(zelLZ77Pair));
  zelLZ77Pair* const guarded = reinterpret_cast<zelLZ77Pair*>(memory.data());
  std::copy(records.begin(), records.end(), guarded);
  zelLZ77HuffMode mode = -1;
  EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(guarded, static_cast<int32_t>(records.size()), &mode, record), zelOk);
  return mode;
}

zelLZ77HuffMode SelectFresh(const Pairs& pairs) {
  return Select(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), pairs);
}

struct Costs {
  int64_t stored = 32;
  int64_t fixed = 3;
  int64_t dynamic = 3;
};

// The costs by their definition; the dynamic code is taken from a block that is written for it.
Costs CostsOf(const Pairs& pairs) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Bytes bytes = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, zelLZ77FlushSync).bytes;
  const Block block = ParseBlocks(bytes, 0, true).at(0);
  Costs costs;
  costs.dynamic += 8 * static_cast<int64_t>((block.tree_bits + 7) / 8);
  for (const Pair& pair : pairs) {
    costs.fixed += FixedBits(pair);
    if (pair.second == 0) {
      costs.stored += 8;
      costs.dynamic += block.litlen_lengths.at(static_cast<size_t>(pair.first));
    } else {
      const auto [length_symbol, length_extra] = LengthSymbol(pair.first);
      const auto [distance_symbol, distance_extra] = DistanceSymbol(pair.second);
      costs.stored += 8 * pair.first;
      costs.dynamic += block.litlen_lengths.at(static_cast<size_t>(length_symbol)) + length_extra +
                       block.distance_lengths.at(static_cast<size_t>(distance_symbol)) + distance_extra;
    }
  }
  return costs;
}

zelLZ77HuffMode Cheapest(const Costs& costs) {
  if (costs.stored < costs.fixed && costs.stored < costs.dynamic) return zelLZ77HuffStored;
  return costs.fixed < costs.dynamic ? zelLZ77HuffFixed : zelLZ77HuffDynamic;
}

Pairs Literals(int from, int count) {
  Pairs pairs;
  for (int i = 0; i < count; ++i) pairs.push_back({from + i, 0});
  return pairs;
}

}  // namespace

TEST(SelectHuffMode, NullPointersChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const zelLZ77Pair pair = {'a', 0};
  zelLZ77HuffMode mode = 55;
  for (int32_t count : {1, 0, -1}) {  // pointers come before the count
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(nullptr, count, &mode, record.get()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(&pair, count, nullptr, record.get()), zelErrNullPtr);
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(&pair, count, &mode, nullptr), zelErrNullPtr);
  }
  EXPECT_EQ(mode, 55);
  EXPECT_EQ(Select(record.get(), Literals(144, 100)), zelLZ77HuffStored);
}

TEST(SelectHuffMode, NegativeCountChangesNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const zelLZ77Pair pair = {'a', 0};
  zelLZ77HuffMode mode = 55;
  for (int32_t count : {-1, INT32_MIN}) {
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(&pair, count, &mode, record.get()), zelErrSize);
  }
  EXPECT_EQ(mode, 55);
  EXPECT_EQ(Select(record.get(), Literals(144, 100)), zelLZ77HuffStored);  // no choice was pending
}

TEST(SelectHuffMode, PairsThatAreNoneChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  for (const Pair& bad : Pairs{{0, 1}, {2, 1}, {259, 1}, {65535, 1}, {3, 32769}, {258, 65535}}) {
    const auto records = ToRecords({{'a', 0}, bad});
    zelLZ77HuffMode mode = 55;
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(records.data(), 2, &mode, record.get()), zelErrSize);
    EXPECT_EQ(mode, 55);
  }
  EXPECT_EQ(Select(record.get(), Literals(144, 100)), zelLZ77HuffStored);
}

TEST(SelectHuffMode, ChoosesTheCheapestOfManyKindsOfPairs) {
  size_t seen[3] = {};
  for (uint64_t seed = 0; seed < 200; ++seed) {
    Random random(seed);
    const size_t size = size_t{1} << seed % 14;
    const unsigned symbols = 1u << seed % 9;
    const Bytes input = seed % 5 == 0 ? Text(size, seed) : SmallAlphabet(size, symbols, seed);
    const zelLZ77Level level = kLevels[random() % 3];
    const Pairs pairs = SearchAll(EncoderRecord(level, zelLZ77CheckNone).get(), input);
    const zelLZ77HuffMode mode = SelectFresh(pairs);
    EXPECT_EQ(mode, Cheapest(CostsOf(pairs))) << seed;
    ++seen[mode];
  }
  for (size_t count : seen) EXPECT_GT(count, 5u);
}

TEST(SelectHuffMode, NoPairs) {
  EXPECT_EQ(SelectFresh({}), Cheapest(CostsOf({})));
  EXPECT_EQ(SelectFresh({}), zelLZ77HuffFixed);
}

TEST(SelectHuffMode, FixedComesBeforeStoredWhenBothTakeTheSame) {
  // A literal above 143 takes 9 bits: with 29 of them the two cost the same.
  Pairs pairs = Literals(200, 29);
  Costs costs = CostsOf(pairs);
  ASSERT_EQ(costs.stored, costs.fixed);
  ASSERT_GT(costs.dynamic, costs.fixed);
  EXPECT_EQ(SelectFresh(pairs), zelLZ77HuffFixed);
  pairs = Literals(200, 30);
  costs = CostsOf(pairs);
  ASSERT_EQ(costs.stored, costs.fixed - 1);
  ASSERT_GT(costs.dynamic, costs.stored);
  EXPECT_EQ(SelectFresh(pairs), zelLZ77HuffStored);
}

TEST(SelectHuffMode, DynamicComesFirstWhenItTakesTheSame) {
  int ties_with_fixed = 0, ties_with_stored = 0;
  for (uint64_t seed = 0; seed < 3000; ++seed) {
    Random random(seed);
    Pairs pairs;
    const size_t symbols = Uniform(random, 2, 40), count = Uniform(random, 10, 200);
    for (size_t i = 0; i < count; ++i) {
      pairs.push_back({static_cast<int>(240 - std::min(Uniform(random, 0, symbols), Uniform(random, 0, symbols))), 0});
    }
    const Costs costs = CostsOf(pairs);
    if (costs.dynamic == costs.fixed && costs.fixed <= costs.stored) {
      ++ties_with_fixed;
      EXPECT_EQ(SelectFresh(pairs), zelLZ77HuffDynamic);
    }
    if (costs.dynamic == costs.stored && costs.stored <= costs.fixed) {
      ++ties_with_stored;
      EXPECT_EQ(SelectFresh(pairs), zelLZ77HuffDynamic);
    }
  }
  EXPECT_GT(ties_with_fixed, 0);
  EXPECT_GT(ties_with_stored, 0);
}

TEST(SelectHuffMode, OneByteValueIsStoredOnlyWhenThatIsBelowBothOthers) {
  for (int byte : {0, 143, 144, 255}) {
    for (size_t count : {1, 2, 10, 28, 29, 30, 31, 50, 100, 1000}) {
      const Pairs pairs(count, {byte, 0});
      const Costs costs = CostsOf(pairs);
      EXPECT_EQ(costs.stored, static_cast<int64_t>(32 + 8 * count));
      EXPECT_EQ(SelectFresh(pairs), Cheapest(costs)) << byte << " " << count;
    }
  }
}

TEST(SelectHuffMode, ChoiceStandsUntilAWriterHasRun) {
  const Pairs stored_pairs = Literals(100, 156), fixed_pairs = {{'a', 0}, {258, 1}};
  ASSERT_EQ(SelectFresh(stored_pairs), zelLZ77HuffStored);
  ASSERT_EQ(SelectFresh(fixed_pairs), zelLZ77HuffFixed);
  for (int writer = 0; writer < 3; ++writer) {
    const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
    EXPECT_EQ(Select(record.get(), stored_pairs), zelLZ77HuffStored);
    EXPECT_EQ(Select(record.get(), fixed_pairs), zelLZ77HuffStored);
    StartBlock(record.get());
    EXPECT_EQ(Select(record.get(), fixed_pairs), zelLZ77HuffStored);
    switch (writer) {
      case 0:
        Write(zelsEncodeLZ77FixedHuff_8u, record.get(), fixed_pairs, 100);
        break;
      case 1:
        Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), fixed_pairs, 100);
        break;
      default:
        WriteStored(record.get(), {1}, 100);
        break;
    }
    EXPECT_EQ(Select(record.get(), fixed_pairs), zelLZ77HuffFixed);
  }
}

TEST(SelectHuffMode, PendingChoiceIsAnsweredWithoutALookAtThePairs) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  EXPECT_EQ(Select(record.get(), Literals(144, 100)), zelLZ77HuffStored);
  EXPECT_EQ(Select(record.get(), {{0, 65535}}), zelLZ77HuffStored);
}

TEST(SelectHuffMode, ChangesNothingInTheOutput) {
  const Bytes input = Text(20000, 3);
  const Pairs pairs = SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), input);
  for (HuffmanWriter writer : {zelsEncodeLZ77FixedHuff_8u, zelsEncodeLZ77DynamicHuff_8u}) {
    const EncoderRecord with(zelLZ77LevelNormal, zelLZ77CheckNone), without(zelLZ77LevelNormal, zelLZ77CheckNone);
    for (int block = 0; block < 3; ++block) {  // with bits of the block before held
      Select(with.get(), pairs);
      EXPECT_EQ(WriteWhole(writer, with.get(), pairs).bytes, WriteWhole(writer, without.get(), pairs).bytes);
    }
  }
}

// The code of a block is made for the pairs that the writer gets, whatever the choice was made for.
TEST(SelectHuffMode, WriterMayGetOtherPairsThanTheChoiceWasMadeFor) {
  const Pairs pairs = SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), Text(20000, 3));
  std::vector<Pairs> others = {pairs, {}, {{'x', 0}}, {{258, 32767}}};
  others.emplace_back(pairs.rbegin(), pairs.rend());
  others.emplace_back(pairs.begin(), pairs.end() - 1);
  others.emplace_back(pairs.begin(), pairs.begin() + 1000);
  for (size_t at : {size_t{0}, pairs.size() / 2, pairs.size() - 2, pairs.size() - 1}) {
    for (const Pair& other : Pairs{{'a', 0}, {0, 0}, {255, 0}, {3, 1}, {258, 32767}, {2, 1}, {259, 1}, {3, 40000}}) {
      others.push_back(pairs);
      others.back()[at] = other;
      others.push_back(pairs);
      others.back().insert(others.back().begin() + static_cast<ptrdiff_t>(at), other);
    }
  }
  for (size_t i = 0; i < others.size(); ++i) {
    const EncoderRecord with(zelLZ77LevelNormal, zelLZ77CheckNone), without(zelLZ77LevelNormal, zelLZ77CheckNone);
    Select(with.get(), pairs);
    StartBlock(with.get());
    StartBlock(without.get());
    const size_t room = 8 * others[i].size() + 1000;
    const Written a = Write(zelsEncodeLZ77DynamicHuff_8u, with.get(), others[i], room, zelLZ77FlushSync);
    const Written b = Write(zelsEncodeLZ77DynamicHuff_8u, without.get(), others[i], room, zelLZ77FlushSync);
    EXPECT_EQ(a.status, b.status) << i;
    EXPECT_EQ(a.bytes, b.bytes) << i;
    EXPECT_EQ(a.left, b.left) << i;
    EXPECT_EQ(WriteWhole(zelsEncodeLZ77DynamicHuff_8u, with.get(), pairs).bytes,
              WriteWhole(zelsEncodeLZ77DynamicHuff_8u, without.get(), pairs).bytes);
  }
}

TEST(SelectHuffMode, ChangesNothingInABlockThatIsSplitAnywhere) {
  const Pairs pairs = SearchAll(EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), Text(3000, 3));
  const size_t whole =
      WriteWhole(zelsEncodeLZ77DynamicHuff_8u, EncoderRecord(zelLZ77LevelNormal, zelLZ77CheckNone).get(), pairs)
          .bytes.size();
  for (size_t room = 1; room <= whole + 20; ++room) {
    const EncoderRecord with(zelLZ77LevelNormal, zelLZ77CheckNone), without(zelLZ77LevelNormal, zelLZ77CheckNone);
    Select(with.get(), pairs);
    StartBlock(with.get());
    StartBlock(without.get());
    Pairs rest = pairs;
    for (size_t now = room;; now = 4000) {
      const Written a = Write(zelsEncodeLZ77DynamicHuff_8u, with.get(), rest, now, zelLZ77FlushSync);
      const Written b = Write(zelsEncodeLZ77DynamicHuff_8u, without.get(), rest, now, zelLZ77FlushSync);
      ASSERT_EQ(a.status, b.status) << room;
      ASSERT_EQ(a.bytes, b.bytes) << room;
      ASSERT_EQ(a.left, b.left) << room;
      if (a.status != zelWarnDstFull) break;
      rest.erase(rest.begin(), rest.end() - static_cast<ptrdiff_t>(a.left));
    }
  }
}

TEST(SelectHuffMode, ChosenBlocksAreNeverLargerThanForcedOnes) {
  for (const NamedData& input : AllKinds(30000)) {
    EncodeOptions options;
    const size_t chosen = Encode(input.data, options).size();
    for (BlockKind kind : {BlockKind::kFixed, BlockKind::kDynamic}) {
      options.block = kind;
      // The costs leave out the end of the block and up to a byte of the tree description.
      EXPECT_LE(chosen, Encode(input.data, options).size() + 4) << input.name;
    }
  }
}
