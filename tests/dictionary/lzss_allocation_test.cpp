// InitAlloc and Free of LZSS over an application's own allocator.

#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "zeldc.h"

namespace {

using zeldc_test::Allocator;

using InitAlloc = zelStatus (*)(zelLZSSState**);
constexpr InitAlloc kBoth[] = {zelsEncodeLZSSInitAlloc_8u, zelsDecodeLZSSInitAlloc_8u};

}  // namespace

TEST(LzssAllocation, RecordComesFromTheApplication) {
  for (const InitAlloc init_alloc : kBoth) {
    Allocator() = {};
    Allocator().only_4_aligned = true;
    zelLZSSState* state = nullptr;
    ASSERT_EQ(init_alloc(&state), zelOk);
    EXPECT_EQ(Allocator().mallocs, 1);
    EXPECT_EQ(Allocator().last_size, 327724);
    EXPECT_EQ(state, Allocator().last_result);
    EXPECT_EQ(zelsLZSSFree_8u(state), zelOk);
    EXPECT_EQ(Allocator().frees, 1);
    EXPECT_EQ(Allocator().last_freed, state);
  }
}

TEST(LzssAllocation, RecordIsNullWithoutMemory) {
  for (const InitAlloc init_alloc : kBoth) {
    Allocator() = {};
    EXPECT_EQ(init_alloc(nullptr), zelErrNullPtr);
    EXPECT_EQ(Allocator().mallocs, 0);
    Allocator().fails = true;
    zelLZSSState* state = reinterpret_cast<zelLZSSState*>(&Allocator());
    EXPECT_EQ(init_alloc(&state), zelErrNoMem);
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(Allocator().mallocs, 1);
  }
}
