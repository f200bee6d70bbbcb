// Encoding of intervals: statuses, sizes, edge cases, and the plain definition on data of every kind.

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

Bytes Put(std::initializer_list<uint64_t> intervals) {
  PlainGitStatistics statistics;
  Bits bits;
  for (uint64_t interval : intervals) PlainGitPut(interval, &statistics, &bits);
  return PlainGitStream(bits);
}

}  // namespace

TEST(GitEncodeSize, FollowsFromTheLimits) {
  int32_t size = 0;
  EXPECT_EQ(zelsEncodeGITGetSize_8u(4096, 1, &size), zelOk);
  EXPECT_EQ(size, 256 * 4096 + 33912);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(4103, 8207, &size), zelOk);
  EXPECT_EQ(size, 256 * 4096 + 8200 + 33912);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(1 << 20, 1 << 21, &size), zelOk);
  EXPECT_EQ(size, (256 << 20) + (2 << 20) + 33912);
}

TEST(GitEncodeSize, RaisesBothLimitsOfSmallBlocks) {
  for (int32_t max_src_len : {1, 100, 4095}) {
    for (int32_t max_dst_len : {1, 100000, kMost}) {
      int32_t size = 0;
      EXPECT_EQ(zelsEncodeGITGetSize_8u(max_src_len, max_dst_len, &size), zelWarnDstFull);
      EXPECT_EQ(size, 256 * 4096 + 8192 + 33912);
    }
  }
}

TEST(GitEncodeSize, ChecksPointerThenLengths) {
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeGITGetSize_8u(0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(0, 1, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(1, 0, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(-1, 5000, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(5000, -1, &size), zelErrSize);
  EXPECT_EQ(size, 77);
}

TEST(GitEncodeSize, ThirtyTwoBitsAreTheLimit) {
  const int32_t largest = (kMost - 33912) / 256 / 8 * 8;
  const int32_t rest = (kMost - 33912 - 256 * largest) / 8 * 8 + 7;
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeGITGetSize_8u(largest, rest, &size), zelOk);
  EXPECT_GT(size, kMost - 8);
  size = 77;
  EXPECT_EQ(zelsEncodeGITGetSize_8u(largest, rest + 1, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(largest + 8, 1, &size), zelErrSize);
  EXPECT_EQ(zelsEncodeGITGetSize_8u(kMost, kMost, &size), zelErrSize);
  EXPECT_EQ(size, 77);
}

TEST(GitEncodeInit, AnswersAsTheSizeDoes) {
  Bytes memory(256 * 5000 + 40000);
  auto* const state = reinterpret_cast<zelGITEncodeState*>(memory.data());
  EXPECT_EQ(zelsEncodeGITInit_8u(0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGITInit_8u(0, 1, state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInit_8u(1, 0, state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInit_8u(kMost, 1, state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInit_8u(4096, kMost, state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInit_8u(4095, kMost, state), zelWarnDstFull);
  EXPECT_EQ(zelsEncodeGITInit_8u(4096, 1, state), zelOk);
}

TEST(GitEncode, ChecksPointersThenTheLength) {
  GitEncoder encoder(5000, 9000);
  uint8_t byte = 0;
  Bytes room(9000, 0xEE);
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeGIT_8u(nullptr, 5001, room.data(), &size, 1, encoder.state()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGIT_8u(&byte, 5001, nullptr, &size, 1, encoder.state()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGIT_8u(&byte, 5001, room.data(), nullptr, 1, encoder.state()), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGIT_8u(&byte, 5001, room.data(), &size, 1, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(0, 1, nullptr), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(1, 1, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsEncodeGIT_8u(&byte, 5001, room.data(), &size, 1, encoder.state()), zelErrSize);
  EXPECT_EQ(zelsEncodeGIT_8u(&byte, -1, room.data(), &size, 1, encoder.state()), zelErrSize);
  EXPECT_EQ(size, 77);
  EXPECT_EQ(room, Bytes(9000, 0xEE));
}

TEST(GitEncode, ARaisedRecordTakes4096Bytes) {
  GitEncoder encoder(1, 1);
  const Bytes block = Text(4096, 1);
  EXPECT_EQ(encoder.Encode(block, 1), PlainGitEncode(block, 1));
  Bytes room(20000);
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeGIT_8u(room.data(), 4097, room.data(), &size, 1, encoder.state()), zelErrSize);
}

TEST(GitEncode, TheRecordLimitsTheContainerAndWhatDstLenHeldDoesNot) {
  const Bytes block = RandomBytes(5000, 2);
  const Bytes container = PlainGitEncode(block, 2);
  const int32_t needed = static_cast<int32_t>(container.size());
  for (int32_t held : {-5, 0, kMost}) {
    const GuardedBuffer room(container.size());
    int32_t size = held;
    GitEncoder just_right(5000, needed);
    ASSERT_EQ(zelsEncodeGIT_8u(block.data(), 5000, room.data(), &size, 2, just_right.state()), zelOk);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(room.ToBytes(), container);
  }
  GitEncoder too_small(5000, needed - 1);
  Bytes untouched(container.size(), 0xEE);
  int32_t size = 77;
  EXPECT_EQ(zelsEncodeGIT_8u(block.data(), 5000, untouched.data(), &size, 2, too_small.state()), zelErrSize);
  EXPECT_EQ(size, 77);
  EXPECT_EQ(untouched, Bytes(container.size(), 0xEE));
  // The record is as good as new.
  GitEncoder fresh(5000, needed - 1);
  EXPECT_EQ(too_small.Encode(Bytes(100, 'x'), 2), fresh.Encode(Bytes(100, 'x'), 2));
}

TEST(GitEncode, AnEmptyBlockIsPrimingAndEndMarker) {
  GitEncoder encoder(1, 1);
  std::vector<Bytes> streams;
  for (uint64_t s = 0; s < 255; ++s) streams.push_back(Put({255 - s}));
  streams.push_back(Put({1}));
  for (int strategy : {0, 1, 2, 4}) EXPECT_EQ(encoder.Encode({}, strategy), GitContainer(streams));
  // Without priming there are no intervals, and no byte 0.
  streams.assign(255, Bytes{0xFF});
  streams.push_back(Put({0}));
  EXPECT_EQ(encoder.Encode({}, 3), GitContainer(streams));
}

TEST(GitEncode, OfByteZeroOnlyTheNumberIsCoded) {
  GitEncoder encoder(1, 1);
  std::vector<Bytes> streams(255, Bytes{0xFF});
  streams.push_back({0x00, 0xBF});  // 0, and 5 in ten bits
  EXPECT_EQ(encoder.Encode(Bytes(5, 0), 3), GitContainer(streams));
}

TEST(GitEncode, ByHandForThreeValues) {
  // In the row 2 stands left of 1, and 1 left of 0. Intervals: of 2 first 1, which the 0 gives, then 2; of 1 first 1.
  GitEncoder encoder(1, 1);
  std::vector<Bytes> streams(256, Bytes{0xFF});
  // 1 in ten bits makes the parameter 1; 2 is a one, a zero and a 0.
  streams[255 - 2] = {0x00, 0b00110011};
  streams[255 - 1] = {0x00, 0b00111111};
  streams[255] = {0x00, 0b01011111};
  EXPECT_EQ(encoder.Encode({0, 2, 1, 0, 2}, 3), GitContainer(streams));
}

TEST(GitEncode, ZeroCountsAsStrategyOne) {
  GitEncoder encoder(20000, 40000);
  for (const NamedData& input : AllKinds(20000)) {
    EXPECT_EQ(encoder.Encode(input.data, 0), encoder.Encode(input.data, 1)) << input.name;
  }
}

TEST(GitEncode, IsThePlainDefinitionOnDataOfEveryKind) {
  GitEncoder encoder(20000, 50000);
  for (const NamedData& input : AllKinds(20000)) {
    for (int strategy : kStrategies) {
      EXPECT_TRUE(encoder.Encode(input.data, strategy) == PlainGitEncode(input.data, strategy))
          << input.name << ", strategy " << strategy;
    }
  }
}

TEST(GitEncode, IsThePlainDefinitionWhereTheOriginOfCountsMoves) {
  GitEncoder encoder(200000, 400000);
  const Bytes block = Mixed(200000, 5);
  for (int strategy : {1, 2, 3}) {
    EXPECT_TRUE(encoder.Encode(block, strategy) == PlainGitEncode(block, strategy)) << strategy;
  }
}

// Long waits are escaped: with a parameter of 1 one of 100000 takes a field of 16 bits, one of 600000 a field of 32.
TEST(GitEncode, LongIntervalsAreThoseOfThePlainDefinition) {
  GitEncoder encoder(700000, 300000);
  for (size_t wait : {100, 8191, 8192, 65535, 65536, 70000, 530000, 600000}) {
    Bytes block(20, 'x');
    block.insert(block.end(), wait, 'b');
    block.insert(block.end(), 20, 'x');
    block.insert(block.end(), wait / 10, 'c');
    for (int strategy : {1, 2, 3}) {
      EXPECT_TRUE(encoder.Encode(block, strategy) == PlainGitEncode(block, strategy)) << wait << ", " << strategy;
    }
  }
}

TEST(GitEncode, ARecordMayStandAtAnyMultipleOfFour) {
  int32_t size = 0;
  ASSERT_EQ(zelsEncodeGITGetSize_8u(5000, 6001, &size), zelOk);
  const Bytes block = Text(5000, 3);
  const Bytes expected = PlainGitEncode(block, 1);
  for (size_t offset = 0; offset < 64; offset += 4) {
    const GuardedBuffer memory(static_cast<size_t>(size) + offset, Guard::kBefore);
    auto* const state = reinterpret_cast<zelGITEncodeState*>(memory.data() + offset);
    ASSERT_EQ(zelsEncodeGITInit_8u(5000, 6001, state), zelOk);
    Bytes container(6001);
    int32_t length = 0;
    ASSERT_EQ(zelsEncodeGIT_8u(block.data(), 5000, container.data(), &length, 1, state), zelOk);
    container.resize(static_cast<size_t>(length));
    ASSERT_EQ(container, expected) << offset;
  }
}
