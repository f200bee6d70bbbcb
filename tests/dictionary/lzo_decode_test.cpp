// The LZO decoders on plain streams: statuses, edge cases, streams built token by token, and the model's answer to any
// bytes at all.

#include <algorithm>

#include "dictionary/lzo_calls.h"
#include "dictionary/lzo_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

const Bytes kEnd = {0x11, 0, 0};

Bytes Joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const Bytes& part : parts) Append(all, part);
  return all;
}

// Both decoders answer as the model does, with the room just large enough and larger, and one byte short of it.
testing::AssertionResult DecodesAsTheModel(const Bytes& in, size_t most = 1 << 20) {
  const std::optional<Bytes> expected = LzoModelDecode(in, most);
  const size_t size = expected ? expected->size() : 500;
  for (size_t room : {size, size + 1, size + 15, size + 100}) {
    for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
      for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
        if (LzoDecode(in, room, decoder, guard) != (expected ? expected : LzoModelDecode(in, room))) {
          return testing::AssertionFailure() << "another result in a room of " << room;
        }
      }
    }
  }
  if (size > 0 && LzoDecode(in, size - 1) && expected) return testing::AssertionFailure() << "fits a smaller room";
  return testing::AssertionSuccess();
}

// A stream that makes `size` literals, and the end marker behind `tokens`.
Bytes Stream(size_t size, const Bytes& tokens, uint64_t seed = 1) {
  Bytes in;
  if (size <= 238) {
    in.push_back(static_cast<uint8_t>(17 + size));
  } else {
    in.push_back(0);
    in.insert(in.end(), (size - 19) / 255, 0);
    in.push_back(static_cast<uint8_t>((size - 19) % 255 + 1));
  }
  return Joined({in, RandomBytes(size, seed), tokens, kEnd});
}

}  // namespace

TEST(LzoDecode, ErrorsInTheirOrderChangeNothing) {
  for (const auto decode : {zelsDecodeLZOSafe_8u, zelsDecodeLZO_8u}) {
    Bytes dst(10, 0xEE);
    uint32_t size = 10;
    EXPECT_EQ(decode(nullptr, 0, dst.data(), &size), zelErrNullPtr);
    EXPECT_EQ(decode(kEnd.data(), 0, nullptr, &size), zelErrNullPtr);
    EXPECT_EQ(decode(kEnd.data(), 0, dst.data(), nullptr), zelErrNullPtr);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(decode(kEnd.data(), 0, dst.data(), &size), zelOk);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(dst, Bytes(10, 0xEE));
  }
}

TEST(LzoDecode, OneLiteral) { EXPECT_EQ(LzoDecode({0x12, 0x41, 0x11, 0, 0}, 1), Bytes{0x41}); }

TEST(LzoDecode, EndMarkerAloneDecodesToNothing) {
  EXPECT_EQ(LzoDecode(kEnd, 0), Bytes());
  EXPECT_EQ(LzoDecode(kEnd, 5), Bytes());
  // Any length field but 0 in the marker will do, and any count of literals behind it.
  for (uint8_t token = 0x11; token < 0x18; ++token) {
    for (uint8_t low = 0; low < 4; ++low) EXPECT_EQ(LzoDecode({0x12, 'a', token, low, 0}, 1), Bytes{'a'});
  }
  for (const Bytes& other : {Bytes{0x19, 0, 0}, {0x11, 4, 0}, {0x11, 0, 1}, {0x10, 1, 0, 0}}) {
    EXPECT_EQ(LzoDecode(Joined({{0x12, 'a'}, other}), 100), std::nullopt);
  }
}

// 16 as first byte is a match whose length is extended, from 16384 back and more.
TEST(LzoDecode, SixteenFirstIsAMatch) {
  EXPECT_EQ(LzoDecode(Joined({{0x10, 1, 0, 0}, kEnd}), 100), std::nullopt);
  const Bytes first = Stream(16384, {});
  EXPECT_TRUE(DecodesAsTheModel(Joined({first, {0x10, 1, 0, 0}, kEnd})));
  EXPECT_EQ(LzoDecode(Joined({first, {0x10, 1, 0, 0}, kEnd}), 20000)->size(), 16394u);
}

TEST(LzoDecode, FirstRunOf111LiteralsAndMoreIsNoContainer) {
  for (size_t len = 100; len <= 238; ++len) {
    const Bytes in = Stream(len, {});
    EXPECT_EQ(LzoDecode(in, len), RandomBytes(len, 1)) << len;
    EXPECT_EQ(LzoDecode(in, len, LzoDecoder::kUnchecked), RandomBytes(len, 1)) << len;
    EXPECT_EQ(LzoDecode(in, len - 1), std::nullopt) << len;
    // A byte more or less, and it is a container that is none.
    if (len >= 111) {
      EXPECT_EQ(LzoDecode(Joined({in, {0}}), 300), std::nullopt);
      EXPECT_EQ(LzoDecode(Front(in, in.size() - 1), 300), std::nullopt);
    }
  }
}

TEST(LzoDecode, DistancesReachTheStartAndNotBeyond) {
  for (size_t size : {1, 8, 9, 100, 2047, 2048}) {
    const size_t d = size - 1;
    EXPECT_TRUE(
        DecodesAsTheModel(Stream(size, {static_cast<uint8_t>(0x60 | (d & 7) << 2), static_cast<uint8_t>(d >> 3)})));
    if (size == 2048) continue;
    EXPECT_EQ(LzoDecode(Stream(size, {static_cast<uint8_t>(0x60 | (size & 7) << 2), static_cast<uint8_t>(size >> 3)}),
                        size + 100),
              std::nullopt);
  }
  for (size_t size : {1, 20, 2049, 16384}) {
    const auto token = [](size_t d) { return Bytes{0x2A, static_cast<uint8_t>(4 * d), static_cast<uint8_t>(d >> 6)}; };
    EXPECT_TRUE(DecodesAsTheModel(Stream(size, token(size - 1))));
    if (size == 16384) continue;
    EXPECT_EQ(LzoDecode(Stream(size, token(size)), size + 100), std::nullopt);
  }
  for (size_t size : {16385, 20000, 32767, 32768, 49151}) {
    const auto token = [](size_t d) {
      const size_t e = d - 16384;
      return Bytes{static_cast<uint8_t>(0x13 | (e & 0x4000) >> 11), static_cast<uint8_t>(4 * e),
                   static_cast<uint8_t>(e >> 6)};
    };
    EXPECT_TRUE(DecodesAsTheModel(Stream(size, token(size))));
    if (size == 49151) continue;
    EXPECT_EQ(LzoDecode(Stream(size, token(size + 1)), size + 100), std::nullopt);
  }
  EXPECT_EQ(LzoDecode({0x60, 0, 0x11, 0, 0}, 100), std::nullopt);  // a match before any literal
}

TEST(LzoDecode, EveryShortDistanceAndLength) {
  for (uint8_t d = 1; d <= 40; ++d) {
    for (size_t len : {2, 3, 8, 15, 16, 17, 31, 32, 33, 34, 47, 63, 64, 65, 100, 288, 289, 700}) {
      Bytes token = {static_cast<uint8_t>(len <= 33 ? 0x20 | (len - 2) : 0x20)};
      if (len > 33) {
        token.insert(token.end(), (len - 34) / 255, 0);
        token.push_back(static_cast<uint8_t>((len - 34) % 255 + 1));
      }
      Append(token, {static_cast<uint8_t>((d - 1) << 2 | 3), static_cast<uint8_t>((d - 1) >> 6), 'x', 'y', 'z'});
      ASSERT_TRUE(DecodesAsTheModel(Stream(40, token))) << int{d} << ", " << len;
    }
  }
}

TEST(LzoDecode, TrailingLiteralsOfEveryForm) {
  for (uint8_t count = 0; count < 4; ++count) {
    const Bytes literals = Front({'a', 'b', 'c'}, count);
    const Bytes run = {0x01, '1', '2', '3', '4', 0x40, 0};
    for (const Bytes& match : {Bytes{static_cast<uint8_t>(0xE8 | count), 0},
                               {0x25, static_cast<uint8_t>(8 | count), 0},
                               {0x20, 7, static_cast<uint8_t>(8 | count), 0}}) {
      EXPECT_TRUE(DecodesAsTheModel(Stream(30, Joined({match, literals}))));
      EXPECT_TRUE(DecodesAsTheModel(Stream(30, Joined({match, literals, match, literals}))));
      EXPECT_TRUE(DecodesAsTheModel(Stream(30, Joined({match, literals, run}))));
    }
  }
}

TEST(LzoDecode, RunsOfEveryLengthBehindMatchesAndAtTheStart) {
  const Bytes match = {0x40, 0};
  for (size_t len : {4, 5, 15, 16, 17, 18, 19, 20, 33, 34, 272, 273, 274, 528, 529, 1000}) {
    Bytes run = {static_cast<uint8_t>(len <= 18 ? len - 3 : 0)};
    if (len > 18) {
      run.insert(run.end(), (len - 19) / 255, 0);
      run.push_back(static_cast<uint8_t>((len - 19) % 255 + 1));
    }
    Append(run, RandomBytes(len, len));
    EXPECT_TRUE(DecodesAsTheModel(Joined({run, match, kEnd}))) << len;
    EXPECT_TRUE(DecodesAsTheModel(Stream(4, Joined({match, run, match})))) << len;
  }
}

TEST(LzoDecode, TwoByteMatchBehindLiteralsIsBroken) {
  for (uint8_t token = 0; token < 16; ++token) {
    EXPECT_EQ(LzoDecode(Joined({{0x15, 1, 2, 3, 4, token, 0}, Bytes(40, 0x40), kEnd}), 1000), std::nullopt);
    EXPECT_EQ(LzoDecode(Joined({{0x01, 1, 2, 3, 4, token, 0}, Bytes(40, 0x40), kEnd}), 1000), std::nullopt);
    EXPECT_EQ(LzoDecode(Stream(30, Joined({{0x40, 0, 1, 1, 2, 3, 4, token, 0}, Bytes(40, 0x40)})), 1000), std::nullopt);
  }
}

TEST(LzoDecode, StreamsBackToBackDecodeToBothOutputs) {
  const Bytes a = Text(3000, 1);
  const Bytes b = Text(2000, 2);
  const Bytes both = Joined({LzoEncode(a), kEnd, LzoEncode(b)});
  for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
    EXPECT_EQ(LzoDecode(both, 5000, decoder), Joined({a, b}));
    EXPECT_EQ(LzoDecode(both, 4999, decoder), std::nullopt);
  }
  // The second may copy from the first.
  EXPECT_TRUE(DecodesAsTheModel(Joined({Stream(100, {}), {0x40, 0}, kEnd})));
}

TEST(LzoDecode, EveryPrefixOfAStreamIsBroken) {
  const Bytes data = Mixed(1500, 3);
  const Bytes stream = LzoEncode(data);
  for (size_t size = 1; size < stream.size(); ++size) {
    ASSERT_EQ(LzoDecode(Front(stream, size), 1500), std::nullopt) << size;
    ASSERT_EQ(LzoDecode(Front(stream, size), 1500, LzoDecoder::kUnchecked), std::nullopt) << size;
  }
}

TEST(LzoDecode, EveryRoomThatIsTooSmallIsBroken) {
  for (const NamedData& kind : AllKinds(900)) {
    const Bytes stream = LzoEncode(kind.data);
    for (size_t room = 0; room < kind.data.size(); ++room) {
      ASSERT_EQ(LzoDecode(stream, room), std::nullopt) << kind.name << ", " << room;
      ASSERT_EQ(LzoDecode(stream, room, LzoDecoder::kUnchecked), std::nullopt) << kind.name << ", " << room;
    }
    ASSERT_EQ(LzoDecode(stream, kind.data.size()), kind.data) << kind.name;
  }
}

// What the room held before shows nowhere, whatever is copied too much on the way.
TEST(LzoDecode, OldContentOfTheRoomDoesNotShow) {
  for (const NamedData& kind : AllKinds(3000)) {
    const Bytes stream = LzoEncode(kind.data);
    for (const uint8_t fill : Bytes{0, 0x5A, 0xFF}) {
      ASSERT_EQ(LzoDecode(stream, 3200, LzoDecoder::kChecked, Guard::kBehind, fill), kind.data) << kind.name;
    }
  }
}

TEST(LzoDecode, LengthsThatWouldWrap) {
  // 2^24 + 1 and more zeros tell lengths of 2^32 and more: without care they come out small.
  for (size_t zeros : {16843009, 16843010}) {
    const Bytes zero(zeros, 0);
    EXPECT_EQ(LzoDecode(Joined({zero, {1}, Bytes(300, 7), kEnd}), 1000), std::nullopt);
    EXPECT_EQ(LzoDecode(Stream(4, Joined({{0x20}, zero, {1, 0, 0}})), 1000), std::nullopt);
    EXPECT_EQ(LzoDecode(Stream(20000, Joined({{0x10}, zero, {1, 4, 0}})), 30000), std::nullopt);
    EXPECT_EQ(LzoDecode(Stream(4, Joined({{0x40, 0}, zero, {1}, Bytes(300, 7)})), 1000), std::nullopt);
  }
  EXPECT_EQ(LzoDecode(Bytes(1000, 0), 1000), std::nullopt);
}

// Streams of tokens that are mostly good, and then changed here and there.
TEST(LzoDecode, HostileStreamsAsTheModel) {
  size_t good = 0;
  for (uint64_t seed = 0; seed < 1000; ++seed) {
    Random random(seed);
    Bytes in = LzoEncode(Mixed(Uniform(random, 20, 600), seed % 50));
    for (size_t changes = Uniform(random, 0, 3); changes > 0; --changes) {
      in[Uniform(random, 0, in.size() - 1)] = static_cast<uint8_t>(random());
    }
    if (in[0] >= 128) continue;
    ASSERT_TRUE(DecodesAsTheModel(in)) << seed;
    good += LzoModelDecode(in, 1 << 20).has_value();
  }
  EXPECT_GT(good, 200u);
  EXPECT_LT(good, 800u);
}

TEST(LzoDecode, RandomTokensAsTheModel) {
  size_t good = 0;
  for (uint64_t seed = 0; seed < 1000; ++seed) {
    Random random(seed);
    Bytes in = Stream(Uniform(random, 4, 100), {}, seed);
    in.resize(in.size() - 3);
    const size_t literals = in.size() - 1;
    for (size_t tokens = Uniform(random, 1, 60); tokens > 0; --tokens) {
      const auto count = static_cast<uint8_t>(random() % 4);
      const size_t d = Uniform(random, 0, literals - 1);
      if (random() % 2 == 0) {
        Append(in,
               {static_cast<uint8_t>(Uniform(random, 2, 7) << 5 | (d & 7) << 2 | count), static_cast<uint8_t>(d >> 3)});
      } else {
        Append(in, {static_cast<uint8_t>(0x20 | Uniform(random, 1, 31)), static_cast<uint8_t>(d << 2 | count),
                    static_cast<uint8_t>(d >> 6)});
      }
      Append(in, RandomBytes(count, random()));
      if (random() % 3 == 0) {
        const size_t len = Uniform(random, 4, 18);
        in.push_back(static_cast<uint8_t>(len - 3));
        Append(in, RandomBytes(len, random()));
        Append(in, {0x60, 0});
      }
    }
    Append(in, kEnd);
    if (in[0] >= 128) continue;
    ASSERT_TRUE(DecodesAsTheModel(in)) << seed;
    good += LzoModelDecode(in, 1 << 20).has_value();
  }
  EXPECT_GT(good, 950u);
}
