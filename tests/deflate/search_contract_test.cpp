// zelsEncodeLZ77_8u: statuses in their order, and the rules that its pairs obey.

#include <algorithm>
#include <set>
#include <tuple>

#include "deflate/calls.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

// A call's arguments, so that a test can spoil one of them and look at all afterwards.
struct Arguments {
  uint8_t source[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  zelLZ77Pair pairs[8] = {};
  uint8_t* src = source;
  int32_t src_len = 8;
  zelLZ77Pair* next = pairs;
  int32_t pairs_len = 8;

  auto Values() const { return std::tuple(src, src_len, next, pairs_len, pairs[0].length); }
};

// Random bytes in which no three in a row stand twice, nor any of `avoid`.
Bytes NoRepeats(size_t size, uint64_t seed, const Bytes& avoid) {
  Random random(seed);
  std::set<uint32_t> seen;
  auto triple = [](const Bytes& bytes, size_t end) {
    return uint32_t{bytes[end - 3]} << 16 | uint32_t{bytes[end - 2]} << 8 | bytes[end - 1];
  };
  for (size_t end = 3; end <= avoid.size(); ++end) seen.insert(triple(avoid, end));
  Bytes out;
  while (out.size() < size) {
    const uint8_t byte = static_cast<uint8_t>(random());
    if (std::find(avoid.begin(), avoid.end(), byte) != avoid.end()) continue;
    out.push_back(byte);
    if (out.size() >= 3 && !seen.insert(triple(out, out.size())).second) out.pop_back();
  }
  return out;
}

// `word`, other bytes, and `word` again `distance` bytes on, with some more behind: no other repeats.
Bytes WordTwice(const Bytes& word, size_t distance, uint64_t seed) {
  Bytes input = word;
  const Bytes filler = NoRepeats(distance - word.size() + 20, seed, word);
  const auto middle = filler.begin() + static_cast<ptrdiff_t>(distance - word.size());
  input.insert(input.end(), filler.begin(), middle);
  input.insert(input.end(), word.begin(), word.end());
  input.insert(input.end(), middle, filler.end());
  return input;
}

size_t MatchesAmong(const Pairs& pairs) {
  return static_cast<size_t>(std::count_if(pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.second; }));
}

Pairs PairsOf(zelLZ77Level level, const Bytes& input) {
  return Search(EncoderRecord(level, zelLZ77CheckNone).get(), input, zelLZ77FlushNone, input.size() + 1).pairs;
}

Pairs Literals(const Bytes& input) {
  Pairs pairs;
  for (uint8_t byte : input) pairs.push_back({byte, 0});
  return pairs;
}

// Whether the next dynamic block would be the stream's last, which tells the flush mode and the remaining input that
// the record remembers.
bool NextBlockIsLast(zelLZ77State* record) {
  // The marker ends the block at a byte, so that the next one starts at the first bit.
  const Bytes bytes = WriteWhole(zelsEncodeLZ77DynamicHuff_8u, record, {}, zelLZ77FlushSync).bytes;
  return (bytes.at(0) & 1) != 0;
}

}  // namespace

TEST(SearchStatus, NullPointersChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Arguments a;
  const auto before = a.Values();
  zelLZ77State* const s = record.get();
  for (int32_t src_len : {8, -1}) {  // pointers come before counts
    for (int32_t pairs_len : {8, 0, -1}) {
      a.src_len = src_len;
      a.pairs_len = pairs_len;
      EXPECT_EQ(zelsEncodeLZ77_8u(nullptr, &a.src_len, &a.next, &a.pairs_len, 3, s), zelErrNullPtr);
      EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, nullptr, &a.next, &a.pairs_len, 3, s), zelErrNullPtr);
      EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, nullptr, &a.pairs_len, 3, s), zelErrNullPtr);
      EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, nullptr, 3, s), zelErrNullPtr);
      EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, &a.pairs_len, 3, nullptr), zelErrNullPtr);
      a.next = nullptr;
      EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, &a.pairs_len, 3, s), zelErrNullPtr);
      a.next = a.pairs;
    }
  }
  a.src_len = 8;
  a.pairs_len = 8;
  EXPECT_EQ(a.Values(), before);
  EXPECT_FALSE(NextBlockIsLast(s));
}

TEST(SearchStatus, NullSourceWithBytesToRead) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Arguments a;
  a.src = nullptr;
  const auto before = a.Values();
  EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, &a.pairs_len, 0, record.get()), zelErrNullPtr);
  EXPECT_EQ(a.Values(), before);
}

TEST(SearchStatus, NullSourceWithoutBytes) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Arguments a;
  a.src = nullptr;
  a.src_len = 0;
  EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, &a.pairs_len, 0, record.get()), zelOk);
  EXPECT_EQ(a.next, a.pairs);
}

TEST(SearchStatus, NegativeCountsChangeNothing) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  for (const auto& [src_len, pairs_len] : {std::pair(-1, 8), {8, -1}, {-1, 0}, {0, -1}, {INT32_MIN, INT32_MIN}}) {
    Arguments a;
    a.src_len = src_len;
    a.pairs_len = pairs_len;
    const auto before = a.Values();
    EXPECT_EQ(zelsEncodeLZ77_8u(&a.src, &a.src_len, &a.next, &a.pairs_len, zelLZ77FlushFinal, record.get()),
              zelErrSize);
    EXPECT_EQ(a.Values(), before);
  }
  EXPECT_FALSE(NextBlockIsLast(record.get()));
}

TEST(SearchStatus, NoRoomForPairsEvenWithoutInput) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  for (size_t size : {0, 1, 100}) {
    const Searched found = Search(record.get(), Bytes(size, 7), zelLZ77FlushNone, 0);
    EXPECT_EQ(found.status, zelWarnDstFull);
    EXPECT_EQ(found.consumed, 0u);
  }
}

TEST(SearchStatus, NoRoomForPairsStillRemembersFlushAndInput) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  Search(record.get(), {}, zelLZ77FlushFinal, 0);
  EXPECT_TRUE(NextBlockIsLast(record.get()));
  Search(record.get(), {1, 2, 3}, zelLZ77FlushFinal, 0);
  EXPECT_FALSE(NextBlockIsLast(record.get()));  // input remains
  Search(record.get(), {}, zelLZ77FlushNone, 0);
  EXPECT_FALSE(NextBlockIsLast(record.get()));
}

TEST(SearchStatus, NoInputIsOk) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Searched found = Search(record.get(), {}, zelLZ77FlushFinal);
  EXPECT_EQ(found.status, zelOk);
  EXPECT_EQ(found.pairs, Pairs());
  EXPECT_TRUE(NextBlockIsLast(record.get()));
}

TEST(SearchStatus, FullPairsArray) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    const Bytes input = ToBytes("abcdefghij");
    Searched found = Search(record.get(), input, zelLZ77FlushFinal, 4);
    EXPECT_EQ(found.status, zelWarnDstFull);
    EXPECT_EQ(found.consumed, 4u);
    EXPECT_EQ(found.pairs, Literals(ToBytes("abcd")));
    EXPECT_FALSE(NextBlockIsLast(record.get()));
    found = Search(record.get(), ToBytes("efghij"), zelLZ77FlushFinal, 6);
    EXPECT_EQ(found.status, zelOk);
    EXPECT_EQ(found.pairs, Literals(ToBytes("efghij")));
    EXPECT_TRUE(NextBlockIsLast(record.get()));
  }
}

TEST(SearchStatus, ArrayThatFillsWithTheLastByteIsOk) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  EXPECT_EQ(Search(record.get(), ToBytes("abc"), zelLZ77FlushNone, 3).status, zelOk);
}

TEST(SearchStatus, ArrayThatFillsAmongTheLastBytes) {
  for (zelLZ77Level level : kLevels) {
    for (size_t room : {1, 2}) {
      const EncoderRecord record(level, zelLZ77CheckNone);
      const Searched found = Search(record.get(), ToBytes("xyz"), zelLZ77FlushNone, room);
      EXPECT_EQ(found.status, zelWarnDstFull);
      EXPECT_EQ(found.consumed, room);
    }
  }
}

TEST(SearchStatus, RecordsOwnPositionAndCountAreNotTouched) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  zelLZ77Pair callers[5];
  EXPECT_EQ(zelsEncodeLZ77SetPairs_8u(callers, 2, 5, record.get()), zelOk);
  Search(record.get(), Text(1000, 1));
  zelLZ77Pair* pairs = nullptr;
  int32_t position = 0, length = 0;
  EXPECT_EQ(zelsEncodeLZ77GetPairs_8u(&pairs, &position, &length, record.get()), zelOk);
  EXPECT_EQ(std::tuple(pairs, position, length), std::tuple(callers, 2, 5));
}

TEST(SearchChoice, IsDroppedOnlyByACallThatSearches) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const zelLZ77Pair stored_pair = {200, 0};
  const auto fixed_pairs = ToRecords({{1, 0}, {258, 1}});
  auto choose = [&](const zelLZ77Pair* pairs, int32_t count) {
    zelLZ77HuffMode mode = -1;
    EXPECT_EQ(zelsEncodeLZ77SelectHuffMode_8u(pairs, count, &mode, record.get()), zelOk);
    return mode;
  };
  const zelLZ77HuffMode first = choose(fixed_pairs.data(), 2);
  Search(record.get(), {1, 2, 3}, zelLZ77FlushNone, 0);
  EXPECT_EQ(choose(&stored_pair, 1), first);
  Search(record.get(), {});
  EXPECT_EQ(choose(&stored_pair, 1), first);
  Search(record.get(), {1, 2, 3});
  std::vector<zelLZ77Pair> many(1000);
  for (size_t i = 0; i < many.size(); ++i) many[i] = {static_cast<uint16_t>(i % 256), 0};
  EXPECT_EQ(first, zelLZ77HuffFixed);
  EXPECT_EQ(choose(many.data(), 1000), zelLZ77HuffStored);
}

TEST(SearchRules, OneAndTwoBytesAreLiterals) {
  for (zelLZ77Level level : kLevels) {
    for (size_t size : {1, 2}) {
      const EncoderRecord record(level, zelLZ77CheckNone);
      Search(record.get(), Bytes(1000, 'x'));
      EXPECT_EQ(Search(record.get(), Bytes(size, 'x')).pairs, Literals(Bytes(size, 'x')));
    }
  }
}

TEST(SearchRules, BestLevelEndsEachCallWithThreeLiterals) {
  const EncoderRecord record(zelLZ77LevelBest, zelLZ77CheckNone);
  Search(record.get(), Bytes(1000, 'x'));
  EXPECT_EQ(Search(record.get(), Bytes(3, 'x')).pairs, Literals(Bytes(3, 'x')));
  const Pairs pairs = Search(record.get(), Bytes(6, 'x')).pairs;
  ASSERT_EQ(pairs.size(), 4u);
  EXPECT_EQ(pairs[0].first, 3);
  EXPECT_NE(pairs[0].second, 0);
  EXPECT_EQ(Pairs(pairs.begin() + 1, pairs.end()), Literals(Bytes(3, 'x')));
}

TEST(SearchRules, TenEqualBytes) {
  const Bytes input(10, 'x');
  EXPECT_EQ(PairsOf(zelLZ77LevelFast, input), (Pairs{{'x', 0}, {7, 1}, {'x', 0}, {'x', 0}}));
  EXPECT_EQ(PairsOf(zelLZ77LevelNormal, input), (Pairs{{'x', 0}, {7, 1}, {'x', 0}, {'x', 0}}));
  EXPECT_EQ(PairsOf(zelLZ77LevelBest, input), (Pairs{{'x', 0}, {6, 1}, {'x', 0}, {'x', 0}, {'x', 0}}));
}

TEST(SearchRules, LongRunsGiveMatchesOf258AtDistance1) {
  for (zelLZ77Level level : kLevels) {
    const Pairs pairs = PairsOf(level, Bytes(1 + 3 * 258 + 100, 'x'));
    ASSERT_GE(pairs.size(), 4u);
    EXPECT_EQ(pairs[0], Pair('x', 0));
    for (size_t i = 1; i <= 3; ++i) EXPECT_EQ(pairs[i], Pair(258, 1));
  }
}

TEST(SearchRules, Distance32767IsTheLargest) {
  const Bytes word = ToBytes("abcdefgh");
  for (zelLZ77Level level : kLevels) {
    for (size_t distance : {32766, 32767}) {
      const Bytes input = WordTwice(word, distance, 1);
      const Pairs pairs = PairsOf(level, input);
      EXPECT_EQ(MatchesAmong(pairs), 1u);
      EXPECT_EQ(std::count(pairs.begin(), pairs.end(), Pair(8, static_cast<int>(distance))), 1) << distance;
    }
    for (size_t distance : {32768, 32769, 40000, 65536, 65537, 70000}) {
      const Bytes input = WordTwice(word, distance, 2);
      EXPECT_EQ(PairsOf(level, input), Literals(input)) << distance;
    }
  }
}

TEST(SearchRules, Distance32768IsNoMatchIntoADictionaryEither) {
  const Bytes both = WordTwice(ToBytes("abcdefgh"), 32768, 3);
  const Bytes dictionary(both.begin(), both.begin() + 32768), input(both.begin() + 32768, both.end());
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    const GuardedBuffer buffer(dictionary);
    EXPECT_EQ(zelsEncodeLZ77SetDictionary_8u(buffer.data(), 32768, record.get()), zelOk);
    // From the second byte on the word stands 32768 bytes back, too.
    EXPECT_EQ(Search(record.get(), input).pairs, Literals(input));
  }
}

TEST(SearchRules, BestLevelTakesMatchesOf3OnlyUpTo4096) {
  const Bytes word = ToBytes("abc");
  for (int distance : {4000, 4096}) {
    const Pairs pairs = PairsOf(zelLZ77LevelBest, WordTwice(word, static_cast<size_t>(distance), 4));
    EXPECT_EQ(std::count(pairs.begin(), pairs.end(), Pair(3, distance)), 1) << distance;
  }
  for (size_t distance : {4097, 5000}) {
    const Bytes input = WordTwice(word, distance, 5);
    EXPECT_EQ(PairsOf(zelLZ77LevelBest, input), Literals(input)) << distance;
    EXPECT_EQ(MatchesAmong(PairsOf(zelLZ77LevelNormal, input)), 1u) << distance;
  }
}

TEST(SearchRules, BestLevelPrefersALongerMatchOneByteOn) {
  // At the second "abc" the match is 3 long, at the byte behind it 5.
  const Bytes input = ToBytes("abc.bcdef,abcdef;;;;");
  EXPECT_EQ(PairsOf(zelLZ77LevelNormal, input)[10], Pair(3, 10));
  EXPECT_EQ(PairsOf(zelLZ77LevelBest, input)[10], Pair('a', 0));
  EXPECT_EQ(PairsOf(zelLZ77LevelBest, input)[11], Pair(5, 7));
}

TEST(SearchRules, NearestOfEqualMatchesWins) {
  const Bytes input = ToBytes("abcdX1abcdY2abcdZ3abcdW456");
  for (zelLZ77Level level : kLevels) {
    for (const auto& [length, distance] : PairsOf(level, input)) {
      EXPECT_TRUE(distance == 0 || distance == 6) << length << ", " << distance;
    }
    EXPECT_EQ(MatchesAmong(PairsOf(level, input)), 3u);
  }
}

TEST(SearchRules, CandidatesAreLimitedTo16And512) {
  // "abcdefgh" once, then "abcX" n times: the long match is the n+1st candidate.
  for (const auto& [level, limit] : {std::pair(zelLZ77LevelNormal, 16), {zelLZ77LevelBest, 512}}) {
    for (int n : {limit - 1, limit}) {
      Bytes input = ToBytes("abcdefgh");
      for (int i = 0; i < n; ++i) {
        for (int byte : {0x61, 0x62, 0x63, 0x80 + i % 64, 0xC0 + i / 64}) input.push_back(static_cast<uint8_t>(byte));
      }
      input.push_back('!');
      const Bytes tail = ToBytes("abcdefgh1234");
      const size_t at = input.size();
      input.insert(input.end(), tail.begin(), tail.end());
      const Pairs pairs = PairsOf(level, input);
      const bool found = std::count(pairs.begin(), pairs.end(), Pair(8, static_cast<int>(at))) == 1;
      EXPECT_EQ(found, n < limit) << n;
      EXPECT_EQ(Expand(pairs), input);
    }
  }
}

TEST(SearchRules, MatchesReachIntoEarlierCalls) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    const Bytes word = ToBytes("a word that comes again");
    Search(record.get(), word);
    EXPECT_EQ(Search(record.get(), word).pairs[0].second, static_cast<int>(word.size()));
  }
}

TEST(SearchRules, MatchesOverlapTheSeamBetweenCalls) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    Search(record.get(), ToBytes("xxxxabab"));
    const Pairs pairs = Search(record.get(), ToBytes("abababababababab")).pairs;
    EXPECT_EQ(Expand(pairs, ToBytes("xxxxabab")), ToBytes("abababababababab"));
    // The call's last bytes are no match sources yet, so "abab" is found 4 bytes back, not 2.
    EXPECT_EQ(pairs[0], Pair(level == zelLZ77LevelBest ? 13 : 14, 4));
  }
}

TEST(SearchRules, PairsAlwaysExpandToTheInput) {
  for (zelLZ77Level level : kLevels) {
    for (const NamedData& input : AllKinds(60000)) {
      for (size_t piece : {size_t{777}, size_t{40000}, SIZE_MAX}) {
        const EncoderRecord record(level, zelLZ77CheckNone);
        const Pairs pairs = SearchAll(record.get(), input.data, piece);
        EXPECT_EQ(Expand(pairs), input.data) << input.name;
        for (const auto& [length, distance] : pairs) {
          ASSERT_TRUE(distance == 0 ? length <= 255 : length >= 3 && length <= 258 && distance <= 32767);
        }
      }
    }
  }
}

TEST(SearchFullFlush, FirstByteOfTheStreamIsNoMatchSource) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    const Pairs pairs = Search(record.get(), Bytes(20, 'x'), zelLZ77FlushFull).pairs;
    ASSERT_GE(pairs.size(), 3u);
    EXPECT_EQ(pairs[0], Pair('x', 0));
    EXPECT_EQ(pairs[1], Pair('x', 0));
    EXPECT_EQ(pairs[2].second, 1);
    EXPECT_EQ(Expand(pairs), Bytes(20, 'x'));
  }
}

TEST(SearchFullFlush, SecondByteOfTheStreamIsAMatchSource) {
  const EncoderRecord record(zelLZ77LevelNormal, zelLZ77CheckNone);
  const Pairs pairs = Search(record.get(), ToBytes("!abcdef.abcdef?xyz"), zelLZ77FlushFull).pairs;
  EXPECT_EQ(pairs[8], Pair(6, 7));
}

TEST(SearchFullFlush, ReachesIntoEarlierCalls) {
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    const Bytes word = ToBytes("!a word that comes again");
    Search(record.get(), word);
    EXPECT_EQ(Search(record.get(), Bytes(word.begin() + 1, word.end()), zelLZ77FlushFull).pairs[0].second,
              static_cast<int>(word.size()) - 1);
  }
}

TEST(SearchFullFlush, LaterCallsFindNothingBeforeThemselves) {
  const Bytes input = Text(5000, 6);
  for (zelLZ77Level level : kLevels) {
    for (zelLZ77FlushMode later : {zelLZ77FlushNone, zelLZ77FlushFull, zelLZ77FlushFinal}) {
      const EncoderRecord record(level, zelLZ77CheckNone);
      Search(record.get(), Text(40000, 6));
      Search(record.get(), input, zelLZ77FlushFull);
      Bytes before;
      for (int call = 0; call < 3; ++call) {
        const Pairs pairs = Search(record.get(), input, later).pairs;
        EXPECT_GT(MatchesAmong(pairs), 0u);
        // Expand throws when a match reaches further back than the history that it is given.
        const bool stands_alone = call == 0 || later == zelLZ77FlushFull;
        EXPECT_EQ(Expand(pairs, stands_alone ? Bytes() : before), input);
        before.insert(before.end(), input.begin(), input.end());
      }
    }
  }
}

TEST(SearchFullFlush, FullPairsArrayLeavesTheRestToTheNextCall) {
  const Bytes input = Text(3000, 7);
  for (zelLZ77Level level : kLevels) {
    const EncoderRecord record(level, zelLZ77CheckNone);
    Bytes seen;
    while (seen.size() < input.size()) {
      const Bytes rest(input.begin() + static_cast<ptrdiff_t>(seen.size()), input.end());
      const Searched found = Search(record.get(), rest, zelLZ77FlushFull, 50);
      const Bytes part = Expand(found.pairs);
      EXPECT_EQ(part.size(), found.consumed);
      seen.insert(seen.end(), part.begin(), part.end());
    }
    EXPECT_EQ(seen, input);
  }
}

TEST(SearchChecksum, RunsOverAllConsumedBytes) {
  const Bytes input = Mixed(20000, 8);
  for (zelLZ77Level level : kLevels) {
    for (zelLZ77FlushMode flush : {zelLZ77FlushNone, zelLZ77FlushFull}) {
      for (zelLZ77ChecksumKind kind : {zelLZ77CheckAdler32, zelLZ77CheckCrc32}) {
        EncodeOptions options;
        options.level = level;
        options.checksum = kind;
        options.flush = flush;
        options.input_piece = 999;
        options.pairs_room = 100;
        EXPECT_TRUE(UnzipsTo(EncodeFile(input, options), input)) << level << " " << flush << " " << kind;
      }
    }
  }
}
