// Decoding of blocks in one call and in many: each call is held against a plain bit-by-bit decoder, and whole streams
// against zlib.

#include "gtest/gtest.h"
#include "inflate/one_call.h"
#include "inflate/random_stream.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

void ExpectAllSplitsDecode(const Bytes& stream, const Bytes& expected, const Bytes& dictionary = {}) {
  for (OneCallOptions options : OneCallSplits()) {
    options.dictionary = dictionary;
    const OneCallResult got = DecodeOneCall(stream, options);
    ASSERT_EQ(got.status, zelOk);
    ASSERT_EQ(got.consumed, stream.size());
    ASSERT_TRUE(got.data == expected);
  }
}

TEST(OneCallDecode, StreamsOfZlibInAllSplits) {
  for (const NamedData& input : AllKinds(6000)) {
    SCOPED_TRACE(input.name);
    ExpectAllSplitsDecode(DeflateWithZlib(input.data), input.data);
    ExpectAllSplitsDecode(DeflateWithZlib(input.data, {.level = 1, .strategy = 4}), input.data);
  }
}

TEST(OneCallDecode, RandomStreamsInAllSplits) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    const Bytes dictionary = seed % 3 ? Bytes() : RandomBytes(static_cast<size_t>(1 + seed * 700), seed);
    const StreamBuilder s = RandomStream(seed, 4, 60, dictionary);
    for (OneCallOptions options : OneCallSplits(seed)) {
      options.dictionary = dictionary;
      const OneCallResult got = DecodeOneCall(s.stream(), options);
      ASSERT_EQ(got.status, zelOk);
      ASSERT_TRUE(got.data == s.output());
    }
  }
}

TEST(OneCallDecode, LargeStreamsOfAllLevelsAndStrategies) {
  const Bytes data = Mixed(300000, 5);
  for (int level = 1; level <= 9; ++level) {
    for (int strategy = 0; strategy <= 4; ++strategy) {
      const Bytes stream = DeflateWithZlib(data, {.level = level, .strategy = strategy});
      OneCallOptions options;
      options.history = static_cast<History>(level % 3);
      options.room = strategy % 2 ? 65536 : 20000;
      options.source_piece = level % 2 ? SIZE_MAX : 8000;
      const OneCallResult got = DecodeOneCall(stream, options);
      ASSERT_EQ(got.status, zelOk);
      ASSERT_TRUE(got.data == data) << level << ' ' << strategy;
    }
  }
}

}  // namespace
}  // namespace zeldc_test
