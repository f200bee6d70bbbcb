// Streams by libdeflate, whose best levels use every length of code and every distance.

#include "gtest/gtest.h"
#include "inflate/checks.h"
#include "support/data.h"
#include "support/oracle.h"

namespace zeldc_test {
namespace {

TEST(InteropLibdeflate, EveryLevelOnEveryKindOfData) {
  for (const NamedData& input : AllKinds(5000)) {
    for (int level = 0; level <= 12; ++level) {
      SCOPED_TRACE(input.name + ", level " + std::to_string(level));
      ExpectDecodes(DeflateWithLibdeflate(input.data, level), input.data);
      if (HasFailure()) return;
    }
  }
}

TEST(InteropLibdeflate, LongStreamsAtEveryLevel) {
  const Bytes inputs[] = {Mixed(400000, 1), Text(400000, 2), RepeatsAt(400000, 32767, 256, 3)};
  for (const Bytes& data : inputs) {
    for (int level = 0; level <= 12; ++level) {
      SCOPED_TRACE(level);
      const Bytes stream = DeflateWithLibdeflate(data, level);
      for (const Path path : {Path::kBytes, Path::kPairs}) {
        DecodeOptions options;
        options.path = path;
        options.max_output = data.size() + 1;
        EXPECT_TRUE(Decode(stream, options).data == data);
        options.source_piece = 3000;
        options.room = 30000;
        options.pairs_room = 5000;
        options.split_seed = static_cast<uint64_t>(level) + 1;
        const Decoded got = Decode(stream, options);
        EXPECT_EQ(got.status, zelWarnStreamEnd);
        EXPECT_TRUE(got.data == data);
        EXPECT_EQ(got.consumed, stream.size());
      }
      if (HasFailure()) return;
    }
  }
}

TEST(InteropLibdeflate, FarthestMatchIsNearlyAWindowBack) {
  const Bytes data = RepeatsAt(70000, 32767, 256, 4);
  const Bytes stream = DeflateWithLibdeflate(data, 12);
  ExpectDecodes(stream, data);
  DecodeOptions options;
  options.path = Path::kPairs;
  int farthest = 0;
  for (const zelLZ77Pair& pair : Decode(stream, options).pairs) farthest = std::max<int>(farthest, pair.distance);
  EXPECT_EQ(farthest, 32767);
}

}  // namespace
}  // namespace zeldc_test
