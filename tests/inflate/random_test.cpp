// Random streams, valid and not, on both paths with every split.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "inflate/random_stream.h"
#include "support/encode.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

// Random changes: bits, bytes, a piece left out, doubled or broken off.
Bytes Mutated(Bytes stream, Random& random) {
  for (size_t i = Uniform(random, 1, 4); i > 0 && !stream.empty(); --i) {
    const size_t at = Uniform(random, 0, stream.size() - 1);
    const auto here = stream.begin() + static_cast<ptrdiff_t>(at);
    const size_t piece = Uniform(random, 1, std::min<size_t>(8, stream.size() - at));
    switch (Uniform(random, 0, 7)) {
      case 0:
        *here = static_cast<uint8_t>(random());
        break;
      case 1:
        stream.erase(here, here + static_cast<ptrdiff_t>(piece));
        break;
      case 2: {
        const Bytes copy(here, here + static_cast<ptrdiff_t>(piece));
        stream.insert(here, copy.begin(), copy.end());
        break;
      }
      case 3:
        if (random() % 4 == 0) stream.resize(at);
        break;
      default:
        *here = static_cast<uint8_t>(*here ^ 1u << random() % 8);
        break;
    }
  }
  return stream;
}

DecodeOptions UpTo(size_t size) {
  DecodeOptions options;
  options.max_output = size;
  return options;
}

TEST(InflateRandom, ValidStreams) {
  for (uint64_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE(seed);
    const StreamBuilder s = RandomStream(seed);
    // The builder and the oracle agree.
    const Inflated oracle = InflateWithZlib(s.stream(), s.output().size());
    ASSERT_TRUE(oracle.complete && oracle.data == s.output());
    ExpectDecodes(s);
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, ValidStreamsThatPassTheWindowsEnd) {
  for (uint64_t seed = 1000; seed < 1012; ++seed) {
    SCOPED_TRACE(seed);
    const StreamBuilder s = RandomStream(seed, 12, 3000);
    ExpectDecodes(s);
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, ValidStreamsWithADictionary) {
  for (uint64_t seed = 2000; seed < 2030; ++seed) {
    SCOPED_TRACE(seed);
    DecodeOptions options;
    options.dictionary = RandomBytes(32768, seed);
    const StreamBuilder s = RandomStream(seed, 6, 300, options.dictionary);
    ExpectDecodes(s, options);
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, AnySplitOfAnyStreamGivesTheSame) {
  // Many streams with one random split each.
  for (uint64_t seed = 3000; seed < 3600; ++seed) {
    const StreamBuilder s = RandomStream(seed, 3, 60);
    Random random(seed);
    DecodeOptions options;
    options.path = seed % 2 ? Path::kBytes : Path::kPairs;
    options.source_piece = Uniform(random, 1, 60);
    options.room = Uniform(random, 1, 600);
    options.pairs_room = Uniform(random, 1, 60);
    options.split_seed = seed;
    const Decoded got = Decode(s.stream(), options);
    ASSERT_EQ(got.status, zelWarnStreamEnd) << options;
    ASSERT_TRUE(got.data == s.output()) << options;
    ASSERT_EQ(got.block_ends, s.BlockEnds()) << options;
  }
}

TEST(InflateRandom, RecordsAtAnyPlaceAndOfAnyContentDecodeAlike) {
  for (uint64_t seed = 4000; seed < 4200; ++seed) {
    const Bytes stream = RandomStream(seed, 4, 80).stream();
    Random random(seed);
    const Bytes mutated = seed % 2 ? Mutated(stream, random) : stream;
    DecodeOptions options = UpTo(50000);
    options.path = seed % 4 < 2 ? Path::kBytes : Path::kPairs;
    options.room = 500;
    options.pairs_room = 100;
    const DecoderRecord zeros(0), other(static_cast<uint8_t>(random()), 4 * Uniform(random, 0, 20));
    const Decoded a = StreamDecoder(zeros.get(), mutated, options).Run();
    const Decoded b = StreamDecoder(other.get(), mutated, options).Run();
    ASSERT_EQ(a.status, b.status) << seed;
    ASSERT_TRUE(a.data == b.data) << seed;
    ASSERT_EQ(a.consumed, b.consumed) << seed;
  }
}

TEST(InflateRandom, UsedRecordsDecodeLikeFreshOnesAfterReset) {
  for (const Path path : {Path::kBytes, Path::kPairs}) {
    const DecoderRecord used;
    DecodeOptions options = UpTo(50000);
    options.path = path;
    for (uint64_t seed = 5000; seed < 5200; ++seed) {
      Random random(seed);
      const Bytes stream = Mutated(RandomStream(seed, 4, 80).stream(), random);
      ASSERT_EQ(zelsDecodeLZ77Reset_8u(used.get()), zelOk);
      const Decoded a = StreamDecoder(used.get(), stream, options).Run();
      const Decoded b = Decode(stream, options);
      ASSERT_EQ(a.status, b.status) << seed;
      ASSERT_TRUE(a.data == b.data) << seed;
    }
  }
}

TEST(InflateRandom, Garbage) {
  for (uint64_t seed = 0; seed < 250; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Bytes stream = RandomBytes(Uniform(random, 1, 300), seed);
    // All block types alike often.
    stream[0] = static_cast<uint8_t>((stream[0] & 0xF8) | seed % 8);
    DecodeOnBothPaths(stream, UpTo(20000));
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, GarbageBehindADynamicHeader) {
  const Lengths lit_len = FixedLitLenLengths();
  for (uint64_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const size_t lit_len_count = Uniform(random, 257, 288);
    const size_t distance_count = Uniform(random, 1, 32);
    StreamBuilder s;
    s.Dynamic(RandomCode(random, lit_len_count, Uniform(random, 2, lit_len_count), 256),
              RandomCode(random, distance_count, Uniform(random, 1, distance_count), 0));
    s.Raw(RandomBytes(200, seed));
    DecodeOnBothPaths(s.stream(), UpTo(20000));
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, LengthsThatAreNoCode) {
  // Incomplete and over-subscribed sets alike.
  for (uint64_t seed = 0; seed < 250; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Lengths lit_len(Uniform(random, 257, 288)), distance(Uniform(random, 1, 32));
    const size_t most = Uniform(random, 1, 15);
    for (int& length : lit_len) length = random() % 3 ? 0 : static_cast<int>(Uniform(random, 0, most));
    for (int& length : distance) length = random() % 3 ? 0 : static_cast<int>(Uniform(random, 0, most));
    StreamBuilder s;
    s.Fixed().Literals("history").End().Dynamic(lit_len, distance).Raw(RandomBytes(60, seed));
    DecodeOnBothPaths(s.stream(), UpTo(20000));
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, MutationsOfBuiltStreams) {
  for (uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    DecodeOnBothPaths(Mutated(RandomStream(seed % 50, 3, 50).stream(), random), UpTo(20000));
    if (HasFailure()) break;
  }
}

TEST(InflateRandom, MutationsOfRealStreams) {
  const Bytes text = Text(3000, 1), mixed = Mixed(3000, 2);
  EncodeOptions in_turn;
  in_turn.block = BlockKind::kInTurn;
  in_turn.pairs_room = 200;
  const Bytes streams[] = {DeflateWithZlib(text), DeflateWithZlib(mixed), DeflateWithLibdeflate(text, 6), Encode(text),
                           Encode(mixed, in_turn)};
  for (uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    DecodeOnBothPaths(Mutated(streams[seed % 5], random), UpTo(20000));
    if (HasFailure()) break;
  }
}

}  // namespace
}  // namespace zeldc_test
