#include "core/alloc.h"
#include "gtest/gtest.h"
#include "library/counting_allocator.h"

using zeldc_test::Allocator;

TEST(AllocationWrappers, SizesBelowOneAreNullWithoutAsking) {
  Allocator() = {};
  EXPECT_EQ(zelAllocState(0), nullptr);
  EXPECT_EQ(zelAllocState(-1), nullptr);
  EXPECT_EQ(zelAllocState(INT32_MIN), nullptr);
  EXPECT_EQ(Allocator().mallocs, 0);
}

TEST(AllocationWrappers, SizesAreHandedOn) {
  Allocator() = {};
  for (int32_t size : {1, 2, 100000}) {
    void* const memory = zelAllocState(size);
    EXPECT_NE(memory, nullptr);
    EXPECT_EQ(memory, Allocator().last_result);
    EXPECT_EQ(Allocator().last_size, size);
    zelFreeState(memory);
    EXPECT_EQ(Allocator().last_freed, memory);
  }
  EXPECT_EQ(Allocator().mallocs, 3);
  EXPECT_EQ(Allocator().frees, 3);
}

TEST(AllocationWrappers, FailureIsHandedOn) {
  Allocator() = {};
  Allocator().fails = true;
  EXPECT_EQ(zelAllocState(1), nullptr);
  EXPECT_EQ(Allocator().mallocs, 1);
}
