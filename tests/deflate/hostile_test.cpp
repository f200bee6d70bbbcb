// Arguments that no caller should give: nothing outside the buffers and the record is touched, and every answer is one
// that the contract lists. All buffers end at guard pages.

#include <algorithm>
#include <set>
#include <vector>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

// A pair of one of many kinds: valid, nearly valid, or anything.
Pair AnyPair(Random& random) {
  switch (random() % 6) {
    case 0:
      return {static_cast<int>(random() % 256), 0};
    case 1:
      return {static_cast<int>(random() % 65536), 0};
    case 2:
      return {static_cast<int>(Uniform(random, 3, 258)), static_cast<int>(Uniform(random, 1, 32768))};
    case 3:
      return {static_cast<int>(Uniform(random, 0, 5)), static_cast<int>(Uniform(random, 0, 3))};
    case 4:
      return {static_cast<int>(Uniform(random, 255, 261)), static_cast<int>(Uniform(random, 32765, 32771))};
    default:
      return {static_cast<int>(random() % 65536), static_cast<int>(random() % 65536)};
  }
}

bool IsValid(const Pair& pair) {
  return pair.second == 0 || (pair.first >= 3 && pair.first <= 258 && pair.second <= 32768);
}

Pairs AnyPairs(Random& random, bool only_valid) {
  Pairs pairs;
  for (size_t i = Uniform(random, 0, 300); i > 0; --i) {
    Pair pair = AnyPair(random);
    while (only_valid && !IsValid(pair)) pair = AnyPair(random);
    pairs.push_back(pair);
  }
  return pairs;
}

Pairs AsDecoded(Pairs pairs) {
  for (Pair& pair : pairs) {
    if (pair.second == 0) pair.first &= 0xFF;
  }
  return pairs;
}

}  // namespace

TEST(HostilePairs, AreRefusedOrWritten) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Random random(1);
  for (int round = 0; round < 3000; ++round) {
    const Pairs pairs = AnyPairs(random, round % 2 == 0);
    const bool all_valid = std::all_of(pairs.begin(), pairs.end(), IsValid);
    for (HuffmanWriter writer : {zelsEncodeLZ77FixedHuff_8u, zelsEncodeLZ77DynamicHuff_8u}) {
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
      const Written written = WriteWhole(writer, record.get(), pairs, zelLZ77FlushSync);
      ASSERT_EQ(written.status, all_valid ? zelOk : zelErrSize);
      if (all_valid) {
        ASSERT_EQ(ParseBlocks(written.bytes, 0, true).at(0).pairs, AsDecoded(pairs));
      }
    }
    const auto records = ToRecords(pairs);
    zelLZ77HuffMode mode = -1;
    const zelLZ77Pair none{};
    ASSERT_EQ(zelsEncodeLZ77SelectHuffMode_8u(records.empty() ? &none : records.data(),
                                              static_cast<int32_t>(records.size()), &mode, record.get()),
              all_valid ? zelOk : zelErrSize);
    EXPECT_EQ(mode >= 0, all_valid);
  }
}

TEST(HostilePairs, FixedWriterStopsAtTheFirstThatIsNone) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Written written = WriteWhole(zelsEncodeLZ77FixedHuff_8u, record.get(), {{'a', 0}, {2, 1}, {'b', 0}});
  EXPECT_EQ(written.status, zelErrSize);
  EXPECT_GE(written.left, 2u);
}

// Any call in any order with any arguments.
TEST(HostileCalls, InAnyOrder) {
  const std::set<zelStatus> writer_answers = {zelOk, zelWarnDstFull, zelWarnStreamEnd, zelErr, zelErrSize};
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const EncoderRecord record(static_cast<zelLZ77Level>(random() % 4), static_cast<zelLZ77ChecksumKind>(random() % 4));
    zelLZ77State* const s = record.get();
    for (int call = 0; call < 400; ++call) {
      const auto flush = static_cast<zelLZ77FlushMode>(Uniform(random, 0, 5)) - 1;
      const size_t room = Uniform(random, 0, random() % 2 == 0 ? 8 : 2000);
      const Bytes bytes = Mixed(Uniform(random, 0, random() % 10 == 0 ? 70000 : 500), random());
      switch (random() % 10) {
        case 0:
        case 1:
        case 2: {
          const Searched found = Search(s, bytes, flush, room);
          ASSERT_EQ(found.status, found.consumed < bytes.size() || room == 0 ? zelWarnDstFull : zelOk);
          break;
        }
        case 3:
          ASSERT_TRUE(writer_answers.count(
              Write(zelsEncodeLZ77FixedHuff_8u, s, AnyPairs(random, random() % 4 != 0), room, flush).status));
          break;
        case 4:
          ASSERT_TRUE(writer_answers.count(
              Write(zelsEncodeLZ77DynamicHuff_8u, s, AnyPairs(random, random() % 4 != 0), room, flush).status));
          break;
        case 5: {
          const zelStatus status = WriteStored(s, bytes, room, flush).status;
          ASSERT_TRUE(status == zelOk || status == zelWarnDstFull || status == zelWarnStreamEnd);
          break;
        }
        case 6: {
          const zelStatus status = WriteTrailer(s, Uniform(random, 0, 12)).status;
          ASSERT_TRUE(status == zelOk || status == zelWarnDstFull || status == zelErr);
          break;
        }
        case 7: {
          const auto records = ToRecords(AnyPairs(random, random() % 4 != 0));
          const zelLZ77Pair none{};
          zelLZ77HuffMode mode = -1;
          const zelStatus status = zelsEncodeLZ77SelectHuffMode_8u(records.empty() ? &none : records.data(),
                                                                   static_cast<int32_t>(records.size()), &mode, s);
          ASSERT_TRUE(status == zelErrSize || (status == zelOk && mode >= 0 && mode <= 2));
          break;
        }
        case 8:
          ASSERT_EQ(zelsEncodeLZ77SetStatus_8u(static_cast<zelLZ77DeflateStatus>(random() % 5), s), zelOk);
          break;
        default:
          if (random() % 4 == 0) {
            ASSERT_EQ(zelsEncodeLZ77Reset_8u(s), zelOk);
          } else {
            const GuardedBuffer dictionary(bytes);
            const zelStatus status =
                zelsEncodeLZ77SetDictionary_8u(dictionary.data(), static_cast<int32_t>(bytes.size()), s);
            ASSERT_TRUE(status == zelOk || status == zelErr);
          }
          break;
      }
    }
    // Init makes good everything that has happened.
    ASSERT_EQ(zelsEncodeLZ77Init_8u(zelLZ77LevelBest, zelLZ77CheckNone, s), zelOk);
    const Bytes input = Mixed(20000, seed);
    ASSERT_TRUE(DecodesTo(EncodeWith(s, input), input));
  }
}

// The fixed writer with distant matches takes the most room for a pair: no buffer inside may be too small for it.
TEST(HostileCalls, LargestPairsThroughEveryRoom) {
  const Pairs pairs(300, {257, 32768});
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  for (HuffmanWriter writer : {zelsEncodeLZ77FixedHuff_8u, zelsEncodeLZ77DynamicHuff_8u}) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    const Bytes whole = WriteWhole(writer, record.get(), pairs, zelLZ77FlushSync).bytes;
    for (size_t room = 1; room <= 40; ++room) {
      EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
      StartBlock(record.get());
      Bytes got;
      size_t left = pairs.size();
      zelStatus status = zelWarnDstFull;
      while (status == zelWarnDstFull && got.size() < 10000) {
        const Pairs rest(pairs.end() - static_cast<ptrdiff_t>(left), pairs.end());
        const Written part = Write(writer, record.get(), rest, room, zelLZ77FlushSync);
        got.insert(got.end(), part.bytes.begin(), part.bytes.end());
        left = part.left;
        status = part.status;
      }
      EXPECT_EQ(got, whole) << room;
    }
  }
}

// The longest dynamic code for literals, length and distance together, with all extra bits.
TEST(HostileCalls, LongestCodesThroughEveryRoom) {
  Pairs pairs;
  int count = 1;
  for (int symbol = 0; symbol < 17; ++symbol, count *= 2) {
    pairs.insert(pairs.end(), static_cast<size_t>(count), {symbol, 0});
    // Distances 2^k + 1: one for each distance symbol, the last one rarest.
    if (symbol < 15) pairs.insert(pairs.end(), static_cast<size_t>(count), {3, (16384 >> symbol) + 1});
  }
  for (int i = 0; i < 10; ++i) pairs.push_back({257, 32768});
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Bytes whole = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, zelLZ77FlushSync).bytes;
  EXPECT_EQ(ParseBlocks(whole, 0, true).at(0).pairs, pairs);
  std::reverse(pairs.begin(), pairs.end());
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
  const Bytes reversed = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, zelLZ77FlushSync).bytes;
  EXPECT_EQ(ParseBlocks(reversed, 0, true).at(0).pairs, pairs);
  for (size_t cut = 1; cut < 200; ++cut) {
    EXPECT_EQ(zelsEncodeLZ77Reset_8u(record.get()), zelOk);
    StartBlock(record.get());
    const Written first = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), pairs, cut, zelLZ77FlushSync);
    const Pairs rest(pairs.end() - static_cast<ptrdiff_t>(first.left), pairs.end());
    const Written second = Write(zelsEncodeLZ77DynamicHuff_8u, record.get(), rest, 1 << 20, zelLZ77FlushSync);
    Bytes both = first.bytes;
    both.insert(both.end(), second.bytes.begin(), second.bytes.end());
    ASSERT_EQ(both, reversed) << cut;
  }
}
