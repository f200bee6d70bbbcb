// What the LZSS encoder writes, the decoder reads, with any splits on either side.

#include <vector>

#include "dictionary/lzss_calls.h"
#include "gtest/gtest.h"
#include "support/data.h"

namespace {

using namespace zeldc_test;

struct TwoSplits {
  LzssSplits encode;
  LzssSplits decode;
};

const std::vector<TwoSplits> kSplits = {
    {{}, {}},
    {{SIZE_MAX, 1, 0}, {1, SIZE_MAX, 0}},
    {{1, SIZE_MAX, 0}, {SIZE_MAX, 1, 0}},
    {{1, 1, 0}, {1, 1, 0}},
    {{300, 200, 1}, {200, 300, 2}},
    {{5000, 3000, 3}, {3000, 5000, 4}},
};

}  // namespace

TEST(LzssRoundTrip, EveryKindOfDataWithSmallSplits) {
  for (const auto& [name, data] : AllKinds(400)) {
    for (const TwoSplits& splits : kSplits) {
      const Bytes stream = LzssEncode(data, splits.encode);
      EXPECT_LE(stream.size(), (data.size() * 9 + 7) / 8) << name;
      EXPECT_EQ(LzssDecode(stream, splits.decode).bytes, data) << name;
    }
  }
}

TEST(LzssRoundTrip, EveryKindOfDataBeyondTheWindow) {
  for (const auto& [name, data] : AllKinds(200000)) {
    const Bytes stream = LzssEncode(data, {100000, 50000, 5});
    EXPECT_EQ(LzssDecode(stream).bytes, data) << name;
    EXPECT_EQ(LzssDecode(stream, {30000, 70000, 6}).bytes, data) << name;
  }
}

TEST(LzssRoundTrip, SplitOfTheOutputDoesNotShow) {
  // The room alone decides nothing but where calls end.
  const Bytes data = Mixed(8000, 12);
  const Bytes whole = LzssEncode(data);
  for (size_t room : {1, 2, 3, 10, 1000}) EXPECT_EQ(LzssEncode(data, {SIZE_MAX, room, 0}), whole);
}

TEST(LzssRoundTrip, RecordsAtBothEndsOfAPage) {
  const Bytes data = Text(50000, 3);
  const LzssRecord encoder(LzssKind::kEncoder, 1, Guard::kBefore);
  const Bytes stream = LzssEncodeWith(encoder.get(), data);
  const LzssRecord decoder(LzssKind::kDecoder, 1, Guard::kBefore);
  EXPECT_EQ(LzssDecodeWith(decoder.get(), stream).bytes, data);
  EXPECT_EQ(LzssDecode(stream).bytes, data);
}
