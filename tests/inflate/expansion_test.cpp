// Pairs to bytes.

#include <limits.h>

#include "gtest/gtest.h"
#include "inflate/decode.h"
#include "support/data.h"

namespace zeldc_test {
namespace {

using Pairs = std::vector<zelLZ77Pair>;

// The plain definition.
Bytes Expanded(const Pairs& pairs, Bytes history = {}) {
  const size_t start = history.size();
  for (const zelLZ77Pair& pair : pairs) {
    if (pair.distance == 0) {
      history.push_back(static_cast<uint8_t>(pair.length));
    } else {
      for (int i = 0; i < pair.length; ++i) history.push_back(history.at(history.size() - pair.distance));
    }
  }
  return Bytes(history.begin() + static_cast<ptrdiff_t>(start), history.end());
}

// A record and the last call's outcome.
class Expansion {
 public:
  zelStatus Expand(const Pairs& pairs, size_t room, zelLZ77FlushMode flush = zelLZ77FlushNone) {
    const GuardedBuffer given(pairs.size() * sizeof(zelLZ77Pair));
    std::copy(pairs.begin(), pairs.end(), reinterpret_cast<zelLZ77Pair*>(given.data()));
    const GuardedBuffer output(room);
    zelLZ77Pair* next = reinterpret_cast<zelLZ77Pair*>(given.data());
    uint8_t* dst = output.data();
    int32_t count = static_cast<int32_t>(pairs.size());
    int32_t left = static_cast<int32_t>(room);
    const zelStatus status = zelsDecodeLZ77_8u(&next, &count, &dst, &left, flush, record.get());
    used = static_cast<size_t>(next - reinterpret_cast<zelLZ77Pair*>(given.data()));
    bytes = Bytes(output.data(), dst);
    EXPECT_EQ(used + static_cast<size_t>(count), pairs.size());
    EXPECT_EQ(bytes.size() + static_cast<size_t>(left), room);
    return status;
  }

  // Makes the expansion believe that the stream has ended.
  void EndStream() {
    const uint8_t stream[] = {3, 0};  // an empty final fixed block
    const uint8_t* source = stream;
    zelLZ77Pair pair;
    zelLZ77Pair* next = &pair;
    int32_t size = 2, room = 1;
    ASSERT_EQ(zelsDecodeLZ77FixedHuff_8u(&source, &size, &next, &room, 0, record.get()), zelWarnStreamEnd);
  }

  const DecoderRecord record;
  size_t used = 0;  // pairs
  Bytes bytes;
};

zelLZ77Pair Literal(int byte) { return {static_cast<uint16_t>(byte), 0}; }

zelLZ77Pair Match(int length, int distance) { return {static_cast<uint16_t>(length), static_cast<uint16_t>(distance)}; }

Pairs LiteralsOf(const Bytes& bytes) {
  Pairs pairs;
  for (const uint8_t byte : bytes) pairs.push_back(Literal(byte));
  return pairs;
}

TEST(InflateExpansion, LiteralCountsByItsLowByte) {
  Expansion e;
  EXPECT_EQ(e.Expand({{0x0041, 0}, {0x0142, 0}, {0xFF43, 0}}, 3), zelOk);
  EXPECT_EQ(e.bytes, ToBytes("ABC"));
}

TEST(InflateExpansion, MatchAtDistanceOneRepeatsAByte) {
  Expansion e;
  EXPECT_EQ(e.Expand({Literal('x'), Match(258, 1)}, 259), zelOk);
  EXPECT_EQ(e.bytes, Bytes(259, 'x'));
}

TEST(InflateExpansion, EveryLengthAtEveryShortDistance) {
  const Bytes start = RandomBytes(300, 1);
  for (int distance = 1; distance <= 300; ++distance) {
    Expansion e;
    Pairs pairs = LiteralsOf(start);
    for (int length = 3; length <= 258; ++length) {
      pairs.push_back(Match(length, distance));
      pairs.push_back(Literal(length));
    }
    const Bytes expected = Expanded(pairs);
    ASSERT_EQ(e.Expand(pairs, expected.size()), zelOk);
    ASSERT_TRUE(e.bytes == expected) << distance;
  }
}

TEST(InflateExpansion, MatchReadsFromTheHistoryThenFromThisCallsOutput) {
  for (int before = 1; before <= 40; ++before) {
    for (int distance = 1; distance <= before + 2; ++distance) {
      Expansion e;
      const Bytes history = RandomBytes(static_cast<size_t>(before), 2);
      ASSERT_EQ(e.Expand(LiteralsOf(history), history.size()), zelOk);
      const Pairs pairs = {Literal(1), Literal(2), Match(100, distance), Literal(3)};
      ASSERT_EQ(e.Expand(pairs, 103), zelOk);
      ASSERT_EQ(e.bytes, Expanded(pairs, history));
    }
  }
}

TEST(InflateExpansion, MatchWhollyInTheHistoryAtEveryDistance) {
  const Bytes history = RandomBytes(32768, 3);
  Expansion e;
  ASSERT_EQ(e.Expand(LiteralsOf(history), history.size()), zelOk);
  Bytes all = history;
  for (int distance = 32768; distance > 258; distance -= 97) {
    const Pairs pairs = {Match(258, distance)};
    ASSERT_EQ(e.Expand(pairs, 258), zelOk);
    ASSERT_EQ(e.bytes, Expanded(pairs, all)) << distance;
    all.insert(all.end(), e.bytes.begin(), e.bytes.end());
  }
}

TEST(InflateExpansion, HistoryIsTheLast32768BytesOfAllCalls) {
  // Calls of sizes around the history's, each followed by matches at its far and near end.
  Bytes all;
  Expansion e;
  for (const size_t size : {10, 100, 32600, 1, 32767, 32768, 32769, 3, 40000, 65535, 65536, 70000, 500}) {
    Pairs pairs = LiteralsOf(RandomBytes(size, size));
    const Bytes literals = Expanded(pairs);
    ASSERT_EQ(e.Expand(pairs, size), zelOk);
    all.insert(all.end(), literals.begin(), literals.end());
    pairs = {Match(200, static_cast<int>(std::min<size_t>(all.size(), 32768))), Match(3, 1)};
    ASSERT_EQ(e.Expand(pairs, 203), zelOk);
    ASSERT_EQ(e.bytes, Expanded(pairs, all)) << size;
    all.insert(all.end(), e.bytes.begin(), e.bytes.end());
  }
}

TEST(InflateExpansion, AfterFortyThousandBytesInOneCallTheHistoryHoldsTheLast32768) {
  const Bytes data = RandomBytes(40000, 4);
  Expansion e;
  ASSERT_EQ(e.Expand(LiteralsOf(data), 40000), zelOk);
  ASSERT_EQ(e.Expand({Match(258, 32768)}, 258), zelOk);
  EXPECT_EQ(e.bytes, Bytes(data.begin() + 7232, data.begin() + 7490));
}

TEST(InflateExpansion, RoomThatCutsAMatchLeavesTheRestForACallWithAPair) {
  Expansion e;
  ASSERT_EQ(e.Expand(LiteralsOf(ToBytes("ab")), 2), zelOk);
  EXPECT_EQ(e.Expand({Match(258, 2)}, 10), zelWarnDstFull);
  EXPECT_EQ(e.used, 1u);
  EXPECT_EQ(e.bytes, ToBytes("ababababab"));
  EXPECT_EQ(e.Expand({Literal('c')}, 500), zelOk);
  Bytes rest;
  for (int i = 0; i < 124; ++i) {
    rest.push_back('a');
    rest.push_back('b');
  }
  rest.push_back('c');
  EXPECT_EQ(e.bytes, rest);
}

TEST(InflateExpansion, ACallWithoutPairsLeavesAPendingMatchWaiting) {
  Expansion e;
  ASSERT_EQ(e.Expand({Literal('a'), Match(5, 1)}, 3), zelWarnDstFull);
  const Bytes before = e.record.Content();
  EXPECT_EQ(e.Expand({}, 100), zelOk);
  EXPECT_TRUE(e.bytes.empty());
  EXPECT_EQ(e.record.Content(), before);
  EXPECT_EQ(e.Expand({Literal('b')}, 100), zelOk);
  EXPECT_EQ(e.bytes, ToBytes("aaab"));
}

TEST(InflateExpansion, APendingMatchMayBeCutAgainAndAgain) {
  const Bytes history = RandomBytes(50, 5);
  const Pairs pairs = {Match(258, 50), Literal('x')};
  const Bytes expected = Expanded(pairs, history);
  for (size_t room = 1; room <= 60; ++room) {
    Expansion e;
    ASSERT_EQ(e.Expand(LiteralsOf(history), history.size()), zelOk);
    Bytes got;
    size_t next = 0;
    zelStatus status = zelWarnDstFull;
    while (status == zelWarnDstFull) {
      status = e.Expand(Pairs(pairs.begin() + static_cast<ptrdiff_t>(next), pairs.end()), room);
      next += e.used;
      got.insert(got.end(), e.bytes.begin(), e.bytes.end());
    }
    ASSERT_EQ(status, zelOk);
    ASSERT_EQ(got, expected) << room;
  }
}

TEST(InflateExpansion, RoomThatEndsBetweenPairsLeavesNothingPending) {
  Expansion e;
  EXPECT_EQ(e.Expand({Literal('a'), Match(4, 1), Literal('b')}, 5), zelWarnDstFull);
  EXPECT_EQ(e.used, 2u);
  EXPECT_EQ(e.bytes, ToBytes("aaaaa"));
  EXPECT_EQ(e.Expand({Literal('b')}, 1), zelOk);
  EXPECT_EQ(e.bytes, ToBytes("b"));
}

TEST(InflateExpansion, RoomThatIsExactlyEnoughIsOk) {
  Expansion e;
  EXPECT_EQ(e.Expand({Literal('a'), Match(4, 1)}, 5), zelOk);
  EXPECT_EQ(e.bytes.size(), 5u);
}

TEST(InflateExpansion, RoomForThePendingRestAloneTakesNoPair) {
  Expansion e;
  ASSERT_EQ(e.Expand({Literal('a'), Match(5, 1)}, 3), zelWarnDstFull);
  EXPECT_EQ(e.Expand({Literal('b')}, 3), zelWarnDstFull);
  EXPECT_EQ(e.used, 0u);
  EXPECT_EQ(e.bytes, ToBytes("aaa"));
  EXPECT_EQ(e.Expand({Literal('b')}, 3), zelOk);
  EXPECT_EQ(e.bytes, ToBytes("b"));
}

TEST(InflateExpansion, APendingMatchReachesAcrossALongHistory) {
  const Bytes history = RandomBytes(32768, 6);
  Expansion e;
  ASSERT_EQ(e.Expand(LiteralsOf(history), history.size()), zelOk);
  const Pairs pairs = {Match(258, 32768), Match(258, 32768)};
  const Bytes expected = Expanded(pairs, history);
  ASSERT_EQ(e.Expand(pairs, 300), zelWarnDstFull);
  Bytes got = e.bytes;
  ASSERT_EQ(e.Expand({Literal(9)}, 300), zelOk);
  got.insert(got.end(), e.bytes.begin(), e.bytes.end() - 1);
  EXPECT_EQ(got, expected);
}

TEST(InflateExpansion, FlushIsIgnored) {
  for (const zelLZ77FlushMode flush : {1, 2, 3, -1, INT_MAX}) {
    Expansion e;
    EXPECT_EQ(e.Expand({Literal('a'), Match(4, 1)}, 5, flush), zelOk);
    EXPECT_EQ(e.bytes, ToBytes("aaaaa"));
  }
}

TEST(InflateExpansion, AMatchBeforeTheHistoryIsBadData) {
  Expansion e;
  EXPECT_EQ(e.Expand({Match(3, 1)}, 10), zelErrBadData);
  EXPECT_EQ(e.used, 0u);
  EXPECT_TRUE(e.bytes.empty());
}

TEST(InflateExpansion, WhatPrecedesABadMatchIsWritten) {
  Expansion e;
  EXPECT_EQ(e.Expand({Literal('a'), Match(3, 1), Match(3, 5), Literal('b')}, 100), zelErrBadData);
  EXPECT_EQ(e.used, 2u);
  EXPECT_EQ(e.bytes, ToBytes("aaaa"));
}

TEST(InflateExpansion, ABadMatchIsFoundBeforeAnyOfItsBytes) {
  // Its first bytes would be missing, its last ones not.
  Expansion e;
  ASSERT_EQ(e.Expand(LiteralsOf(ToBytes("abc")), 3), zelOk);
  EXPECT_EQ(e.Expand({Match(258, 4)}, 300), zelErrBadData);
  EXPECT_TRUE(e.bytes.empty());
}

TEST(InflateExpansion, ABadMatchIsFoundWhateverTheRoom) {
  for (const size_t room : {1, 2, 3, 258}) {
    Expansion e;
    EXPECT_EQ(e.Expand({Match(258, 1)}, room), zelErrBadData);
  }
}

TEST(InflateExpansion, TheHistoryOfEarlierCallsCounts) {
  for (int before = 1; before <= 20; ++before) {
    Expansion e;
    for (int i = 0; i < before; ++i) ASSERT_EQ(e.Expand({Literal(i)}, 1), zelOk);
    ASSERT_EQ(e.Expand({Literal(99), Match(3, before + 1)}, 4), zelOk);
    ASSERT_EQ(e.Expand({Match(3, before + 5)}, 3), zelErrBadData);
  }
}

TEST(InflateExpansion, DistancesBeyond32768AreBadDataHoweverMuchThereIs) {
  // Distances up to 65535 can be asked for; only the last 32768 bytes are history.
  for (const int distance : {32769, 40000, 65535}) {
    Expansion e;
    ASSERT_EQ(e.Expand(LiteralsOf(RandomBytes(32768, 7)), 32768), zelOk);
    EXPECT_EQ(e.Expand({Match(3, distance)}, 3), zelErrBadData) << distance;
  }
}

TEST(InflateExpansion, MatchesOfAnyLengthAreExpanded) {
  // The decoders give 3 to 258; the expansion takes what a caller makes.
  Expansion e;
  const Pairs pairs = {Literal('a'), Literal('b'), Match(1, 2), Match(2, 1), Match(259, 2), Match(65535, 3)};
  const Bytes expected = Expanded(pairs);
  EXPECT_EQ(e.Expand(pairs, expected.size()), zelOk);
  EXPECT_TRUE(e.bytes == expected);
}

TEST(InflateExpansion, AMatchOfLengthZeroIsNothing) {
  Expansion e;
  EXPECT_EQ(e.Expand({Literal('a'), Match(0, 1), Literal('b')}, 10), zelOk);
  EXPECT_EQ(e.bytes, ToBytes("ab"));
}

TEST(InflateExpansion, StreamsEndIsToldOnceAllPairsAreUsed) {
  Expansion e;
  ASSERT_EQ(e.Expand({Literal('a')}, 1), zelOk);
  e.EndStream();
  EXPECT_EQ(e.Expand({Match(5, 1), Literal('b')}, 5), zelWarnDstFull);
  EXPECT_EQ(e.used, 1u);
  EXPECT_EQ(e.Expand({Literal('b')}, 5), zelWarnStreamEnd);
  EXPECT_EQ(e.bytes, ToBytes("b"));
}

TEST(InflateExpansion, WithoutPairsTheStreamsEndIsNotTold) {
  Expansion e;
  e.EndStream();
  EXPECT_EQ(e.Expand({}, 5), zelOk);
}

TEST(InflateExpansion, StreamsEndClearsAPendingMatch) {
  Expansion e;
  ASSERT_EQ(e.Expand({Literal('a'), Match(10, 1)}, 4), zelWarnDstFull);
  e.EndStream();
  ASSERT_EQ(e.Expand({Literal('b')}, 100), zelWarnStreamEnd);
  EXPECT_EQ(e.bytes, ToBytes("aaaaaaab"));
  ASSERT_EQ(e.Expand({Literal('c')}, 100), zelWarnStreamEnd);
  EXPECT_EQ(e.bytes, ToBytes("c"));
}

TEST(InflateExpansion, UsesACallersPairsArrayLikeAnyOther) {
  Expansion e;
  zelLZ77Pair callers[2] = {Literal('a'), Match(3, 1)};
  ASSERT_EQ(zelsDecodeLZ77SetPairs_8u(callers, 0, 2, e.record.get()), zelOk);
  zelLZ77Pair* pairs = nullptr;
  int32_t position = -1, count = -1;
  ASSERT_EQ(zelsDecodeLZ77GetPairs_8u(&pairs, &position, &count, e.record.get()), zelOk);
  ASSERT_EQ(pairs, callers);
  uint8_t output[4];
  uint8_t* dst = output;
  int32_t room = 4;
  EXPECT_EQ(zelsDecodeLZ77_8u(&pairs, &count, &dst, &room, 0, e.record.get()), zelOk);
  EXPECT_EQ(Bytes(output, output + 4), ToBytes("aaaa"));
}

TEST(InflateExpansion, AnySplitOfPairsAndRoomGivesTheSameBytes) {
  Random random(8);
  Pairs pairs;
  size_t made = 0;
  for (int i = 0; i < 20000; ++i) {
    if (made < 40 || random() % 3 == 0) {
      pairs.push_back(Literal(static_cast<int>(random() % 256)));
      made += 1;
    } else {
      const size_t length = Uniform(random, 3, random() % 8 ? 20 : 258);
      const size_t farthest = std::min<size_t>(made, 32768);
      const size_t distance =
          random() % 2 ? Uniform(random, 1, farthest) : Uniform(random, 1, std::min<size_t>(farthest, 40));
      pairs.push_back(Match(static_cast<int>(length), static_cast<int>(distance)));
      made += length;
    }
  }
  pairs.push_back(Literal('!'));
  const Bytes expected = Expanded(pairs);
  for (int round = 0; round < 6; ++round) {
    Expansion e;
    Bytes got;
    for (size_t next = 0; next < pairs.size();) {
      const size_t count = Uniform(random, 1, round % 2 ? 10 : 4000);
      const size_t end = std::min(pairs.size(), next + count);
      const Pairs part(pairs.begin() + static_cast<ptrdiff_t>(next), pairs.begin() + static_cast<ptrdiff_t>(end));
      const zelStatus status = e.Expand(part, Uniform(random, 1, round < 3 ? 300 : 70000));
      ASSERT_TRUE(status == zelOk || status == zelWarnDstFull);
      next += e.used;
      got.insert(got.end(), e.bytes.begin(), e.bytes.end());
    }
    ASSERT_TRUE(got == expected) << round;
  }
}

TEST(InflateExpansion, AMatchLeftBehindThatReachesFurtherThanAWindowIsBadOnEitherPath) {
  Pairs pairs(50000, Literal('x'));
  pairs.push_back(Match(100, 40000));
  for (const bool by_bytes : {false, true}) {
    Expansion e;
    ASSERT_EQ(e.Expand(pairs, 50040), zelWarnDstFull);
    if (!by_bytes) {
      EXPECT_EQ(e.Expand({Literal('y')}, 100), zelErrBadData);
      continue;
    }
    const uint8_t stream[] = {3, 0};
    const uint8_t* source = stream;
    uint8_t output[100];
    uint8_t* dst = output;
    int32_t size = 2, room = 100;
    EXPECT_EQ(zelsDecodeLZ77FixedHuffFull_8u(&source, &size, &dst, &room, 0, e.record.get()), zelErrSize);
    EXPECT_EQ(dst, output);
  }
}

}  // namespace
}  // namespace zeldc_test
