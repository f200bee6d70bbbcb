// Broken preconditions end a build with sanitizers: what guards memory there is seen to be on.

#include "core/assert.h"

#include <gtest/gtest.h>

#include "shared/bits_msb.h"
#include "shared/code_lengths.h"
#include "shared/position_batch.h"

namespace {

using namespace zeldc;

TEST(AssertDeathTest, ConditionsThatHoldPass) {
  int calls = 0;
  ZELDC_ASSERT(++calls == 1);
  EXPECT_EQ(calls, 1);
}

TEST(AssertDeathTest, ConditionsThatDoNotHoldEndTheProgram) { EXPECT_DEATH(ZELDC_ASSERT(1 > 2), ""); }

TEST(AssertDeathTest, BatchesTakeNoMorePositionsThanTheyHold) {
  static uint16_t head[kHashSize];
  static PositionBatch batch;
  const auto four = [](ptrdiff_t) { return uint64_t{0}; };
  const auto one = [](ptrdiff_t) { return 0u; };
  batch.Insert(head, 0, PositionBatch::kSize, four, one);
  EXPECT_DEATH(batch.Insert(head, 0, PositionBatch::kSize + 1, four, one), "");
  EXPECT_DEATH(batch.Remove(head, 1, 2, one), "");
}

TEST(AssertDeathTest, ReadersGiveNoMoreBitsThanTheyHold) {
  const uint8_t source[1] = {0xA5};
  MsbReader in(0, 0, source, 1);
  ASSERT_TRUE(in.Has(8));
  in.Consume(8);
  EXPECT_DEATH(in.Consume(1), "");
}

TEST(AssertDeathTest, CodesHaveRoomForTheirSymbols) {
  const uint32_t frequencies[3] = {1, 1, 1};
  uint8_t lengths[3];
  EXPECT_DEATH(BuildCodeLengths(frequencies, 3, 1, lengths), "");
}

}  // namespace
