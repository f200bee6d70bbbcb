// Streams from the one-call helpers, with headers and codes of the test's: zlib and libdeflate give the data back.

#include <string>

#include "deflate/one_call_stream.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/oracle.h"

namespace {

using namespace zeldc_test;

class OneCallRoundTrip : public testing::TestWithParam<int32_t> {};

constexpr int32_t kOneCallLevels[] = {0, 1, 4, 6, 7, 8, 9};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Level, OneCallRoundTrip, testing::ValuesIn(kOneCallLevels),
                         [](const auto& level) { return std::to_string(level.param); });

TEST_P(OneCallRoundTrip, WholeInputs) {
  for (const auto& [name, data] : AllKinds(70000)) {
    SCOPED_TRACE(name);
    OneCallOptions options;
    options.level = GetParam();
    EXPECT_TRUE(DecodesTo(EncodeByOneCalls(data, options), data));
  }
}

TEST_P(OneCallRoundTrip, RandomSplits) {
  uint64_t seed = 0;
  for (const auto& [name, data] : AllKinds(30000)) {
    SCOPED_TRACE(name);
    OneCallOptions options;
    options.level = GetParam();
    options.input_piece = 3000;
    options.room = 1000;
    options.split_seed = ++seed;
    options.block_items = 2000;
    options.flush_pieces = seed % 2 == 0;
    options.guard = seed % 3 == 0 ? Guard::kBefore : Guard::kBehind;
    EXPECT_TRUE(DecodesTo(EncodeByOneCalls(data, options), data));
  }
}

TEST_P(OneCallRoundTrip, EveryWindowAndHashSize) {
  const Bytes data = Mixed(20000, 5);
  uint64_t seed = 100;
  for (int32_t window : {256, 257, 300, 511, 1000, 4096, 20000, 32767, 32768}) {
    for (int32_t hash = 256; hash <= 65536; hash *= 4) {
      SCOPED_TRACE(std::to_string(window) + ", " + std::to_string(hash));
      OneCallOptions options;
      options.level = GetParam();
      options.win_size = window;
      options.hash_size = hash;
      options.input_piece = 9000;
      options.split_seed = ++seed;
      EXPECT_TRUE(DecodesTo(EncodeByOneCalls(data, options), data));
    }
  }
}

TEST_P(OneCallRoundTrip, Dictionaries) {
  const Bytes text = Text(40000, 3);
  for (size_t size : {size_t{3}, size_t{257}, size_t{258}, size_t{1000}, size_t{32768}, size_t{40000}}) {
    SCOPED_TRACE(size);
    OneCallOptions options;
    options.level = GetParam();
    options.dictionary = Front(text, size);
    const Bytes data = Text(20000, 4);
    const Bytes known(options.dictionary.end() - static_cast<ptrdiff_t>(std::min<size_t>(size, 32768)),
                      options.dictionary.end());
    EXPECT_TRUE(DecodesTo(EncodeByOneCalls(data, options), data, known));
  }
}
