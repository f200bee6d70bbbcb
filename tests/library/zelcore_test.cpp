// The core library that comes with zeldc. The test runs with OMP_NUM_THREADS=3.

#include "zelcore.h"

#include <stdlib.h>
#include <string.h>

#include <cstddef>

#include "gtest/gtest.h"

TEST(Zelcore, MemoryIsUsableAndAligned) {
  for (int32_t size : {1, 4, 112896, 598948, 10000000}) {
    void* const memory = zelMalloc(size);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % alignof(std::max_align_t), 0u);
    memset(memory, 0x5A, static_cast<size_t>(size));
    zelFree(memory);
  }
}

TEST(Zelcore, FreeAcceptsNull) { zelFree(nullptr); }

TEST(Zelcore, ThreadCountFollowsTheEnvironment) {
  ASSERT_STREQ(getenv("OMP_NUM_THREADS"), "3") << "run this through ctest";
  EXPECT_EQ(ownGetNumThreads(), 3);
}
