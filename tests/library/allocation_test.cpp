// InitAlloc and Free over an application's own allocator.

#include <string>

#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "support/data.h"
#include "support/encode.h"
#include "support/oracle.h"
#include "zelcore.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

using Free = zelStatus (*)(void*);

const Free kFreeNames[] = {zelsDecodeHuffFree_BZ2_8u16u,
                           zelsEncodeHuffFree_BZ2_16u8u,
                           zelsGITFree_8u,
                           zelsHuffFree_8u,
                           zelsLZ77Free_8u,
                           zelsLZSSFree_8u,
                           zelsMTFFree_8u,
                           zelsRLEFree_BZ2_8u};

class Allocation : public testing::Test {
 protected:
  Allocation() { Allocator() = {}; }
};

zelLZ77State* NotARecord() { return reinterpret_cast<zelLZ77State*>(&Allocator()); }

}  // namespace

TEST_F(Allocation, EncoderComesFromTheApplicationsAllocator) {
  zelLZ77State* record = nullptr;
  ASSERT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelFast, zelLZ77CheckNone, &record), zelOk);
  int32_t size = 0;
  EXPECT_EQ(zelsEncodeLZ77GetSize_8u(&size), zelOk);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(Allocator().last_size, size);
  EXPECT_EQ(record, Allocator().last_result);
  EXPECT_EQ(zelsLZ77Free_8u(record), zelOk);
  EXPECT_EQ(Allocator().frees, 1);
  EXPECT_EQ(Allocator().last_freed, record);
}

TEST_F(Allocation, DecoderComesFromTheApplicationsAllocator) {
  zelLZ77State* record = nullptr;
  ASSERT_EQ(zelsDecodeLZ77InitAlloc_8u(0, &record), zelOk);
  int32_t size = 0;
  EXPECT_EQ(zelsDecodeLZ77GetSize_8u(&size), zelOk);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(Allocator().last_size, size);
  EXPECT_EQ(record, Allocator().last_result);
  EXPECT_EQ(zelsLZ77Free_8u(record), zelOk);
  EXPECT_EQ(Allocator().last_freed, record);
}

TEST_F(Allocation, EncoderStoresNullWhenThereIsNoMemory) {
  Allocator().fails = true;
  zelLZ77State* record = NotARecord();
  EXPECT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelFast, zelLZ77CheckNone, &record), zelErrNoMem);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(Allocator().mallocs, 1);
}

TEST_F(Allocation, DecoderLeavesThePointerAloneWhenThereIsNoMemory) {
  Allocator().fails = true;
  zelLZ77State* record = NotARecord();
  EXPECT_EQ(zelsDecodeLZ77InitAlloc_8u(0, &record), zelErrNoMem);
  EXPECT_EQ(record, NotARecord());
}

TEST_F(Allocation, NullOutputPointerIsAnErrorBeforeAnyAllocation) {
  EXPECT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelFast, zelLZ77CheckNone, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeLZ77InitAlloc_8u(0, nullptr), zelErrNullPtr);
  EXPECT_EQ(Allocator().mallocs, 0);
}

TEST_F(Allocation, EveryFreeNameReleasesEitherRecord) {
  for (Free free_name : kFreeNames) {
    zelLZ77State* record = nullptr;
    ASSERT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelFast, zelLZ77CheckNone, &record), zelOk);
    EXPECT_EQ(free_name(record), zelOk);
    EXPECT_EQ(Allocator().last_freed, record);
    ASSERT_EQ(zelsDecodeLZ77InitAlloc_8u(0, &record), zelOk);
    EXPECT_EQ(free_name(record), zelOk);
    EXPECT_EQ(Allocator().last_freed, record);
  }
  EXPECT_EQ(Allocator().frees, Allocator().mallocs);
}

TEST_F(Allocation, FreeHandsNullOn) {
  for (Free free_name : kFreeNames) {
    Allocator().last_freed = &Allocator();
    EXPECT_EQ(free_name(nullptr), zelOk);
    EXPECT_EQ(Allocator().last_freed, nullptr);
  }
  EXPECT_EQ(Allocator().frees, 8);
}

TEST_F(Allocation, RecordAtAnOddMultipleOf4Works) {
  Allocator().only_4_aligned = true;
  zelLZ77State* record = nullptr;
  ASSERT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelNormal, zelLZ77CheckNone, &record), zelOk);
  ASSERT_EQ(reinterpret_cast<uintptr_t>(record) % 8, 4u);
  const Bytes input = Text(100000, 1);
  EXPECT_TRUE(DecodesTo(EncodeWith(record, input), input));
  EXPECT_EQ(zelsLZ77Free_8u(record), zelOk);
}

TEST_F(Allocation, CodingAllocatesNothing) {
  zelLZ77State* record = nullptr;
  ASSERT_EQ(zelsEncodeLZ77InitAlloc_8u(zelLZ77LevelBest, zelLZ77CheckCrc32, &record), zelOk);
  const Bytes input = Mixed(300000, 1);
  EncodeOptions options;
  options.dictionary = Text(1000, 2);
  options.trailer = true;
  EncodeWith(record, input, options);
  EXPECT_EQ(zelsEncodeLZ77Reset_8u(record), zelOk);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(Allocator().frees, 0);
  EXPECT_EQ(zelsLZ77Free_8u(record), zelOk);
}
