// Streams by zlib: all levels, strategies, window sizes and memory levels, flushes, dictionaries, changes on the way.

#include <zlib.h>

#include <stdexcept>

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

constexpr int kStrategies[] = {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED};

// Both paths with one random split each, for tests of many streams.
void ExpectDecodesOnce(const Bytes& stream, const Bytes& expected, uint64_t seed) {
  Random random(seed);
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    DecodeOptions options;
    options.path = path;
    options.max_output = expected.size() + 1000;
    options.source_piece = Uniform(random, 1, 2000);
    options.room = Uniform(random, 1, 20000);
    options.pairs_room = Uniform(random, 1, 5000);
    options.split_seed = seed + 1;
    SCOPED_TRACE(testing::Message() << options);
    Decoded got;
    ASSERT_NO_THROW(got = Decode(stream, options));
    ASSERT_EQ(got.status, zelWarnStreamEnd);
    ASSERT_TRUE(got.data == expected);
    ASSERT_EQ(got.consumed, stream.size());
  }
}

TEST(InteropZlib, EveryLevelOnEveryKindOfData) {
  for (const NamedData& input : AllKinds(5000)) {
    for (int level = 0; level <= 9; ++level) {
      SCOPED_TRACE(input.name + ", level " + std::to_string(level));
      ExpectDecodes(DeflateWithZlib(input.data, {.level = level}), input.data);
      if (HasFailure()) return;
    }
  }
}

TEST(InteropZlib, EveryStrategyAtEveryLevel) {
  const Bytes data = Mixed(20000, 1);
  for (const int strategy : kStrategies) {
    for (int level = 0; level <= 9; ++level) {
      SCOPED_TRACE("strategy " + std::to_string(strategy) + ", level " + std::to_string(level));
      ExpectDecodes(DeflateWithZlib(data, {.level = level, .strategy = strategy}), data);
      if (HasFailure()) return;
    }
  }
}

TEST(InteropZlib, EveryWindowSizeAndMemoryLevel) {
  const Bytes data = Mixed(60000, 2);
  for (int window_bits = 9; window_bits <= 15; ++window_bits) {
    for (int memory_level = 1; memory_level <= 9; ++memory_level) {
      SCOPED_TRACE("window " + std::to_string(window_bits) + ", memory " + std::to_string(memory_level));
      const ZlibOptions options = {.window_bits = window_bits, .memory_level = memory_level};
      ExpectDecodesOnce(DeflateWithZlib(data, options), data, static_cast<uint64_t>(window_bits * 10 + memory_level));
      if (HasFailure()) return;
    }
  }
}

TEST(InteropZlib, AnyCombination) {
  Random random(3);
  const Bytes inputs[] = {Text(50000, 1), Mixed(50000, 2), Runs(50000, 400, 3), RepeatsAt(80000, 32000, 256, 4)};
  for (uint64_t i = 0; i < 300; ++i) {
    const ZlibOptions options = {.level = static_cast<int>(Uniform(random, 0, 9)),
                                 .window_bits = static_cast<int>(Uniform(random, 9, 15)),
                                 .memory_level = static_cast<int>(Uniform(random, 1, 9)),
                                 .strategy = kStrategies[Uniform(random, 0, 4)]};
    const Bytes& data = inputs[i % 4];
    SCOPED_TRACE(i);
    ExpectDecodesOnce(DeflateWithZlib(data, options), data, i);
    if (HasFailure()) return;
  }
}

TEST(InteropZlib, LongStreamsAtEveryLevel) {
  const Bytes data = Mixed(600000, 5);
  for (int level = 0; level <= 9; ++level) {
    SCOPED_TRACE(level);
    const Bytes stream = DeflateWithZlib(data, {.level = level});
    ExpectDecodesOnce(stream, data, static_cast<uint64_t>(level));
    for (const Path path : {Path::kBytes, Path::kPairs}) {
      DecodeOptions options;
      options.path = path;
      options.max_output = data.size() + 1;
      EXPECT_TRUE(Decode(stream, options).data == data);
    }
    if (HasFailure()) return;
  }
}

TEST(InteropZlib, FarthestMatches) {
  // zlib's own limit is some 260 bytes below the window's size.
  for (const size_t distance : {32000, 32500, 32506, 32507}) {
    const Bytes data = RepeatsAt(100000, distance, 256, distance);
    ExpectDecodesOnce(DeflateWithZlib(data, {.level = 9}), data, distance);
  }
}

TEST(InteropZlib, FlushMarkersInside) {
  const Bytes data = Mixed(9000, 6);
  for (const int flush : {Z_PARTIAL_FLUSH, Z_SYNC_FLUSH, Z_FULL_FLUSH, Z_BLOCK}) {
    for (const size_t every : {1, 7, 100, 1000, 4096}) {
      for (const int level : {0, 1, 6}) {
        SCOPED_TRACE("flush " + std::to_string(flush) + " every " + std::to_string(every) + ", level " +
                     std::to_string(level));
        const Bytes input(data.begin(), data.begin() + static_cast<ptrdiff_t>(std::min(data.size(), every * 50)));
        const ZlibOptions options = {.level = level, .flush = flush, .flush_every = every};
        ExpectDecodes(DeflateWithZlib(input, options), input);
        if (HasFailure()) return;
      }
    }
  }
}

TEST(InteropZlib, FlushesAtEveryStrategy) {
  const Bytes data = Mixed(30000, 7);
  for (const int flush : {Z_PARTIAL_FLUSH, Z_SYNC_FLUSH, Z_FULL_FLUSH, Z_BLOCK}) {
    for (const int strategy : kStrategies) {
      const ZlibOptions options = {.strategy = strategy, .flush = flush, .flush_every = 777};
      ExpectDecodesOnce(DeflateWithZlib(data, options), data, static_cast<uint64_t>(flush * 10 + strategy));
    }
  }
}

TEST(InteropZlib, Dictionaries) {
  const Bytes data = Text(10000, 8);
  for (const size_t size : {1, 3, 10, 1000, 32506, 32767, 32768, 32769, 40000}) {
    SCOPED_TRACE(size);
    DecodeOptions options;
    options.dictionary = Text(size, 8);
    const Bytes stream = DeflateWithZlib(data, {.level = 9}, options.dictionary);
    // It is of use.
    EXPECT_LT(stream.size(), DeflateWithZlib(data, {.level = 9}).size() + 5);
    ExpectDecodes(stream, data, options);
  }
}

// Changes level and strategy every few bytes, so that stored, fixed and dynamic blocks stand side by side.
Bytes DeflateWithChanges(const Bytes& data, uint64_t seed) {
  Random random(seed);
  z_stream z{};
  if (deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::runtime_error("deflateInit2");
  Bytes input = data;
  Bytes out(data.size() * 2 + 100000);
  z.next_in = input.data();
  z.next_out = out.data();
  z.avail_out = static_cast<uInt>(out.size());
  for (size_t done = 0; done < input.size();) {
    const size_t piece = std::min(input.size() - done, Uniform(random, 1, 3000));
    z.avail_in = static_cast<uInt>(piece);
    done += piece;
    static const int kFlushes[] = {Z_NO_FLUSH, Z_PARTIAL_FLUSH, Z_SYNC_FLUSH, Z_FULL_FLUSH, Z_BLOCK};
    if (deflate(&z, kFlushes[Uniform(random, 0, 4)]) == Z_STREAM_ERROR) throw std::runtime_error("deflate");
    const int level = static_cast<int>(Uniform(random, 0, 9));
    if (deflateParams(&z, level, kStrategies[Uniform(random, 0, 4)]) == Z_STREAM_ERROR) {
      throw std::runtime_error("deflateParams");
    }
  }
  if (deflate(&z, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("deflate to the end");
  out.resize(out.size() - z.avail_out);
  deflateEnd(&z);
  return out;
}

TEST(InteropZlib, ChangesOfLevelAndStrategyOnTheWay) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    const Bytes data = Mixed(40000, seed);
    const Bytes stream = DeflateWithChanges(data, seed);
    ExpectDecodesOnce(stream, data, seed);
    if (seed % 10 == 0) ExpectDecodes(stream, data);
    if (HasFailure()) return;
  }
}

TEST(InteropZlib, StreamsThatFollowEachOther) {
  // Each begins with the byte behind the last one, and nothing of it is known to the next.
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    Bytes all;
    std::vector<Bytes> inputs;
    for (size_t i = 0; i < 40; ++i) {
      inputs.push_back(Mixed(i * 37, i));
      const Bytes stream = DeflateWithZlib(inputs.back(), {.level = static_cast<int>(i % 10)});
      all.insert(all.end(), stream.begin(), stream.end());
    }
    for (DecodeOptions options : AllSplits(path)) {
      SCOPED_TRACE(testing::Message() << options);
      const DecoderRecord record;
      size_t start = 0;
      for (const Bytes& input : inputs) {
        ASSERT_EQ(zelsDecodeLZ77Reset_8u(record.get()), zelOk);
        const Bytes rest(all.begin() + static_cast<ptrdiff_t>(start), all.end());
        const Decoded got = StreamDecoder(record.get(), rest, options).Run();
        ASSERT_EQ(got.status, zelWarnStreamEnd);
        ASSERT_TRUE(got.data == input);
        start += got.consumed;
      }
      EXPECT_EQ(start, all.size());
    }
  }
}

}  // namespace
}  // namespace zeldc_test
