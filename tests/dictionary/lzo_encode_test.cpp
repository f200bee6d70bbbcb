// The LZO encoder on one thread: statuses, edge cases, and the model's stream for every kind of data.

#include <algorithm>
#include <cstring>

#include "dictionary/lzo_calls.h"
#include "dictionary/lzo_hash.h"
#include "dictionary/lzo_model.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

const Bytes kEnd = {0x11, 0, 0};

// The stream is the model's, and both decoders and the model read it.
testing::AssertionResult IsModels(const Bytes& in, const Bytes& stream) {
  if (stream != LzoModelEncode(in)) return testing::AssertionFailure() << "not the model's stream";
  if (LzoModelDecode(stream, in.size()) != in) return testing::AssertionFailure() << "not the model's output";
  if (LzoDecode(stream, in.size()) != in) return testing::AssertionFailure() << "does not come back";
  if (LzoDecode(stream, in.size(), LzoDecoder::kUnchecked) != in) {
    return testing::AssertionFailure() << "does not come back unchecked";
  }
  return testing::AssertionSuccess();
}

// `size` bytes in which nothing matches: every four bytes are others, of few hash values in common.
Bytes Noise(size_t size, uint64_t seed) { return RandomBytes(size, seed); }

Bytes Joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const Bytes& part : parts) Append(all, part);
  return all;
}

}  // namespace

TEST(LzoEncode, SizeErrorsInTheirOrder) {
  int32_t size = -7;
  EXPECT_EQ(zelsEncodeLZOGetSize(7, 0, nullptr), zelErrNullPtr);
  for (zelLZOMethod bad : {-1, 2, INT32_MIN, INT32_MAX}) {
    size = -7;
    EXPECT_EQ(zelsEncodeLZOGetSize(bad, 0, &size), zelErrBadArg);
    EXPECT_EQ(size, 0);
  }
}

TEST(LzoEncode, SizeForOneThreadIsAlwaysTheSame) {
  for (uint32_t len : {0u, 1u, 1000000u, UINT32_MAX}) {
    int32_t size = -7;
    EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodSingle, len, &size), zelOk);
    EXPECT_EQ(size, 65560);
  }
}

TEST(LzoEncode, InitErrorsInTheirOrderChangeNothing) {
  const GuardedBuffer memory(65560);
  auto* const state = reinterpret_cast<zelLZOState*>(memory.data());
  EXPECT_EQ(zelsEncodeLZOInit_8u(7, 0, nullptr), zelErrNullPtr);
  for (zelLZOMethod bad : {-1, 2, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(zelsEncodeLZOInit_8u(bad, 0, state), zelErrBadArg);
  }
  EXPECT_EQ(memory.ToBytes(), Bytes(65560));
}

TEST(LzoEncode, ErrorsInTheirOrderChangeNothing) {
  const LzoRecord record(zelLZOMethodSingle, 0);
  const Bytes src(20, 1);
  Bytes dst(200, 0xEE);
  uint32_t size = 77;
  EXPECT_EQ(zelsEncodeLZO_8u(src.data(), 0, dst.data(), &size, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZO_8u(nullptr, 0, dst.data(), &size, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZO_8u(src.data(), 0, nullptr, &size, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZO_8u(src.data(), 0, dst.data(), nullptr, record.get()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeLZO_8u(src.data(), 0x80000000u, dst.data(), &size, record.get()), zelErrSize);
  for (int32_t bad : {-1, 2, INT32_MIN, INT32_MAX}) {
    const GuardedBuffer memory(65560);
    std::memcpy(memory.data(), &bad, sizeof bad);
    auto* const state = reinterpret_cast<zelLZOState*>(memory.data());
    EXPECT_EQ(zelsEncodeLZO_8u(src.data(), 20, dst.data(), &size, state), zelErrBadArg);
    EXPECT_EQ(size, 77u);
  }
  EXPECT_EQ(dst, Bytes(200, 0xEE));
}

TEST(LzoEncode, NoInputMakesNoOutputWhateverTheMethod) {
  const GuardedBuffer memory(65560);
  const int32_t bad = 9;
  std::memcpy(memory.data(), &bad, sizeof bad);
  Bytes dst(10, 0xEE);
  uint32_t size = 77;
  auto* const state = reinterpret_cast<zelLZOState*>(memory.data());
  EXPECT_EQ(zelsEncodeLZO_8u(dst.data(), 0, dst.data(), &size, state), zelOk);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(dst, Bytes(10, 0xEE));
  EXPECT_EQ(LzoEncode({}), Bytes());
}

TEST(LzoEncode, InputOf1To17BytesIsOneRun) {
  for (size_t len = 1; len <= 17; ++len) {
    Bytes expected = {static_cast<uint8_t>(17 + len)};
    Append(expected, Bytes(len, 'x'));
    Append(expected, kEnd);
    EXPECT_EQ(LzoEncode(Bytes(len, 'x')), expected) << len;
  }
}

TEST(LzoEncode, HundredThousandEqualBytes) {
  Bytes expected = {22, 9, 9, 9, 9, 9, 0x20};
  // A match of 99995 bytes: 33 in the token, and 99962 = 392 * 255 + 2.
  Append(expected, Bytes((100000 - 5 - 33) / 255, 0));
  expected.push_back((100000 - 5 - 33) % 255);
  Append(expected, {0, 0});
  Append(expected, kEnd);
  EXPECT_EQ(LzoEncode(Bytes(100000, 9)), expected);
}

// Runs without a match around every length at which their form changes; 238 is the last that one byte tells.
TEST(LzoEncode, LongestRunsOfOneByteAndOfExtensions) {
  for (size_t len : {18, 19, 110, 111, 237, 238, 239, 272, 273, 274, 527, 528, 529, 530}) {
    Bytes in;
    for (size_t i = 0; i < len; ++i) in.push_back(static_cast<uint8_t>(i * i / 7 + 3 * i));
    const Bytes stream = LzoEncode(in);
    EXPECT_TRUE(IsModels(in, stream)) << len;
  }
  const Bytes noise = Noise(600, 41);
  EXPECT_EQ(LzoEncode(Front(noise, 238))[0], 255);
  EXPECT_EQ(Front(LzoEncode(Front(noise, 239)), 2), (Bytes{0, 221}));
  EXPECT_EQ(Front(LzoEncode(Front(noise, 273)), 3), (Bytes{0, 255, noise[0]}));
  EXPECT_EQ(Front(LzoEncode(Front(noise, 274)), 4), (Bytes{0, 0, 1, noise[0]}));
}

// A run before the first match follows another rule than one that nothing follows.
TEST(LzoEncode, FirstRunBeforeAMatch) {
  for (size_t len = 5; len <= 30; ++len) {
    Bytes in = Noise(len, len);
    Append(in, Bytes(40, in.back()));
    const Bytes stream = LzoEncode(in);
    EXPECT_TRUE(IsModels(in, stream)) << len;
    EXPECT_LT(stream[0], 128) << len;
  }
  // 111 literals and more would give a first byte of a container.
  for (size_t len : {100, 111, 238, 239}) {
    Bytes in = Noise(len, len);
    Append(in, Bytes(40, in.back()));
    EXPECT_EQ(LzoEncode(in)[0], 0) << len;
  }
}

// Noise, a piece of it again at every distance that matters, of every length that matters.
TEST(LzoEncode, EveryFormOfMatch) {
  const LzoRecord record(zelLZOMethodSingle, 0);
  for (size_t distance : {9, 10, 2047, 2048, 2049, 16383, 16384, 16385, 32767, 32768, 32769, 49150, 49151, 49152}) {
    for (size_t len : {3, 4, 8, 9, 10, 33, 34, 264, 265, 287, 288, 289, 520}) {
      if (len > 34 && distance < 600) continue;
      Bytes in = Noise(distance + len + 200, distance + len);
      // Behind a repeat that ends as the noise goes on, other bytes.
      for (size_t i = 0; i < len; ++i) in[100 + distance + i] = in[100 + i];
      in[100 + distance + len] = static_cast<uint8_t>(in[100 + len] + 1);
      ASSERT_TRUE(IsModels(in, LzoEncode(in, record))) << distance << ", " << len;
    }
  }
}

TEST(LzoEncode, EveryKindOfDataAtEveryShortLength) {
  const LzoRecord record(zelLZOMethodSingle, 0);
  for (const NamedData& kind : AllKinds(400)) {
    for (size_t len = 1; len <= kind.data.size(); ++len) {
      const Bytes in = Front(kind.data, len);
      ASSERT_TRUE(IsModels(in, LzoEncode(in, record, 1, len % 2 ? Guard::kBehind : Guard::kBefore)))
          << kind.name << ", " << len;
    }
  }
}

TEST(LzoEncode, EveryKindOfDataIsTheModels) {
  const LzoRecord record(zelLZOMethodSingle, 0, Guard::kBefore);
  for (const NamedData& kind : AllKinds(120000)) {
    if (kind.data.empty()) continue;
    EXPECT_TRUE(IsModels(kind.data, LzoEncode(kind.data, record))) << kind.name;
  }
}

// What the worst room is made for: runs of 19 and 22 bytes with matches that gain nothing between them.
TEST(LzoEncode, WorstCaseFitsItsRoom) {
  for (size_t run : {4, 5, 18, 19, 20, 23}) {
    for (size_t len : {3, 4}) {
      Bytes in = Noise(3000, run);
      Random random(run + len);
      while (in.size() < 60000) {
        Append(in, RandomBytes(run, random()));
        const size_t distance = Uniform(random, 20, len == 3 ? 2000 : 40000);
        for (size_t i = 0; i < len; ++i) in.push_back(in[in.size() - std::min(distance, in.size())]);
      }
      const Bytes stream = LzoEncode(in);
      EXPECT_TRUE(IsModels(in, stream)) << run << ", " << len;
      EXPECT_LE(stream.size(), in.size() + in.size() / 16 + 67);
    }
  }
}

// Old content of the record must not show: not of its memory, not of earlier calls.
TEST(LzoEncode, EarlierCallsDoNotShow) {
  const LzoRecord used(zelLZOMethodSingle, 0, Guard::kBehind, 0x01);
  for (size_t seed = 0; seed < 60; ++seed) {
    const Bytes in = seed % 3 == 0 ? Text(3000 + 700 * seed, seed / 4) : Mixed(100 + 50 * seed, seed / 4);
    const Bytes first = LzoEncode(in, used);
    EXPECT_EQ(LzoEncode(in, used), first);
    EXPECT_EQ(LzoEncode(in, LzoRecord(zelLZOMethodSingle, 0, Guard::kBefore, 0xFF)), first);
  }
}

// Long enough for positions to be renumbered, with matches across that, and one that goes far beyond it.
// A candidate must lie within the input, whatever the hash tables say.
TEST(LzoEncode, RecordsOfAnyContentBehindTheMethod) {
  constexpr size_t kSize = 2000;
  const Bytes inputs[] = {Bytes(kSize), SmallAlphabet(kSize, 3, 1)};
  for (const Bytes& in : inputs) {
    for (uint32_t entry = 0; entry < 70000; entry += 131) {
      const LzoRecord record(zelLZOMethodSingle, kSize);
      auto* const words = reinterpret_cast<uint32_t*>(record.get());
      std::fill(words + 3, words + 3 + 16384, entry);
      EXPECT_EQ(LzoDecode(LzoEncode(in, record, 1, Guard::kBefore), kSize), in) << entry;
    }
  }
  Random random(7);
  for (int round = 0; round < 50; ++round) {
    const LzoRecord record(zelLZOMethodSingle, kSize);
    auto* const words = reinterpret_cast<uint32_t*>(record.get());
    for (int i = 1; i < 65560 / 4; ++i) words[i] = static_cast<uint32_t>(random() >> (round % 2 == 0 ? 32 : 44));
    EXPECT_EQ(LzoDecode(LzoEncode(inputs[1], record, 1, Guard::kBefore), kSize), inputs[1]) << round;
  }
}

TEST(LzoEncode, MillionsOfBytesAreTheModels) {
  const LzoRecord record(zelLZOMethodSingle, 0);
  Bytes in = RepeatsAt(1200000, 40000, 200, 1);
  EXPECT_TRUE(IsModels(in, LzoEncode(in, record)));
  in = Joined({Text(300000, 2), Bytes(2500000, 7), Text(300000, 2)});
  EXPECT_TRUE(IsModels(in, LzoEncode(in, record)));
  EXPECT_TRUE(IsModels(in, LzoEncode(in, record)));
}

TEST(LzoEncode, RecordCanBeCopied) {
  const Bytes text = Text(5000, 1);
  const LzoRecord record(zelLZOMethodSingle, 0);
  const Bytes stream = LzoEncode(text, record);
  const GuardedBuffer copy(
      Bytes(reinterpret_cast<uint8_t*>(record.get()), reinterpret_cast<uint8_t*>(record.get()) + 65560));
  Bytes memory = copy.ToBytes();
  Bytes dst(text.size() * 2);
  uint32_t size = 0;
  EXPECT_EQ(zelsEncodeLZO_8u(text.data(), 5000, dst.data(), &size, reinterpret_cast<zelLZOState*>(memory.data())),
            zelOk);
  EXPECT_EQ(Front(dst, size), stream);
}

TEST(LzoEncode, SaltHasTheValuesOfItsGenerator) {
  const auto& salt = zeldc::zelLZOHashSalt.row;
  EXPECT_EQ(std::vector<int>(salt[0], salt[0] + 4), (std::vector<int>{41, 18467, 6334, 26500}));
  EXPECT_EQ(std::vector<int>(salt[1], salt[1] + 2), (std::vector<int>{26362, 4886}));
  EXPECT_EQ(std::vector<int>(salt[2], salt[2] + 2), (std::vector<int>{29790, 14924}));
  EXPECT_EQ(std::vector<int>(salt[3], salt[3] + 2), (std::vector<int>{14423, 3527}));
  EXPECT_EQ(*std::min_element(&salt[0][0], &salt[0][0] + 1024), 28);
  EXPECT_EQ(*std::max_element(&salt[0][0], &salt[0][0] + 1024), 32757);
  for (int row = 0; row < 4; ++row) {
    for (int byte = 0; byte < 256; ++byte) EXPECT_EQ(salt[row][byte], LzoSalt(row, byte));
  }
}
