// The LZO coders with several threads: sizes, containers, and containers that lie.

#include <omp.h>

#include <algorithm>

#include "dictionary/lzo_calls.h"
#include "dictionary/lzo_model.h"
#include "dictionary/thread_count.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

class LzoParallel : public testing::Test {
 protected:
  LzoParallel() { Threads() = {}; }
};

const Bytes kEnd = {0x11, 0, 0};

Bytes Word(size_t value) {
  Bytes word;
  for (int shift = 0; shift < 32; shift += 8) word.push_back(static_cast<uint8_t>(value >> shift));
  return word;
}

// A container of these streams that tells this length.
Bytes Container(size_t whole, const std::vector<Bytes>& streams) {
  Bytes in = {static_cast<uint8_t>(0x80 | streams.size())};
  Append(in, Word(whole));
  for (size_t i = 0; i + 1 < streams.size(); ++i) Append(in, Word(streams[i].size()));
  for (const Bytes& stream : streams) Append(in, stream);
  return in;
}

Bytes EncodeWithThreads(const Bytes& in, int threads, uint32_t max_src_len) {
  Threads().answer = threads;
  return LzoEncode(in, LzoRecord(zelLZOMethodParallel, max_src_len), static_cast<size_t>(threads));
}

}  // namespace

TEST_F(LzoParallel, SizeAsTold) {
  for (int threads : {1, 2, 3, 8, 33}) {
    Threads().answer = threads;
    for (int32_t len : {0, 1, 15, 16, 100, 1000000}) {
      int32_t size = -7;
      EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodParallel, static_cast<uint32_t>(len), &size), zelOk);
      EXPECT_EQ(size, threads == 1 ? 65560 : (len / 16 + len + 65615) * threads + 12);
      EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodSingle, static_cast<uint32_t>(len), &size), zelOk);
      EXPECT_EQ(size, 65560);
    }
  }
}

TEST_F(LzoParallel, RecordsBeyond31BitsAreRefused) {
  Threads().answer = 2;
  int32_t size = -7;
  // n / 16 + n + 65615, twice, and 12 are 2147483646 bytes.
  const uint32_t largest = 1010518779;
  EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodParallel, largest, &size), zelOk);
  EXPECT_EQ(int64_t{size}, (int64_t{largest} + largest / 16 + 65615) * 2 + 12);
  for (uint32_t len : {largest + 1, UINT32_MAX}) {
    EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodParallel, len, &size), zelErrSize);
    EXPECT_EQ(size, 0);
    const GuardedBuffer memory(65560);
    auto* const state = reinterpret_cast<zelLZOState*>(memory.data());
    EXPECT_EQ(zelsEncodeLZOInit_8u(zelLZOMethodParallel, len, state), zelErrSize);
    EXPECT_EQ(memory.ToBytes(), Bytes(65560));
  }
  Threads().answer = 1;
  EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodParallel, UINT32_MAX, &size), zelOk);
}

TEST_F(LzoParallel, FewerThanOneThreadIsOne) {
  for (int threads : {0, -5}) {
    Threads().answer = threads;
    int32_t size = -7;
    EXPECT_EQ(zelsEncodeLZOGetSize(zelLZOMethodParallel, 1000, &size), zelOk);
    EXPECT_EQ(size, 65560);
    const Bytes text = Text(1000, 1);
    EXPECT_EQ(LzoEncode(text, LzoRecord(zelLZOMethodParallel, 1000)), LzoModelEncode(text));
  }
}

TEST_F(LzoParallel, OneThreadWritesAPlainStream) {
  const Bytes text = Text(3000, 1);
  EXPECT_EQ(EncodeWithThreads(text, 1, 0), LzoModelEncode(text));
}

TEST_F(LzoParallel, SingleMethodAsksForNoThreads) {
  const Bytes text = Text(3000, 1);
  EXPECT_EQ(LzoEncode(text), LzoModelEncode(text));
  EXPECT_EQ(Threads().asked, 0);
}

TEST_F(LzoParallel, ThreadsAreAskedForAtInitAndAtEveryCall) {
  const LzoRecord record(zelLZOMethodParallel, 3000);
  EXPECT_EQ(Threads().asked, 2);  // GetSize and Init
  LzoEncode(Text(3000, 1), record, 2);
  EXPECT_EQ(Threads().asked, 3);
}

TEST_F(LzoParallel, ContainerFrom256BytesAThreadOn) {
  const Bytes text = Text(600, 1);
  for (size_t size : {1, 100, 510, 511, 512, 513, 600}) {
    const Bytes in = Front(text, size);
    const Bytes stream = EncodeWithThreads(in, 2, 600);
    EXPECT_EQ(stream, LzoModelEncode(in, 2)) << size;
    EXPECT_EQ(stream[0] == 0x82, size >= 512) << size;
    EXPECT_EQ(LzoDecode(stream, size), in);
  }
}

TEST_F(LzoParallel, ChunksAreTheModelsForEveryNumberOfThreads) {
  for (const NamedData& input : {NamedData{"text", Text(70001, 6)},
                                 {"mixed", Mixed(90000, 7)},
                                 {"run", Bytes(50000, 3)},
                                 {"noise", RandomBytes(20000, 8)}}) {
    for (int threads : {1, 2, 3, 4, 5, 7, 16, 31, 32}) {
      const Bytes stream = EncodeWithThreads(input.data, threads, static_cast<uint32_t>(input.data.size()));
      ASSERT_EQ(stream, LzoModelEncode(input.data, static_cast<size_t>(threads))) << input.name << ", " << threads;
      for (int decoding : {1, 2, 3, 40}) {
        Threads().answer = decoding;
        for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
          ASSERT_EQ(LzoDecode(stream, input.data.size(), decoder), input.data) << input.name << ", " << threads;
        }
      }
    }
  }
}

TEST_F(LzoParallel, MoreThan32ThreadsMake32Chunks) {
  const Bytes in = Mixed(64 * 256, 1);
  const Bytes stream = EncodeWithThreads(in, 64, static_cast<uint32_t>(in.size()));
  EXPECT_EQ(stream, LzoModelEncode(in, 32));
  EXPECT_EQ(LzoDecode(stream, in.size()), in);
}

// The smaller of the numbers of Init and of the call counts.
TEST_F(LzoParallel, NumberOfThreadsMayChangeAfterInit) {
  const Bytes in = Mixed(5000, 2);
  Threads().answer = 4;
  const LzoRecord record(zelLZOMethodParallel, 5000);
  for (int threads : {1, 2, 3, 4, 5, 100}) {
    Threads().answer = threads;
    EXPECT_EQ(LzoEncode(in, record, 4), LzoModelEncode(in, static_cast<size_t>(std::min(threads, 4)))) << threads;
  }
}

TEST_F(LzoParallel, InputBeyondTheRecordsBecomesAPlainStream) {
  const Bytes in = Mixed(6001, 3);
  // The last of two chunks of 6001 bytes has 3001.
  EXPECT_EQ(EncodeWithThreads(in, 2, 3001)[0], 0x82);
  EXPECT_EQ(EncodeWithThreads(in, 2, 3000), LzoModelEncode(in, 1));
  EXPECT_EQ(EncodeWithThreads(in, 2, 0), LzoModelEncode(in, 1));
}

// A container of 115 + n bytes would be taken for a plain stream.
TEST_F(LzoParallel, ContainerOfAPlainStreamsLengthIsNotWritten) {
  size_t plain = 0;
  for (int threads : {2, 3, 4}) {
    for (size_t noise = 0; noise < 120; noise += noise < 60 || noise > 100 ? 9 : 1) {
      Bytes in(1500, 5);
      const Bytes random = RandomBytes(noise, 9);
      std::copy(random.begin(), random.end(), in.begin());
      const Bytes stream = EncodeWithThreads(in, threads, 1500);
      ASSERT_EQ(stream, LzoModelEncode(in, static_cast<size_t>(threads)));
      ASSERT_EQ(LzoDecode(stream, in.size()), in);
      plain += stream[0] < 0x80;
    }
  }
  EXPECT_GE(plain, 2u);
}

TEST_F(LzoParallel, EveryRoomThatIsTooSmallIsBroken) {
  const Bytes in = Text(1000, 4);
  const Bytes stream = EncodeWithThreads(in, 3, 1000);
  for (size_t room = 0; room < in.size(); ++room) ASSERT_EQ(LzoDecode(stream, room), std::nullopt) << room;
  EXPECT_EQ(LzoDecode(stream, 1000), in);
  EXPECT_EQ(LzoDecode(stream, 1500), in);
}

TEST_F(LzoParallel, EveryPrefixOfAContainerIsBroken) {
  const Bytes in = Text(1000, 5);
  const Bytes stream = EncodeWithThreads(in, 3, 1000);
  for (size_t size = 1; size < stream.size(); ++size) {
    for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
      // The last chunk takes what is left: nothing at all is no stream, and no error.
      const std::optional<Bytes> out = LzoDecode(Front(stream, size), 1000, decoder);
      ASSERT_EQ(out ? out->size() : 666, 666u) << size;
    }
  }
}

TEST_F(LzoParallel, CountsOfChunks) {
  const Bytes stream = Container(0, {kEnd});
  EXPECT_EQ(LzoDecode(stream, 0), Bytes());
  for (unsigned count : {0x80u, 0xA1u, 0xA2u, 0xFFu}) {
    Bytes in = stream;
    in[0] = static_cast<uint8_t>(count);
    in.resize(600);
    for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
      EXPECT_EQ(LzoDecode(in, 100, decoder), std::nullopt) << count;
    }
  }
  EXPECT_EQ(LzoDecode(Container(32, std::vector<Bytes>(32, {0x12, 'a', 0x11, 0, 0})), 32), Bytes(32, 'a'));
}

TEST_F(LzoParallel, LengthsThatLeaveTheContainer) {
  const Bytes good = Container(2, {{0x12, 'a', 0x11, 0, 0}, {0x12, 'b', 0x11, 0, 0}});
  EXPECT_EQ(LzoDecode(good, 2), (Bytes{'a', 'b'}));
  for (uint32_t lie : {11u, 12u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
    Bytes in = good;
    const Bytes word = Word(lie);
    std::copy(word.begin(), word.end(), in.begin() + 5);
    for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
      EXPECT_EQ(LzoDecode(in, 2, decoder), std::nullopt) << lie;
    }
  }
  // Shorter than its header.
  for (size_t size = 1; size < 9; ++size) EXPECT_EQ(LzoDecode(Front(good, size), 2), std::nullopt);
}

TEST_F(LzoParallel, LongerThanTheRoomIsBrokenWhenChecked) {
  for (uint32_t lie : {3u, 4u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(LzoDecode(Container(lie, {{0x12, 'a', 0x11, 0, 0}, {0x12, 'b', 0x11, 0, 0}}), 2), std::nullopt);
  }
}

TEST_F(LzoParallel, UncheckedTheContainerAloneTellsTheLength) {
  const Bytes in = Text(3000, 4);
  const GuardedBuffer container(EncodeWithThreads(in, 3, 3000));
  for (uint32_t told : {0u, 1u, 2999u, UINT32_MAX}) {
    const GuardedBuffer dst(in.size());
    uint32_t size = told;
    EXPECT_EQ(zelsDecodeLZO_8u(container.data(), static_cast<uint32_t>(container.size()), dst.data(), &size), zelOk);
    EXPECT_EQ(size, in.size());
    EXPECT_EQ(dst.ToBytes(), in);
  }
}

// Each chunk has its own part of the output, and reaches neither into the next nor back into the one before.
TEST_F(LzoParallel, ChunksKeepToTheirParts) {
  const Bytes one = {0x12, 'a', 0x11, 0, 0};
  const Bytes two = {0x13, 'a', 'b', 0x11, 0, 0};
  EXPECT_EQ(LzoDecode(Container(3, {one, two}), 3), (Bytes{'a', 'a', 'b'}));
  for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
    EXPECT_EQ(LzoDecode(Container(3, {two, one}), 3, decoder), std::nullopt);
    EXPECT_EQ(LzoDecode(Container(2, {one, two}), 2, decoder), std::nullopt);
    EXPECT_EQ(LzoDecode(Container(8, {Bytes{0x15, 1, 2, 3, 4, 0x11, 0, 0}, Bytes{0x60, 0, 0x11, 0, 0}}), 8, decoder),
              std::nullopt);
  }
}

// A chunk that is shorter than its part leaves a gap of zeros, never what was there before.
TEST_F(LzoParallel, GapBehindAShortChunkIsZero) {
  const Bytes one = {0x12, 'a', 0x11, 0, 0};
  const Bytes three = {0x14, 'x', 'y', 'z', 0x11, 0, 0};
  for (LzoDecoder decoder : {LzoDecoder::kChecked, LzoDecoder::kUnchecked}) {
    EXPECT_EQ(LzoDecode(Container(6, {one, three}), 6, decoder), (Bytes{'a', 0, 0, 'x'}));
    EXPECT_EQ(LzoDecode(Container(9, {one, {}, three}), 9, decoder), (Bytes{'a', 0, 0, 0}));
    EXPECT_EQ(LzoDecode(Container(100, {{}, {}}), 100, decoder), Bytes());
  }
}

TEST_F(LzoParallel, HostileContainersStayInTheirBuffers) {
  const Bytes data = Mixed(1200, 6);
  const Bytes container = EncodeWithThreads(data, 4, 1200);
  size_t good = 0;
  for (uint64_t seed = 0; seed < 2000; ++seed) {
    Random random(seed);
    Bytes in = container;
    for (size_t changes = Uniform(random, 1, 2); changes > 0; --changes) {
      in[Uniform(random, 1, seed % 3 == 0 ? 16 : in.size() - 1)] ^= static_cast<uint8_t>(1 << random() % 8);
    }
    const std::optional<Bytes> a = LzoDecode(in, 1200, LzoDecoder::kChecked, Guard::kBehind, 0x11);
    ASSERT_EQ(LzoDecode(in, 1200, LzoDecoder::kChecked, Guard::kBefore, 0xEE), a) << seed;
    const size_t whole = in[1] + 256u * in[2] + 65536u * in[3] + 16777216u * in[4];
    if (whole > 1200) continue;
    ASSERT_EQ(LzoDecode(in, whole, LzoDecoder::kUnchecked), a) << seed;
    good += a.has_value();
  }
  EXPECT_GT(good, 10u);
}

TEST_F(LzoParallel, WithinARegionOfTheCallersTheResultIsTheSame) {
  const Bytes in = Mixed(50000, 9);
  const Bytes expected = LzoModelEncode(in, 4);
  Threads().answer = 4;
  std::vector<Bytes> streams(3), outputs(3);
  omp_set_max_active_levels(1);
#pragma omp parallel for num_threads(3)
  for (size_t i = 0; i < 3; ++i) {
    streams[i] = LzoEncode(in, LzoRecord(zelLZOMethodParallel, 50000), 4);
    outputs[i] = LzoDecode(streams[i], in.size()).value_or(Bytes());
  }
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(streams[i], expected);
    EXPECT_EQ(outputs[i], in);
  }
}
