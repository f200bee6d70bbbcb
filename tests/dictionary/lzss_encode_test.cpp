// The LZSS encoder writes exactly what the plain definition does, call for call.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "deflate/search_model.h"
#include "dictionary/lzss_calls.h"
#include "dictionary/lzss_model.h"
#include "dictionary/lzss_state.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

// The plain encoder: whole bytes leave first, then a token is taken while there is room.
class PlainLzssEncoder {
 public:
  LzssResult Call(const Bytes& input, size_t room) {
    LzssResult r;
    Drain(r, room);
    if (r.bytes.size() < room) {
      // A token at a time where the room may end, which takes the search anew; else all at once.
      const size_t step = room > input.size() * 2 + 8 ? SIZE_MAX : 1;
      while (r.consumed < input.size() && r.bytes.size() < room) {
        const auto start = input.begin() + static_cast<ptrdiff_t>(r.consumed);
        size_t consumed = 0;
        for (const Pair& p : search_.Call(Bytes(start, input.end()), step, false, &consumed)) Put(p);
        r.consumed += consumed;
        Drain(r, room);
      }
    }
    r.status = r.bytes.size() == room ? zelWarnDstFull : zelOk;
    return r;
  }

  size_t Waiting() const { return bits_.bits.size(); }
  Bytes Flush() const { return bits_.ToBytes(); }

 private:
  void Put(const Pair& p) {
    if (p.second == 0) {
      PutLzssLiteral(bits_, static_cast<uint8_t>(p.first));
    } else {
      PutLzssMatch(bits_, static_cast<uint32_t>(p.second), static_cast<uint32_t>(p.first));
    }
  }
  void Drain(LzssResult& r, size_t room) {
    const size_t count = std::min(bits_.bits.size() / 8, room - r.bytes.size());
    Append(r.bytes, BitString{bits_.bits.substr(0, 8 * count)}.ToBytes());
    bits_.bits.erase(0, 8 * count);
  }

  SearchModel search_{zelLZ77LevelNormal};
  BitString bits_;
};

// Runs record and model side by side.
void ExpectAsPlain(const Bytes& input, const LzssSplits& splits) {
  const LzssRecord record(LzssKind::kEncoder);
  const auto model = std::make_unique<PlainLzssEncoder>();
  Random random(splits.seed);
  auto next = [&](size_t most) { return splits.seed == 0 ? most : Uniform(random, 1, most); };
  for (size_t done = 0; done < input.size();) {
    size_t end = done + next(std::min(splits.piece, input.size() - done));
    while (done < end) {
      const Bytes piece(input.begin() + static_cast<ptrdiff_t>(done), input.begin() + static_cast<ptrdiff_t>(end));
      const size_t room = next(std::min(splits.room, 2 * piece.size() + 16));
      const LzssResult expected = model->Call(piece, room);
      const LzssResult r = LzssEncodeCall(record.get(), piece, room);
      ASSERT_EQ(r.status, expected.status) << done;
      ASSERT_EQ(r.consumed, expected.consumed) << done;
      ASSERT_EQ(r.bytes, expected.bytes) << done;
      done += r.consumed;
    }
  }
  EXPECT_EQ(LzssFlushCall(record.get(), 8).bytes, model->Flush());
}

std::string Bits(const Bytes& bytes) { return BitsOf(bytes.data(), bytes.size()).bits; }

}  // namespace

TEST(LzssEncode, NineBytes) {
  const LzssRecord record(LzssKind::kEncoder);
  const LzssResult r = LzssEncodeCall(record.get(), ToBytes("abcabcabc"), 100);
  EXPECT_EQ(r.status, zelOk);
  EXPECT_EQ(r.consumed, 9u);
  BitString expected;
  for (char c : {'a', 'b', 'c'}) PutLzssLiteral(expected, static_cast<uint8_t>(c));
  PutLzssMatch(expected, 3, 4);
  for (char c : {'b', 'c'}) PutLzssLiteral(expected, static_cast<uint8_t>(c));
  const Bytes all = expected.ToBytes();
  ASSERT_EQ(expected.bits.size(), 69u);
  EXPECT_EQ(r.bytes, Front(all, 8));
  const LzssResult end = LzssFlushCall(record.get(), 100);
  EXPECT_EQ(end.status, zelOk);
  EXPECT_EQ(end.bytes, Bytes(all.begin() + 8, all.end()));
}

TEST(LzssEncode, NoBytesAreNoStream) { EXPECT_EQ(LzssEncode({}), Bytes{}); }

TEST(LzssEncode, OneAndTwoBytesAreLiterals) {
  EXPECT_EQ(Bits(LzssEncode({0x00})), "1000000000000000");
  EXPECT_EQ(Bits(LzssEncode({0xFF, 0x55})), "111111111101010101000000");
}

TEST(LzssEncode, LongRunIsMatchesOf258AtDistance1) {
  BitString expected;
  PutLzssLiteral(expected, 'x');
  PutLzssMatch(expected, 1, 258);
  PutLzssMatch(expected, 1, 258);
  PutLzssMatch(expected, 1, 80);
  PutLzssLiteral(expected, 'x');
  PutLzssLiteral(expected, 'x');
  EXPECT_EQ(LzssEncode(Bytes(1 + 258 + 258 + 80 + 2, 'x')), expected.ToBytes());
}

TEST(LzssEncode, MatchReaches32767BytesBackAndNotFurther) {
  const Bytes key = ToBytes("needle");
  for (const auto& [distance, is_match] : std::vector<std::pair<size_t, bool>>{{32767, true}, {32768, false}}) {
    Bytes input = key;
    Bytes filler = RandomBytes(distance - key.size(), distance);
    for (uint8_t& b : filler) b = static_cast<uint8_t>(b | 0x80);  // no letter of the key
    Append(input, filler);
    const size_t before = input.size();
    Append(input, ToBytes("needle--"));
    BitString match;
    PutLzssMatch(match, static_cast<uint32_t>(distance), 6);
    const LzssRecord record(LzssKind::kEncoder);
    const std::string bits = Bits(LzssEncodeWith(record.get(), input));
    EXPECT_EQ(bits.find(match.bits) != std::string::npos, is_match && before > 0) << distance;
  }
}

TEST(LzssEncode, MatchesReachIntoEarlierCalls) {
  const LzssRecord record(LzssKind::kEncoder);
  const LzssResult first = LzssEncodeCall(record.get(), ToBytes("abcdef"), 100);
  const LzssResult second = LzssEncodeCall(record.get(), ToBytes("abcdefgh"), 100);
  Bytes all = first.bytes;
  Append(all, second.bytes);
  Append(all, LzssFlushCall(record.get(), 10).bytes);
  BitString expected;
  for (char c : std::string("abcdef")) PutLzssLiteral(expected, static_cast<uint8_t>(c));
  PutLzssMatch(expected, 6, 6);
  PutLzssLiteral(expected, 'g');
  PutLzssLiteral(expected, 'h');
  EXPECT_EQ(all, expected.ToBytes());
}

TEST(LzssEncode, FilledRoomStopsBehindTheTokenThatFillsIt) {
  const LzssRecord record(LzssKind::kEncoder);
  const Bytes input = ToBytes("abcabcabc");
  const LzssResult first = LzssEncodeCall(record.get(), input, 1);
  EXPECT_EQ(first.status, zelWarnDstFull);
  EXPECT_EQ(first.consumed, 1u);
  // Room for what waits, exactly: no token is taken.
  const LzssResult second = LzssEncodeCall(record.get(), Bytes(input.begin() + 1, input.end()), 3);
  EXPECT_EQ(second.consumed, 2u + 4u);
  const LzssResult third = LzssEncodeCall(record.get(), ToBytes("bc"), 2);
  EXPECT_EQ(third.status, zelWarnDstFull);
  EXPECT_EQ(third.consumed, 0u);
  EXPECT_EQ(third.bytes.size(), 2u);
}

TEST(LzssEncode, FilledRoomIsReportedEvenWhenAllInputIsConsumed) {
  const LzssRecord record(LzssKind::kEncoder);
  const LzssResult r = LzssEncodeCall(record.get(), ToBytes("ab"), 2);
  EXPECT_EQ(r.status, zelWarnDstFull);
  EXPECT_EQ(r.consumed, 2u);
}

TEST(LzssEncode, AsPlainForEveryKindOfData) {
  for (const auto& [name, data] : AllKinds(20000)) {
    SCOPED_TRACE(name);
    ExpectAsPlain(data, {});
  }
}

TEST(LzssEncode, AsPlainForEverySplit) {
  for (const auto& [name, data] : AllKinds(700)) {
    SCOPED_TRACE(name);
    for (size_t room : {1, 2, 3, 4, 5, 7, 8, 9, 16}) ExpectAsPlain(data, {SIZE_MAX, room, 0});
    for (size_t piece : {1, 2, 3, 4, 5, 11, 258, 262}) ExpectAsPlain(data, {piece, SIZE_MAX, 0});
    for (uint64_t seed = 1; seed < 6; ++seed) ExpectAsPlain(data, {60, 40, seed});
  }
}

TEST(LzssEncode, AsPlainInLargePiecesOfALongStream) {
  const Bytes data = Mixed(300000, 3);
  for (size_t piece : {5000, 32767, 32768, 64512, 70000}) ExpectAsPlain(data, {piece, SIZE_MAX, 0});
  ExpectAsPlain(data, {40000, SIZE_MAX, 5});
}

TEST(LzssEncode, RunningPositionWraps) {
  // A record whose position stands right before 2^32, or 2^16, writes what a fresh one writes.
  const Bytes data = Text(150000, 8);
  const Bytes expected = LzssEncode(data);
  for (const uint32_t position : {UINT32_MAX - 70000, UINT32_MAX - 31999, 0x7FFFFFF0u, 65535u}) {
    const LzssRecord record(LzssKind::kEncoder);
    auto* const s = static_cast<zeldc::LzssEncoder*>(record.get());
    for (uint16_t& entry : s->tables.head) entry = static_cast<uint16_t>(entry + position);
    s->window.tablePos += position;
    s->window.nextSweep += position;
    EXPECT_EQ(LzssEncodeWith(record.get(), data), expected) << position;
  }
}

TEST(LzssEncode, OldMemoryDoesNotShow) {
  const Bytes data = Mixed(100000, 4);
  const Bytes expected = LzssEncode(data);
  for (const uint8_t fill : Bytes{0x00, 0xFF, 0x3C}) {
    const LzssRecord record(LzssKind::kEncoder, fill, Guard::kBefore);
    EXPECT_EQ(LzssEncodeWith(record.get(), data), expected);
    // The same record again.
    ASSERT_EQ(zelsEncodeLZSSInit_8u(record.get()), zelOk);
    EXPECT_EQ(LzssEncodeWith(record.get(), data), expected);
  }
}

TEST(LzssFlush, WritesTheRestPaddedWithZeros) {
  const LzssRecord record(LzssKind::kEncoder);
  EXPECT_EQ(LzssEncodeCall(record.get(), {0xFF}, 10).bytes, Bytes{0xFF});
  const LzssResult r = LzssFlushCall(record.get(), 10);
  EXPECT_EQ(r.status, zelOk);
  EXPECT_EQ(r.bytes, Bytes{0x80});
}

TEST(LzssFlush, RoomForExactlyTheRestIsFull) {
  const LzssRecord record(LzssKind::kEncoder);
  LzssEncodeCall(record.get(), {0xFF}, 10);
  const LzssResult r = LzssFlushCall(record.get(), 1);
  EXPECT_EQ(r.status, zelWarnDstFull);
  EXPECT_EQ(r.bytes, Bytes{0x80});
  // Now nothing waits.
  const LzssResult again = LzssFlushCall(record.get(), 1);
  EXPECT_EQ(again.status, zelOk);
  EXPECT_EQ(again.bytes, Bytes{});
}

TEST(LzssFlush, GoesOnWhereRoomWasShort) {
  // A match whose bits mostly wait: 31 of them, the most there can be.
  const LzssRecord record(LzssKind::kEncoder);
  const Bytes input = ToBytes("1234567xxxxxx");
  const LzssResult r = LzssEncodeCall(record.get(), input, 9);
  ASSERT_EQ(r.bytes.size(), 9u);
  Bytes all = r.bytes;
  for (;;) {
    const LzssResult end = LzssFlushCall(record.get(), 1);
    Append(all, end.bytes);
    if (end.status == zelOk) break;
    ASSERT_EQ(end.bytes.size(), 1u);
  }
  EXPECT_EQ(LzssDecode(all).bytes, Front(input, r.consumed));
}

TEST(LzssFlush, LeavesTheBitsWhenAllAreWritten) {
  const LzssRecord record(LzssKind::kEncoder);
  LzssEncodeCall(record.get(), {0xFF}, 10);
  EXPECT_EQ(LzssFlushCall(record.get(), 2).bytes, Bytes{0x80});
  EXPECT_EQ(LzssFlushCall(record.get(), 2).bytes, Bytes{0x80});
}
