// InitAlloc and Free of move-to-front and run-length coding over an application's own allocator.

#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "zeldc.h"

namespace {

using zeldc_test::Allocator;

template <typename State>
void ExpectFromTheApplication(zelStatus (*init_alloc)(State**), int32_t size, zelStatus (*free_name)(void*)) {
  Allocator() = {};
  Allocator().only_4_aligned = true;
  State* state = nullptr;
  ASSERT_EQ(init_alloc(&state), zelOk);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(Allocator().last_size, size);
  EXPECT_EQ(state, Allocator().last_result);
  EXPECT_EQ(free_name(state), zelOk);
  EXPECT_EQ(Allocator().frees, 1);
  EXPECT_EQ(Allocator().last_freed, state);
}

template <typename State>
void ExpectNullWithoutMemory(zelStatus (*init_alloc)(State**)) {
  Allocator() = {};
  EXPECT_EQ(init_alloc(nullptr), zelErrNullPtr);
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  State* state = reinterpret_cast<State*>(&Allocator());
  EXPECT_EQ(init_alloc(&state), zelErrNoMem);
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(Allocator().mallocs, 1);
}

}  // namespace

TEST(BlockSortingAllocation, MoveToFrontStateComesFromTheApplication) {
  ExpectFromTheApplication(zelsMTFInitAlloc_8u, 256, zelsMTFFree_8u);
}

TEST(BlockSortingAllocation, RunLengthStateComesFromTheApplication) {
  ExpectFromTheApplication(zelsEncodeRLEInitAlloc_BZ2_8u, 264, zelsRLEFree_BZ2_8u);
}

TEST(BlockSortingAllocation, StatesAreNullWithoutMemory) {
  ExpectNullWithoutMemory(zelsMTFInitAlloc_8u);
  ExpectNullWithoutMemory(zelsEncodeRLEInitAlloc_BZ2_8u);
}
