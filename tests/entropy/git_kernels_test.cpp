// What is inside the interval coder: vector kernels against plain ones, statistics and codes against their definition.

#include <string.h>

#include "entropy/git_bit_streams.h"
#include "entropy/git_due_bytes.h"
#include "entropy/git_interval_reader.h"
#include "entropy/git_intervals.h"
#include "entropy/git_model.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"

namespace {

using namespace zeldc;
using namespace zeldc_test;

constexpr size_t kCapacity = 4096;

struct Taken {
  std::vector<uint32_t> intervals;
  Bytes streams;
  GitIntervals row;
};

template <GitMove kMove, typename Sums>
Taken TakeAll(const Bytes& block, size_t batch) {
  Taken all;
  GitReset(&all.row);
  std::vector<uint32_t> intervals(batch);
  Bytes streams(batch);
  for (size_t at = 0; at < block.size(); at += batch) {
    const size_t n = std::min(batch, block.size() - at);
    if (all.row.since_origin + n > 65535) GitMoveOrigin(&all.row);
    const size_t taken = GitTakeBytes<kMove, Sums>(&all.row, block.data() + at, n, {intervals.data(), streams.data()});
    all.intervals.insert(all.intervals.end(), intervals.data(), intervals.data() + taken);
    all.streams.insert(all.streams.end(), streams.data(), streams.data() + taken);
  }
  return all;
}

template <GitMove kMove>
void ExpectSameIntervals(const Bytes& block, const std::string& name) {
  // Batches as long as the sums allow, and small ones with other origins.
  const Taken plain = TakeAll<kMove, GitPlainSums>(block, 65535);
  for (size_t batch : {65535, 509}) {
    const Taken vector = TakeAll<kMove, GitSums>(block, batch);
    EXPECT_TRUE(vector.intervals == plain.intervals) << name << ", batches of " << batch;
    EXPECT_TRUE(vector.streams == plain.streams) << name;
    EXPECT_EQ(memcmp(vector.row.symbols, plain.row.symbols, 256), 0) << name;
    EXPECT_EQ(memcmp(vector.row.counts, plain.row.counts, 1024), 0) << name;
  }
}

GitBitStream FreshStream() { return {0, 0, 0, kGitFirstK, 0, 0}; }

// Intervals of all sizes up to 2^31, among them runs of similar ones.
std::vector<uint32_t> SomeIntervals(uint64_t seed, int most_bits) {
  Random random(seed);
  std::vector<uint32_t> intervals;
  uint64_t total = 0;
  while (intervals.size() < 300) {
    const uint64_t bits = Uniform(random, 0, static_cast<size_t>(most_bits));
    for (size_t i = Uniform(random, 1, 30); i > 0; --i) {
      const uint64_t interval = random() & ((uint64_t{1} << bits) - 1);
      if ((total += interval) > 0x80000000) return intervals;
      intervals.push_back(static_cast<uint32_t>(interval));
    }
  }
  return intervals;
}

template <typename Due>
std::vector<uint32_t> PositionsOf(GitSlack* slack, const std::vector<uint16_t>& next) {
  std::vector<uint32_t> positions;
  Due due(slack);
  for (const uint16_t& interval : next) {
    const uint32_t block = due.FirstBlock();
    if (block == kGitDueBlocks) break;
    positions.push_back(block * kGitDueLanes + slack->first[block]);
    due.Occur(block, slack->first[block], &interval);
  }
  due.Store();
  return positions;
}

}  // namespace

TEST(GitKernels, VectorSumsCountAsPlainOnes) {
  for (const NamedData& input : AllKinds(150000)) {
    ExpectSameIntervals<GitMove::kNone>(input.data, input.name);
    ExpectSameIntervals<GitMove::kLeft>(input.data, input.name);
    ExpectSameIntervals<GitMove::kRight>(input.data, input.name);
  }
}

TEST(GitKernels, EveryPositionCountsForThoseLeftOfIt) {
  for (uint32_t position = 0; position < 256; ++position) {
    GitIntervals row;
    GitReset(&row);
    GitSums sums(&row);
    sums.Add(position);
    for (uint32_t other = 0; other < 256; ++other) {
      ASSERT_EQ(GitRightSum(&row, other), other < position ? 1u : 0u) << position << " " << other;
    }
  }
}

TEST(GitKernels, SnapshotsWrapBelowZeroWhenTheOriginMoves) {
  GitIntervals row;
  GitReset(&row);
  const Bytes block(1000, 'a');
  std::vector<uint32_t> intervals(1000);
  Bytes streams(1000);
  for (int i = 0; i < 70; ++i) {
    if (row.since_origin + 1000 > 65535) GitMoveOrigin(&row);
    GitTakeBytes<GitMove::kNone, GitSums>(&row, block.data(), 1000, {intervals.data(), streams.data()});
  }
  EXPECT_GT(row.snapshots[uint8_t{'b'}], 0x80000000u);
  const uint8_t b = 'b';
  GitTakeBytes<GitMove::kNone, GitSums>(&row, &b, 1, {intervals.data(), streams.data()});
  EXPECT_EQ(intervals[0], 70000u);
}

TEST(GitKernels, StatisticsAdaptByTheirDefinition) {
  for (uint64_t seed = 0; seed < 200; ++seed) {
    uint32_t sum = 0;
    uint8_t phase = 0;
    uint8_t k = kGitFirstK;
    PlainGitStatistics plain;
    for (uint32_t interval : SomeIntervals(seed, 1 + static_cast<int>(seed % 31))) {
      GitAdapt(interval, &sum, &phase, &k);
      plain.Update(interval);
      ASSERT_EQ(sum, plain.sum);
      ASSERT_EQ(k, plain.k) << "sum " << sum << ", count " << plain.count;
    }
  }
  // Sums around every multiple of a count by a power of two.
  for (uint32_t count = 1; count <= 8; ++count) {
    for (int bits = 0; bits < 28; ++bits) {
      for (int64_t offset = -2; offset <= 2; ++offset) {
        const int64_t wanted = (int64_t{count} << bits) + offset;
        if (wanted < 0) continue;
        uint32_t sum = 0;
        uint8_t phase = 0;
        uint8_t k = kGitFirstK;
        PlainGitStatistics plain;
        for (uint32_t i = 0; i < count; ++i) {
          const uint32_t interval = i + 1 < count ? 0 : static_cast<uint32_t>(wanted);
          GitAdapt(interval, &sum, &phase, &k);
          plain.Update(interval);
        }
        ASSERT_EQ(k, plain.k) << wanted << " of " << count;
      }
    }
  }
}

TEST(GitKernels, IntervalsAreWrittenAndReadByTheirDefinition) {
  for (uint64_t seed = 0; seed < 300; ++seed) {
    const std::vector<uint32_t> intervals = SomeIntervals(seed, 1 + static_cast<int>(seed % 31));
    Bytes buffer(kCapacity + GitBuffers::kGap);
    GitBitStream stream = FreshStream();
    PlainGitStatistics plain;
    Bits bits;
    for (uint32_t interval : intervals) {
      GitPutInterval(&stream, buffer.data(), kCapacity, interval);
      PlainGitPut(interval, &plain, &bits);
      ASSERT_EQ(stream.k, plain.k);
    }
    buffer.resize(GitFinish(&stream, buffer.data(), kCapacity));
    ASSERT_EQ(buffer, PlainGitStream(bits)) << seed;

    const GuardedBuffer source(buffer);
    GitStreamReader reader = {0, static_cast<uint32_t>(buffer.size()), 0, 0, kGitFirstK, 0};
    GitStreamReader careful = reader;
    for (uint32_t interval : intervals) {
      ASSERT_EQ(GitReadInterval(&reader, source.data(), static_cast<uint32_t>(source.size())), interval) << seed;
      ASSERT_EQ(GitReadCarefully(&careful, source.data()), interval) << seed;
      ASSERT_EQ(reader.k, careful.k);
    }
    EXPECT_EQ(GitReadInterval(&reader, source.data(), static_cast<uint32_t>(source.size())), kGitNever);
    EXPECT_EQ(GitReadCarefully(&careful, source.data()), kGitNever);
  }
}

TEST(GitKernels, AnEscapeLeavesTheStatisticsAlone) {
  // With a parameter of 8, 3000 is 11 times 2^8 and more: eight ones, then 3000 - 2048 in 16 bits behind two zeros.
  GitBitStream stream = FreshStream();
  stream.k = 8;
  stream.sum = 1000;
  stream.phase = 5;
  uint8_t buffer[kCapacity + GitBuffers::kGap];
  GitPutInterval(&stream, buffer, kCapacity, 3000);
  EXPECT_EQ(stream.k, 8);
  EXPECT_EQ(stream.sum, 1000u);
  EXPECT_EQ(stream.phase, 5);
  ASSERT_EQ(GitFinish(&stream, buffer, kCapacity), 4u);
  EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{0xFF, 0x00, 0xEE, 0b00111111}));

  const GuardedBuffer source(Bytes(buffer, buffer + 4));
  GitStreamReader reader = {0, 4, 1000, 5, 8, 0};
  EXPECT_EQ(GitReadInterval(&reader, source.data(), static_cast<uint32_t>(source.size())), 3000u);
  EXPECT_EQ(reader.k, 8);
  EXPECT_EQ(reader.sum, 1000u);
  EXPECT_EQ(reader.phase, 5);
}

TEST(GitKernels, EscapesWithFieldsOf32BitsAndMore) {
  for (uint8_t k = 1; k <= 28; ++k) {
    for (uint64_t interval :
         {uint64_t{8} << k, (uint64_t{8} << k) + 1, uint64_t{524287} + 2224, uint64_t{524288} + 2224, uint64_t{600000},
          uint64_t{0x12345678}, uint64_t{0x7FFFFFFF}, uint64_t{0xFFFFFFFE}}) {
      if (interval >> k < 8 || interval >= kGitNever) continue;
      GitBitStream stream = FreshStream();
      stream.k = k;
      PlainGitStatistics plain;
      plain.k = k;
      Bits bits;
      Bytes buffer(kCapacity + GitBuffers::kGap);
      GitPutInterval(&stream, buffer.data(), kCapacity, static_cast<uint32_t>(interval));
      PlainGitPut(interval, &plain, &bits);
      buffer.resize(GitFinish(&stream, buffer.data(), kCapacity));
      ASSERT_EQ(buffer, PlainGitStream(bits)) << interval << " with " << int{k};
      const GuardedBuffer source(buffer);
      GitStreamReader reader = {0, static_cast<uint32_t>(buffer.size()), 0, 0, k, 0};
      ASSERT_EQ(GitReadInterval(&reader, source.data(), static_cast<uint32_t>(source.size())), interval) << int{k};
    }
  }
}

TEST(GitKernels, AFullStreamTakesNoMoreBits) {
  for (size_t capacity = 0; capacity < 40; ++capacity) {
    const GuardedBuffer buffer(capacity + GitBuffers::kGap);
    GitBitStream stream = FreshStream();
    PlainGitStatistics plain;
    Bits bits;
    for (uint32_t i = 0; i < 60; ++i) {
      const uint32_t interval = i * 977 % 600 * (i % 9 == 0 ? 1000 : 1);
      GitPutInterval(&stream, buffer.data(), capacity, interval);
      PlainGitPut(interval, &plain, &bits);
    }
    const size_t size = GitFinish(&stream, buffer.data(), capacity);
    EXPECT_EQ(size, capacity);
    EXPECT_EQ(Front(buffer.ToBytes(), size), PlainGitStream(bits, capacity)) << capacity;
    for (size_t i = capacity + 8; i < buffer.size(); ++i) ASSERT_EQ(buffer.data()[i], 0) << capacity;
  }
}

TEST(GitKernels, VectorsFindTheSameDueBytesAsPlainCode) {
  Random random(7);
  for (int round = 0; round < 300; ++round) {
    // Few zeros and small slack: most of the row takes part.
    const size_t most = round % 3 == 0 ? 3 : round % 3 == 1 ? 300 : 65535;
    uint32_t slack[256];
    for (uint32_t& one : slack) {
      one = static_cast<uint32_t>(random() % 20 == 0 ? uint64_t{kGitNever} : Uniform(random, 0, most));
    }
    slack[255] = kGitNever;
    std::vector<uint16_t> next(3000);
    for (uint16_t& one : next) one = static_cast<uint16_t>(Uniform(random, 0, most) * Uniform(random, 0, 1));
    GitSlack plain;
    GitSetSlack(&plain, slack);
    GitSlack vector = plain;
    const std::vector<uint32_t> expected = PositionsOf<GitPlainDue>(&plain, next);
    ASSERT_EQ(PositionsOf<GitDue>(&vector, next), expected) << round;
    ASSERT_EQ(memcmp(plain.least, vector.least, sizeof(plain.least)), 0) << round;
    ASSERT_EQ(memcmp(plain.slack, vector.slack, sizeof(plain.slack)), 0) << round;
    ASSERT_EQ(memcmp(plain.first, vector.first, sizeof(plain.first)), 0) << round;
  }
}

TEST(GitKernels, NeighboursExchangeTheirSlack) {
  Random random(8);
  for (uint32_t position = 0; position < 255; ++position) {
    uint32_t slack[256];
    for (uint32_t& one : slack) one = static_cast<uint32_t>(random() >> Uniform(random, 32, 63));
    GitSlack due;
    GitSetSlack(&due, slack);
    GitSlack by_vectors = due;
    GitDue vectors(&by_vectors);
    vectors.SwapWithNext(position);
    vectors.Store();
    GitSwapSlack(&due, position);
    ASSERT_EQ(memcmp(&due, &by_vectors, sizeof(due)), 0) << position;
    std::swap(slack[position], slack[position + 1]);
    GitSlack expected;
    GitSetSlack(&expected, slack);
    for (uint32_t i = 0; i < 256; ++i) ASSERT_EQ(GitSlackOf(&due, i), slack[i]) << position << " " << i;
    ASSERT_EQ(memcmp(due.least, expected.least, sizeof(due.least)), 0) << position;
    ASSERT_EQ(memcmp(due.first, expected.first, sizeof(due.first)), 0) << position;
  }
}
