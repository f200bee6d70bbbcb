// Decoding of intervals: statuses, blocks of every kind, and the plain definition on containers that nobody wrote.

#include <string.h>

#include <numeric>

#include "entropy/git_calls.h"
#include "entropy/git_model.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

constexpr int kStrategies[] = {0, 1, 2, 3, 4, -1};
constexpr int32_t kMost = 0x7FFFFFFF;

void ExpectAsPlain(const Bytes& container, int strategy, size_t room, const std::string& what) {
  const GitDecoded got = GitDecode(container, strategy, room);
  const PlainGitDecoded expected = PlainGitDecode(container, strategy, room);
  EXPECT_EQ(got.status, expected.too_long ? zelErrSize : zelOk) << what << ", strategy " << strategy;
  EXPECT_TRUE(got.block == expected.block)
      << what << ", strategy " << strategy << ": " << got.block.size() << " bytes for " << expected.block.size();
}

Bytes Put(const std::vector<uint64_t>& intervals) {
  PlainGitStatistics statistics;
  Bits bits;
  for (uint64_t interval : intervals) PlainGitPut(interval, &statistics, &bits);
  return PlainGitStream(bits);
}

}  // namespace

TEST(GitDecodeSize, FollowsFromTheLength) {
  int32_t size = 0;
  EXPECT_EQ(zelsDecodeGITGetSize_8u(1, &size), zelOk);
  EXPECT_EQ(size, 28824);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(100, &size), zelOk);
  EXPECT_EQ(size, 256 * 96 + 28824);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(1 << 20, &size), zelOk);
  EXPECT_EQ(size, (256 << 20) + 28824);
}

TEST(GitDecodeSize, ChecksPointerThenLength) {
  int32_t size = 77;
  EXPECT_EQ(zelsDecodeGITGetSize_8u(0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(0, &size), zelErrSize);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(-8, &size), zelErrSize);
  const int32_t largest = (kMost - 28824) / 256 / 8 * 8 + 7;
  EXPECT_EQ(zelsDecodeGITGetSize_8u(largest + 1, &size), zelErrSize);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(kMost, &size), zelErrSize);
  EXPECT_EQ(size, 77);
  EXPECT_EQ(zelsDecodeGITGetSize_8u(largest, &size), zelOk);
}

TEST(GitDecodeInit, ChecksPointerThenLength) {
  Bytes memory(28824);
  auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data());
  EXPECT_EQ(zelsDecodeGITInit_8u(0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGITInit_8u(0, state), zelErrSize);
  EXPECT_EQ(zelsDecodeGITInit_8u(-1, state), zelErrSize);
  EXPECT_EQ(memory, Bytes(28824));
  EXPECT_EQ(zelsDecodeGITInit_8u(kMost, state), zelOk);
}

TEST(GitDecode, ChecksPointersAndNothingElse) {
  Bytes memory(28824);
  auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data());
  ASSERT_EQ(zelsDecodeGITInit_8u(10, state), zelOk);
  uint8_t src = 0;
  uint8_t dst = 0xEE;
  int32_t size = 77;
  EXPECT_EQ(zelsDecodeGIT_8u(nullptr, 1, &dst, &size, 1, state), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGIT_8u(&src, 1, nullptr, &size, 1, state), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGIT_8u(&src, 1, &dst, nullptr, 1, state), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGIT_8u(&src, 1, &dst, &size, 1, nullptr), zelErrNullPtr);
  EXPECT_EQ(size, 77);
  for (int32_t length : {-kMost - 1, -1, 0, 1}) {
    for (int strategy : kStrategies) {
      size = 77;
      EXPECT_EQ(zelsDecodeGIT_8u(&src, length, &dst, &size, strategy, state), zelOk);
      EXPECT_EQ(size, 0);
    }
  }
  EXPECT_EQ(dst, 0xEE);
}

TEST(GitDecode, GivesBlocksOfEveryKindBack) {
  GitEncoder encoder(100000, 300000);
  for (const NamedData& input : AllKinds(100000)) {
    for (int strategy : kStrategies) {
      const GitDecoded got = GitDecode(encoder.Encode(input.data, strategy), strategy, input.data.size());
      EXPECT_EQ(got.status, zelOk) << input.name;
      EXPECT_TRUE(got.block == input.data) << input.name << ", strategy " << strategy;
    }
  }
}

TEST(GitDecode, GivesBlocksWithLongWaitsBack) {
  GitEncoder encoder(900000, 300000);
  for (size_t wait : {8192, 32768, 65535, 65536, 66000, 98304, 131072, 600000}) {
    for (uint8_t filler : {'b', '\0'}) {
      Bytes block(20, 'x');
      block.insert(block.end(), wait, filler);
      block.insert(block.end(), 20, 'x');
      block.insert(block.end(), wait / 3, 'a');
      block.push_back('x');
      for (int strategy : {1, 2, 3}) {
        const GitDecoded got = GitDecode(encoder.Encode(block, strategy), strategy, block.size());
        EXPECT_EQ(got.status, zelOk);
        EXPECT_TRUE(got.block == block) << wait << ", strategy " << strategy;
      }
    }
  }
}

TEST(GitDecode, TheRecordLimitsTheBlockWithoutItsPriming) {
  GitEncoder encoder(5000, 10000);
  for (const Bytes& block : {Text(5000, 1), Bytes(5000, 0), RandomBytes(5000, 2)}) {
    for (int strategy : kStrategies) {
      const Bytes container = encoder.Encode(block, strategy);
      const GitDecoded enough = GitDecode(container, strategy, 5000);
      EXPECT_EQ(enough.status, zelOk);
      EXPECT_EQ(enough.block, block);
      const GitDecoded short_by_one = GitDecode(container, strategy, 4999);
      EXPECT_EQ(short_by_one.status, zelErrSize);
      EXPECT_EQ(short_by_one.block, Front(block, 4999));
      EXPECT_EQ(GitDecode(container, strategy, 1).status, zelErrSize);
    }
  }
}

TEST(GitDecode, StreamsMayBeLongerThanTheRecordsShare) {
  // The record of GitDecode is one for a byte; the streams of this block have thousands.
  GitEncoder encoder(50000, 100000);
  const Bytes block = SmallAlphabet(50000, 2, 1);
  const Bytes container = encoder.Encode(block, 1);
  ASSERT_GT(container.size(), 5000u);
  EXPECT_EQ(GitDecode(container, 1, block.size()).block, block);
}

TEST(GitDecode, ARecordMayStandAtAnyMultipleOfFour) {
  GitEncoder encoder(5000, 10000);
  const Bytes block = Mixed(5000, 3);
  const Bytes container = encoder.Encode(block, 1);
  for (size_t offset = 0; offset < 64; offset += 4) {
    const GuardedBuffer memory(28824 + offset, Guard::kBefore);
    auto* const state = reinterpret_cast<zelGITDecodeState*>(memory.data() + offset);
    ASSERT_EQ(zelsDecodeGITInit_8u(5000, state), zelOk);
    Bytes back(5000);
    int32_t length = 0;
    ASSERT_EQ(
        zelsDecodeGIT_8u(container.data(), static_cast<int32_t>(container.size()), back.data(), &length, 1, state),
        zelOk);
    ASSERT_EQ(back, block) << offset;
  }
}

TEST(GitHostile, AStreamEndsWithItsLastCompleteInterval) {
  // Byte 1 after each third 0; the second interval lacks its last bit, which ones would make longer.
  std::vector<Bytes> streams(256, Bytes{0xFF});
  streams[254] = {0x00, 0b01111111};
  streams[255] = Put({7});
  const Bytes container = GitContainer(streams);
  EXPECT_EQ(GitDecode(container, 3, 100).block, (Bytes{0, 0, 0, 1, 0, 0, 0, 0}));
  ExpectAsPlain(container, 3, 100, "cut interval");
}

TEST(GitHostile, TheEndMarkerBoundsTheZerosAndNothingElse) {
  std::vector<Bytes> streams(256, Bytes{0xFF});
  streams[254] = Put({2, 2, 2, 2, 2});
  for (uint64_t zeros : {0, 1, 2, 3, 5, 8191, 8192, 100000}) {
    streams[255] = Put({zeros});
    ExpectAsPlain(GitContainer(streams), 3, 200000, std::to_string(zeros) + " zeros");
  }
  // Values that are due at once come without any zero.
  streams[254] = Put(std::vector<uint64_t>(1000, 0));
  streams[255] = Put({0});
  EXPECT_EQ(GitDecode(GitContainer(streams), 3, 2000).block, Bytes(1000, 1));
  streams[255] = {};
  EXPECT_EQ(GitDecode(GitContainer(streams), 3, 2000).block, Bytes(1000, 1));
}

TEST(GitHostile, APrimingThatDoesNotComeIsAnEmptyBlock) {
  std::vector<Bytes> streams(256, Bytes{0xFF});
  streams[255] = Put({255});
  EXPECT_EQ(GitDecode(GitContainer(streams), 1, 10).block, Bytes());
  streams[255] = Put({256});
  EXPECT_EQ(GitDecode(GitContainer(streams), 1, 10).block, Bytes());
  streams[255] = Put({258});
  EXPECT_EQ(GitDecode(GitContainer(streams), 1, 10).block, Bytes(2, 0));
}

TEST(GitHostile, IntervalsThatNoBlockHasAreNeverDue) {
  for (uint64_t interval : {uint64_t{0x7FFFFFFF}, uint64_t{0x80000000}, uint64_t{0xFFFFFFFE}, uint64_t{0xFFFFFFFF},
                            uint64_t{1} << 32, (uint64_t{1} << 32) + 3, uint64_t{1} << 34}) {
    std::vector<Bytes> streams(256, Bytes{0xFF});
    // With a parameter of 1 as well as with 10: fields of 32 bits and of 40.
    streams[253] = Put({0, interval});
    streams[254] = Put({interval});
    streams[255] = Put({100000});
    EXPECT_TRUE(GitDecode(GitContainer(streams), 3, 100001).block.size() == 100001) << interval;
    ExpectAsPlain(GitContainer(streams), 3, 1000, std::to_string(interval));
  }
  // Escapes without end.
  for (size_t size : {1, 2, 7, 8, 9, 100, 100000}) {
    std::vector<Bytes> streams(256, Bytes(size, 0xFF));
    streams[255] = Put({300});
    for (int strategy : kStrategies) EXPECT_EQ(GitDecode(GitContainer(streams), strategy, 1000).status, zelOk);
  }
}

TEST(GitHostile, TruncatedContainersAreThoseOfThePlainDefinition) {
  GitEncoder encoder(3000, 10000);
  const Bytes block = Text(3000, 9);
  for (int strategy : {1, 2, 3}) {
    const Bytes container = encoder.Encode(block, strategy);
    for (size_t size = 0; size < container.size(); size += size < 40 ? 3 : 211) {
      ExpectAsPlain(Front(container, size), strategy, 20000, std::to_string(size) + " bytes");
    }
  }
}

TEST(GitHostile, LengthsThatLieAreThoseOfThePlainDefinition) {
  GitEncoder encoder(2000, 10000);
  Random random(4);
  for (int i = 0; i < 60; ++i) {
    const int strategy = kStrategies[i % 6];
    Bytes container = encoder.Encode(Text(2000, static_cast<uint64_t>(i)), strategy);
    for (int j = 0; j < 3; ++j) container[Uniform(random, 0, 500) / 5 * 5] = static_cast<uint8_t>(random());
    if (i % 3 == 0) memset(container.data(), 0xFF, 4);
    ExpectAsPlain(container, strategy, Uniform(random, 1, 6000), "container " + std::to_string(i));
  }
}

TEST(GitHostile, DamagedStreamsAreThoseOfThePlainDefinition) {
  Random random(5);
  GitEncoder encoder(3000, 10000);
  for (int i = 0; i < 90; ++i) {
    const int strategy = kStrategies[i % 6];
    const Bytes block = i % 2 == 0 ? Runs(3000, 40, random()) : SmallAlphabet(3000, 20, random());
    Bytes container = encoder.Encode(block, strategy);
    for (int j = 0; j < 1 + i % 7; ++j) {
      container[Uniform(random, 0, container.size() - 1)] ^= static_cast<uint8_t>(1u << random() % 8);
    }
    ExpectAsPlain(container, strategy, 8000, "container " + std::to_string(i));
  }
}

TEST(GitHostile, StreamsOfRandomBitsAreThoseOfThePlainDefinition) {
  Random random(6);
  for (int i = 0; i < 60; ++i) {
    std::vector<Bytes> streams(256);
    for (size_t s = 0; s < 256; ++s) {
      if (random() % 4 != 0) streams[s] = RandomBytes(Uniform(random, 0, 40), random());
      if (random() % 8 == 0) streams[s] = Bytes(Uniform(random, 0, 20), 0);
    }
    streams[255] = Put({Uniform(random, 0, 5000)});
    ExpectAsPlain(GitContainer(streams), kStrategies[i % 6], 9000, "streams " + std::to_string(i));
  }
}
