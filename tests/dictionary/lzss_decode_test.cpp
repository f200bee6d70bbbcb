// The LZSS decoder answers exactly what the plain definition does, call for call, whatever it is given.

#include <string.h>

#include <algorithm>
#include <vector>

#include "dictionary/lzss_calls.h"
#include "dictionary/lzss_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

void ExpectAsPlain(const Bytes& stream, const LzssSplits& splits, size_t max_output = 1 << 20) {
  const LzssRecord record(LzssKind::kDecoder);
  PlainLzssDecoder plain;
  Random random(splits.seed);
  auto next = [&](size_t most) { return splits.seed == 0 ? most : Uniform(random, 1, most); };
  size_t made = 0;
  for (size_t done = 0; made < max_output;) {
    const size_t left = std::min(splits.piece, stream.size() - done);
    const size_t size = left == 0 ? 0 : next(left);
    const auto start = stream.begin() + static_cast<ptrdiff_t>(done);
    const Bytes piece(start, start + static_cast<ptrdiff_t>(size));
    const size_t room = next(std::min(splits.room, LzssDecodedBound(size)));
    const LzssResult expected = plain.Call(piece, room);
    const LzssResult r = LzssDecodeCall(record.get(), piece, room);
    ASSERT_EQ(r.status, expected.status) << done;
    ASSERT_EQ(r.bytes, expected.bytes) << done;
    if (r.status < 0) {
      // Only Init helps.
      EXPECT_EQ(LzssDecodeCall(record.get(), {}, 10).status, r.status);
      EXPECT_EQ(LzssDecodeCall(record.get(), ToBytes("more of it"), 10).status, r.status);
      return;
    }
    ASSERT_EQ(r.consumed, expected.consumed) << done;
    made += r.bytes.size();
    done += r.consumed;
    if (r.status == zelOk && done == stream.size()) break;
  }
}

std::vector<LzssSplits> SomeSplits() {
  std::vector<LzssSplits> all = {{}};
  for (size_t piece : {1, 2, 3, 5}) all.push_back({piece, SIZE_MAX, 0});
  for (size_t room : {1, 2, 7, 100, 259, 300, 320}) all.push_back({SIZE_MAX, room, 0});
  for (uint64_t seed = 1; seed < 5; ++seed) all.push_back({100, 1000, seed});
  all.push_back({1, 1, 0});
  return all;
}

Bytes Match(uint32_t distance, uint32_t length) {
  BitString bits;
  PutLzssMatch(bits, distance, length);
  return bits.ToBytes();
}

}  // namespace

TEST(LzssDecode, FinishesALiteralThatIsCutOff) {
  const LzssRecord record(LzssKind::kDecoder);
  BitString bits;
  PutLzssLiteral(bits, 0x55);
  const Bytes stream = bits.ToBytes();
  const LzssResult first = LzssDecodeCall(record.get(), {stream[0]}, 10);
  EXPECT_EQ(first.status, zelOk);
  EXPECT_EQ(first.consumed, 1u);
  EXPECT_EQ(first.bytes, Bytes{});
  const LzssResult second = LzssDecodeCall(record.get(), {stream[1]}, 10);
  EXPECT_EQ(second.status, zelOk);
  EXPECT_EQ(second.bytes, Bytes{0x55});
}

TEST(LzssDecode, GoesOnWithAMatchThatIsCutOff) {
  const LzssRecord record(LzssKind::kDecoder);
  BitString bits;
  PutLzssLiteral(bits, 'a');
  PutLzssLiteral(bits, 'b');
  PutLzssMatch(bits, 2, 258);
  ASSERT_EQ(LzssDecodeCall(record.get(), bits.ToBytes(), 2).bytes, ToBytes("ab"));
  const Bytes stream = bits.ToBytes();
  const Bytes rest(stream.begin() + 3, stream.end());
  const LzssResult first = LzssDecodeCall(record.get(), rest, 100);
  EXPECT_EQ(first.status, zelWarnDstFull);
  EXPECT_EQ(first.bytes.size(), 100u);
  EXPECT_EQ(first.consumed, rest.size());
  const LzssResult second = LzssDecodeCall(record.get(), {}, 200);
  EXPECT_EQ(second.status, zelOk);
  EXPECT_EQ(second.bytes.size(), 158u);
  Bytes all = first.bytes;
  Append(all, second.bytes);
  Bytes expected;
  for (int i = 0; i < 129; ++i) Append(expected, ToBytes("ab"));
  EXPECT_EQ(all, expected);
}

TEST(LzssDecode, ExactlyFilledRoomIsFull) {
  const LzssRecord record(LzssKind::kDecoder);
  BitString bits;
  PutLzssLiteral(bits, 'a');
  PutLzssMatch(bits, 1, 3);
  const LzssResult r = LzssDecodeCall(record.get(), bits.ToBytes(), 4);
  EXPECT_EQ(r.status, zelWarnDstFull);
  EXPECT_EQ(r.bytes, ToBytes("aaaa"));
  const LzssResult end = LzssDecodeCall(record.get(), {}, 4);
  EXPECT_EQ(end.status, zelOk);
  EXPECT_EQ(end.bytes, Bytes{});
}

TEST(LzssDecode, PaddingIsNoToken) {
  for (size_t literals = 1; literals <= 16; ++literals) {
    BitString bits;
    for (size_t i = 0; i < literals; ++i) PutLzssLiteral(bits, 'l');
    EXPECT_EQ(LzssDecode(bits.ToBytes()).bytes, Bytes(literals, 'l'));
  }
}

TEST(LzssDecode, DistanceOf0IsBad) {
  BitString bits;
  PutLzssLiteral(bits, 0);
  PutLzssMatch(bits, 0, 3);
  const LzssResult r = LzssDecode(bits.ToBytes());
  EXPECT_EQ(r.status, zelErrBadData);
  EXPECT_EQ(r.bytes, Bytes{0});
  EXPECT_EQ(LzssDecode(Match(0, 3)).status, zelErrBadData);
}

TEST(LzssDecode, DistanceBeforeTheStartIsBad) {
  EXPECT_EQ(LzssDecode(Match(1, 3)).status, zelErrBadData);
  for (size_t made : {1, 2, 100, 32766}) {
    BitString bits;
    for (size_t i = 0; i < made; ++i) PutLzssLiteral(bits, static_cast<uint8_t>(i));
    BitString good = bits;
    PutLzssMatch(bits, static_cast<uint32_t>(made) + 1, 3);
    PutLzssMatch(good, static_cast<uint32_t>(made), 3);
    for (const LzssSplits& splits : {LzssSplits{}, LzssSplits{SIZE_MAX, 64, 0}, LzssSplits{50, 300, 0}}) {
      const LzssResult r = LzssDecode(bits.ToBytes(), splits);
      EXPECT_EQ(r.status, zelErrBadData);
      EXPECT_EQ(r.bytes.size(), made);
      EXPECT_EQ(LzssDecode(good.ToBytes(), splits).bytes.size(), made + 3);
    }
  }
}

TEST(LzssDecode, EveryDistanceAndLengthFromTheSameCallAndFromEarlierOnes) {
  const Bytes history = RandomBytes(33000, 5);
  BitString literals;
  for (uint8_t b : history) PutLzssLiteral(literals, b);
  const Bytes start = literals.ToBytes();
  ASSERT_EQ(literals.bits.size() % 8, 0u);
  for (uint32_t length : {3, 4, 15, 16, 17, 31, 32, 33, 64, 65, 257, 258}) {
    for (uint32_t distance : {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 257, 258, 259, 32766, 32767}) {
      BitString bits;
      for (int i = 0; i < 3; ++i) PutLzssMatch(bits, distance, length);
      Bytes expected = history;
      for (uint32_t i = 0; i < 3 * length; ++i) expected.push_back(expected[expected.size() - distance]);
      const Bytes matches = bits.ToBytes();
      Bytes stream = start;
      Append(stream, matches);
      EXPECT_EQ(LzssDecode(stream).bytes, expected) << length << ' ' << distance;
      const LzssRecord record(LzssKind::kDecoder);
      LzssDecodeCall(record.get(), start, history.size());
      for (size_t room : {size_t{3} * length, size_t{3} * length + 400}) {
        // The record may be copied as bytes.
        const LzssRecord copy(LzssKind::kDecoder);
        memcpy(static_cast<void*>(copy.get()), record.get(), kLzssRecordSize);
        EXPECT_EQ(LzssDecodeCall(copy.get(), matches, room).bytes,
                  Bytes(expected.begin() + static_cast<ptrdiff_t>(history.size()), expected.end()))
            << length << ' ' << distance;
      }
    }
  }
}

TEST(LzssDecode, RandomTokensAsPlain) {
  for (uint64_t seed = 1; seed < 4; ++seed) {
    const Bytes stream = RandomLzssStream(200, seed);
    for (const LzssSplits& splits : SomeSplits()) ExpectAsPlain(stream, splits);
  }
}

TEST(LzssDecode, LongRandomStreamAsPlain) {
  size_t size = 0;
  const Bytes stream = RandomLzssStream(20000, 9, &size);
  ASSERT_GT(size, 200000u);
  for (size_t room : {1000, 32768, 40000, 65536, 1 << 20}) ExpectAsPlain(stream, {SIZE_MAX, room, 0});
  ExpectAsPlain(stream, {10000, 60000, 3});
}

TEST(LzssDecode, AnyBytesAsPlain) {
  for (size_t seed = 1; seed < 60; ++seed) {
    Bytes stream = RandomBytes(1 + seed * 3, seed);
    // Mostly valid at first: literals before the first match.
    if (seed % 2) stream.insert(stream.begin(), 9 * 16, 0xFF);
    ExpectAsPlain(stream, {});
    ExpectAsPlain(stream, {7, 90, seed});
  }
}

TEST(LzssDecode, DamagedStreamsAsPlain) {
  const Bytes stream = RandomLzssStream(300, 77);
  Random random(78);
  for (int i = 0; i < 200; ++i) {
    Bytes damaged = stream;
    damaged[Uniform(random, 0, damaged.size() - 1)] ^= static_cast<uint8_t>(1u << Uniform(random, 0, 7));
    damaged.resize(Uniform(random, 1, damaged.size()));
    ExpectAsPlain(damaged, {});
    ExpectAsPlain(damaged, {50, 200, static_cast<uint64_t>(i) + 1});
  }
}

TEST(LzssDecode, OldMemoryDoesNotShow) {
  const Bytes stream = RandomLzssStream(2000, 31);
  const Bytes expected = LzssDecode(stream).bytes;
  for (const uint8_t fill : Bytes{0x00, 0xFF, 0x3C}) {
    const LzssRecord record(LzssKind::kDecoder, fill, Guard::kBefore);
    EXPECT_EQ(LzssDecodeWith(record.get(), stream, {100, 1000, 4}).bytes, expected);
    ASSERT_EQ(zelsDecodeLZSSInit_8u(record.get()), zelOk);
    EXPECT_EQ(LzssDecodeWith(record.get(), stream).bytes, expected);
    // A match into what the last stream left behind.
    ASSERT_EQ(zelsDecodeLZSSInit_8u(record.get()), zelOk);
    EXPECT_EQ(LzssDecodeWith(record.get(), Match(1, 3)).status, zelErrBadData);
  }
}
