// The match search's pairs are exactly those of the plain model, for every level, on inputs of every kind.

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "deflate/calls.h"
#include "deflate/search_model.h"
#include "gtest/gtest.h"
#include "shared/hash_salt.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

struct Splits {
  size_t piece = SIZE_MAX;  // bytes a call, at most
  size_t room = SIZE_MAX;   // pairs a call, at most
  uint64_t seed = 0;        // not 0: random sizes up to these
  Bytes dictionary = {};
  bool full_flush_at_end = false;
  std::vector<size_t> first_calls = {};  // bytes of the first calls, whatever the others get
};

// Runs record and model side by side.
testing::AssertionResult SamePairs(zelLZ77Level level, const Bytes& input, const Splits& splits = {}) {
  const EncoderRecord record(level, zelLZ77CheckNone);
  const auto model = std::make_unique<SearchModel>(level);
  if (!splits.dictionary.empty()) {
    const GuardedBuffer dictionary(splits.dictionary);
    if (zelsEncodeLZ77SetDictionary_8u(dictionary.data(), static_cast<int32_t>(dictionary.size()), record.get()) !=
        zelOk) {
      return testing::AssertionFailure() << "SetDictionary";
    }
    model->SetDictionary(splits.dictionary);
  }
  Random random(splits.seed);
  size_t call = 0;
  for (size_t done = 0; done < input.size(); ++call) {
    const bool is_set = call < splits.first_calls.size();
    const size_t most = std::min(is_set ? splits.first_calls[call] : splits.piece, input.size() - done);
    const size_t given = splits.seed == 0 || is_set ? most : Uniform(random, 1, most);
    const size_t most_room = std::min(splits.room, given + 1);
    const size_t room = splits.seed == 0 ? most_room : Uniform(random, 1, most_room);
    const bool is_full = splits.full_flush_at_end && done + given == input.size();
    const auto start = input.begin() + static_cast<ptrdiff_t>(done);
    const Bytes piece(start, start + static_cast<ptrdiff_t>(given));
    size_t consumed = 0;
    const Pairs expected = model->Call(piece, room, is_full, &consumed);
    const Searched found = Search(record.get(), piece, is_full ? zelLZ77FlushFull : zelLZ77FlushNone, room);
    if (found.pairs != expected || found.consumed != consumed) {
      const auto at = std::mismatch(found.pairs.begin(), found.pairs.end(), expected.begin(), expected.end()).first -
                      found.pairs.begin();
      return testing::AssertionFailure() << "call at " << done << " with " << given << " bytes and room for " << room
                                         << " pairs: " << found.pairs.size() << " pairs for " << found.consumed
                                         << " bytes instead of " << expected.size() << " for " << consumed
                                         << ", the first difference at pair " << at;
    }
    if (found.status != (consumed < given ? zelWarnDstFull : zelOk)) {
      return testing::AssertionFailure() << "status " << found.status << " in the call at " << done;
    }
    done += consumed;
    if (is_full) break;
  }
  return testing::AssertionSuccess();
}

class MatchSearch : public testing::TestWithParam<zelLZ77Level> {
 protected:
  zelLZ77Level level() const { return GetParam(); }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Level, MatchSearch, testing::ValuesIn(kLevels), LevelName);

TEST(HashSalt, QuotedValues) {
  const auto& row = zeldc::zelLZ77HashSalt.row;
  const int16_t row0[] = {18845, 15810, 11527, 28763, 31350, 13417};
  const int16_t row1[] = {23403, 25964, 7330, 5756};
  const int16_t row2[] = {23616, 7640, 29028, 30668};
  EXPECT_TRUE(std::equal(std::begin(row0), std::end(row0), row[0]));
  EXPECT_TRUE(std::equal(std::begin(row1), std::end(row1), row[1]));
  EXPECT_TRUE(std::equal(std::begin(row2), std::end(row2), row[2]));
}

TEST(HashSalt, ValuesHave15Bits) {
  for (const auto& row : zeldc::zelLZ77HashSalt.row) {
    for (int16_t value : row) EXPECT_GE(value, 0);
  }
}

TEST_P(MatchSearch, InputsOverTheBytes0To3) {
  for (unsigned symbols : {1u, 2u, 3u, 4u}) {
    for (size_t size : {1, 2, 3, 4, 5, 10, 100, 1000, 50000}) {
      EXPECT_TRUE(SamePairs(level(), SmallAlphabet(size, symbols, size))) << symbols << " symbols, " << size;
    }
  }
}

TEST_P(MatchSearch, EveryShortLength) {
  const Bytes data = SmallAlphabet(300, 2, 1);
  for (size_t size = 0; size <= data.size(); ++size) {
    ASSERT_TRUE(SamePairs(level(), Bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(size)))) << size;
  }
}

TEST_P(MatchSearch, InputsOfAllKinds) {
  for (const NamedData& input : AllKinds(70000)) EXPECT_TRUE(SamePairs(level(), input.data)) << input.name;
}

TEST_P(MatchSearch, LongInputs) {
  EXPECT_TRUE(SamePairs(level(), Text(400000, 1)));
  EXPECT_TRUE(SamePairs(level(), Mixed(400000, 2)));
  EXPECT_TRUE(SamePairs(level(), SmallAlphabet(200000, 16, 3)));
}

TEST_P(MatchSearch, RepeatsAroundTheLargestDistance) {
  for (size_t distance = 32764; distance <= 32770; ++distance) {
    EXPECT_TRUE(SamePairs(level(), RepeatsAt(150000, distance, 256, distance))) << distance;
    EXPECT_TRUE(SamePairs(level(), Periodic(140000, distance, distance))) << distance;
  }
}

TEST_P(MatchSearch, RepeatsAroundMultiplesOfTheWindow) {
  for (size_t distance : {32000, 49152, 65535, 65536, 65537, 98304, 131072}) {
    EXPECT_TRUE(SamePairs(level(), RepeatsAt(300000, distance, 256, distance))) << distance;
  }
}

TEST_P(MatchSearch, ShortPeriods) {
  for (size_t period = 1; period <= 40; ++period) {
    EXPECT_TRUE(SamePairs(level(), Periodic(3000, period, period))) << period;
  }
  for (size_t period : {255, 256, 257, 258, 259, 260, 1000}) {
    EXPECT_TRUE(SamePairs(level(), Periodic(70000, period, period))) << period;
  }
}

TEST_P(MatchSearch, ThreeBytesOfEqualHash4096BackWhereABatchBegins) {
  // Positions are entered in batches of 1024 or fewer. A match ends where the next batch begins, so that the search
  // goes on at the last position of the one before.
  for (size_t batch_end = 5 * 1024; batch_end <= 12 * 1024; batch_end += 1024) {
    const size_t at = batch_end - 1;
    Bytes input = RandomBytes(16 * 1024, batch_end);
    std::copy_n(input.begin() + 200, 8, input.begin() + static_cast<ptrdiff_t>(at - 8));
    uint8_t* const here = input.data() + at;
    const uint8_t* const back = here - 4096;
    for (uint32_t three = 0; three < 1u << 24; ++three) {
      for (int k = 0; k < 3; ++k) here[k] = static_cast<uint8_t>(three >> (8 * k));
      if (here[0] != back[0] && here[0] != input[208] && zeldc::SaltedHash(here) == zeldc::SaltedHash(back)) break;
    }
    ASSERT_EQ(zeldc::SaltedHash(here), zeldc::SaltedHash(back));
    EXPECT_TRUE(SamePairs(level(), input)) << batch_end;
  }
}

// Old positions must stay unusable however long nothing overwrites them.
TEST_P(MatchSearch, RareStringsFarApart) {
  const Bytes rare = ToBytes("a rare string of some length");
  for (size_t gap : {32700, 32767, 32768, 40000, 65500, 65536, 65600, 131072, 200000}) {
    Bytes input = rare;
    const Bytes filler = SmallAlphabet(gap - rare.size(), 16, gap);
    for (int i = 0; i < 3; ++i) {
      input.insert(input.end(), filler.begin(), filler.end());
      input.insert(input.end(), rare.begin(), rare.end());
    }
    input.insert(input.end(), 5, 'z');
    EXPECT_TRUE(SamePairs(level(), input)) << gap;
    EXPECT_TRUE(SamePairs(level(), input, {.piece = 1000})) << gap;
  }
}

TEST_P(MatchSearch, ManySmallCalls) {
  const Bytes text = Text(40000, 4), bits = SmallAlphabet(20000, 2, 5);
  for (size_t piece : {1, 2, 3, 4, 5, 7, 16, 100, 257, 258, 259, 5000}) {
    EXPECT_TRUE(SamePairs(level(), text, {.piece = piece})) << piece;
    EXPECT_TRUE(SamePairs(level(), bits, {.piece = piece})) << piece;
  }
}

TEST_P(MatchSearch, CallsAroundTheWindowSize) {
  const Bytes input = Mixed(300000, 6);
  for (size_t piece : {32000, 32510, 32767, 32768, 32769, 33026, 65277, 65278, 65279, 65536, 65537, 100000}) {
    EXPECT_TRUE(SamePairs(level(), input, {.piece = piece})) << piece;
  }
}

TEST_P(MatchSearch, TinyPairArrays) {
  const Bytes text = Text(20000, 7), runs = Runs(50000, 2000, 8);
  for (size_t room : {1, 2, 3, 10, 100}) {
    EXPECT_TRUE(SamePairs(level(), text, {.piece = 5000, .room = room})) << room;
    EXPECT_TRUE(SamePairs(level(), runs, {.piece = 5000, .room = room})) << room;
  }
}

// What is entered ahead of the search is taken out again when the pairs run out, at any position.
TEST_P(MatchSearch, PairArraysThatFillUpAnywhere) {
  const Bytes text = Text(140000, 7), bits = SmallAlphabet(80000, 2, 8);
  for (size_t room : {17, 250, 257, 1100}) {
    EXPECT_TRUE(SamePairs(level(), text, {.room = room})) << room;
    EXPECT_TRUE(SamePairs(level(), bits, {.piece = 70000, .room = room})) << room;
  }
}

TEST_P(MatchSearch, RandomSplits) {
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    const Bytes input = Mixed(150000, seed);
    const Splits splits = {.piece = size_t{1} << (seed + 5), .room = size_t{1} << (seed + 2), .seed = seed};
    EXPECT_TRUE(SamePairs(level(), input, splits)) << seed;
  }
}

TEST_P(MatchSearch, Dictionaries) {
  for (size_t size : {3, 4, 5, 100, 258, 32765, 32766, 32767, 32768, 32769, 40000, 70000}) {
    const Bytes both = Mixed(size + 90000, size);
    const auto middle = both.begin() + static_cast<ptrdiff_t>(size);
    const Bytes dictionary(both.begin(), middle), input(middle, both.end());
    EXPECT_TRUE(SamePairs(level(), input, {.dictionary = dictionary})) << size;
    EXPECT_TRUE(SamePairs(level(), input, {.piece = 700, .dictionary = dictionary})) << size;
    EXPECT_TRUE(SamePairs(level(), Periodic(size, 50, size), {.dictionary = Periodic(size, 50, size)})) << size;
  }
}

// The tables' positions move on in calls that are too short to be searched, past the moment for a sweep.
TEST_P(MatchSearch, CallsTooShortToSearchBeforeOneThatIsNot) {
  for (size_t tiny : {1, 2, 3}) {
    for (size_t before : {31998, 32000, 32767, 32768, 32769, 33100, 64300, 65536, 65800}) {
      Bytes input = SmallAlphabet(before, 4, before);
      const Bytes repeated = Text(700, tiny);
      input.insert(input.end(), repeated.begin(), repeated.end());
      input.insert(input.end(), repeated.begin(), repeated.end());
      input.insert(input.end(), 600, 0);
      Splits splits;
      splits.first_calls.assign(before / tiny, tiny);
      EXPECT_TRUE(SamePairs(level(), input, splits)) << tiny << " " << before;
    }
  }
}

TEST_P(MatchSearch, CallsTooShortToSearchBehindAFullDictionary) {
  for (size_t size : {31997, 32000, 32765, 32766, 32767, 32768}) {
    for (size_t tiny : {1, 2, 3}) {
      Splits splits;
      splits.dictionary = SmallAlphabet(size, 4, size);
      splits.first_calls = {tiny, tiny};
      EXPECT_TRUE(
          SamePairs(level(), ToBytes("Qxyz, and once more: Qxyz, the end of it, once more: the end of it"), splits))
          << size << " " << tiny;
    }
  }
}

TEST_P(MatchSearch, FullDictionaryBeforeInputsOfAnySize) {
  const Bytes dictionary = Text(32768, 1);
  for (size_t size : {1, 100, 500, 5000, 30000, 32500, 32767, 32768, 32769, 33100, 65000, 65536, 66000}) {
    const Bytes input = Text(size, 1);  // the dictionary's bytes again, so matches of the largest distance call
    EXPECT_TRUE(SamePairs(level(), input, {.dictionary = dictionary})) << size;
    EXPECT_TRUE(SamePairs(level(), Text(size, 2), {.dictionary = dictionary})) << size;
  }
}

TEST_P(MatchSearch, FullHistoryBeforeCallsOfAnySize) {
  for (size_t first : {32768, 33000, 65000, 65536, 65800, 66000}) {
    for (size_t piece : {1, 100, 500, 5000, 30000, 32500, 32768, 33100}) {
      const EncoderRecord record(level(), zelLZ77CheckNone);
      const auto model = std::make_unique<SearchModel>(level());
      for (size_t size : {first, piece, piece, size_t{40000}, piece}) {
        const Bytes input = Text(size, size % 3);
        size_t consumed = 0;
        const Pairs expected = model->Call(input, size, false, &consumed);
        ASSERT_EQ(Search(record.get(), input, zelLZ77FlushNone, size).pairs == expected, true) << first << " " << piece;
      }
    }
  }
}

TEST_P(MatchSearch, FullFlush) {
  for (const NamedData& input : AllKinds(70000)) {
    EXPECT_TRUE(SamePairs(level(), input.data, {.full_flush_at_end = true})) << input.name;
    EXPECT_TRUE(SamePairs(level(), input.data, {.piece = 30000, .full_flush_at_end = true})) << input.name;
    EXPECT_TRUE(SamePairs(level(), input.data, {.dictionary = Text(5000, 5), .full_flush_at_end = true})) << input.name;
  }
  for (size_t distance = 32766; distance <= 32769; ++distance) {
    EXPECT_TRUE(SamePairs(level(), RepeatsAt(100000, distance, 256, distance), {.full_flush_at_end = true}));
  }
}

TEST_P(MatchSearch, ResetForgetsEverything) {
  const Bytes first = Text(50000, 9), second = Text(60000, 9);
  const EncoderRecord used(level(), zelLZ77CheckNone), fresh(level(), zelLZ77CheckNone);
  Search(used.get(), first);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(used.get()), zelOk);
  EXPECT_EQ(Search(used.get(), second).pairs, Search(fresh.get(), second).pairs);
}
