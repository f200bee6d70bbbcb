// InitAlloc of the interval coder over an application's own allocator.

#include "gtest/gtest.h"
#include "library/counting_allocator.h"
#include "zeldc.h"

namespace {

using zeldc_test::Allocator;

zelGITEncodeState* const kEncoderMark = reinterpret_cast<zelGITEncodeState*>(&Allocator());
zelGITDecodeState* const kDecoderMark = reinterpret_cast<zelGITDecodeState*>(&Allocator());

}  // namespace

TEST(GitEncodeInitAlloc, TakesTheReportedSizeAndAnswersAsInit) {
  for (int32_t max_src_len : {100, 5000}) {
    int32_t size = 0;
    const zelStatus expected = zelsEncodeGITGetSize_8u(max_src_len, 10000, &size);
    EXPECT_EQ(expected, max_src_len < 4096 ? zelWarnDstFull : zelOk);
    Allocator() = {};
    Allocator().only_4_aligned = true;
    zelGITEncodeState* state = nullptr;
    EXPECT_EQ(zelsEncodeGITInitAlloc_8u(max_src_len, 10000, &state), expected);
    EXPECT_EQ(Allocator().mallocs, 1);
    EXPECT_EQ(Allocator().last_size, size);
    ASSERT_EQ(state, Allocator().last_result);
    uint8_t container[9000];
    int32_t length = 0;
    EXPECT_EQ(zelsEncodeGIT_8u(container, 0, container, &length, 1, state), zelOk);
    EXPECT_EQ(Allocator().mallocs, 1);
    EXPECT_EQ(zelsGITFree_8u(state), zelOk);
    EXPECT_EQ(Allocator().last_freed, state);
  }
}

TEST(GitEncodeInitAlloc, ChecksLengthsAndThenMemory) {
  Allocator() = {};
  zelGITEncodeState* state = kEncoderMark;
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(0, 1, nullptr), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(0, 1, &state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(1, 0, &state), zelErrSize);
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(0x7FFFFFFF, 1, &state), zelErrSize);
  EXPECT_EQ(state, kEncoderMark);
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  EXPECT_EQ(zelsEncodeGITInitAlloc_8u(5000, 10000, &state), zelErrNoMem);
  EXPECT_EQ(state, nullptr);
  EXPECT_EQ(Allocator().mallocs, 1);
}

TEST(GitDecodeInitAlloc, TakesTheSizeForMaxLen) {
  Allocator() = {};
  Allocator().only_4_aligned = true;
  zelGITDecodeState* state = nullptr;
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(100, 5000, &state), zelOk);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(Allocator().last_size, 256 * 96 + 28824);
  ASSERT_EQ(state, Allocator().last_result);
  uint8_t byte = 0;
  int32_t length = 7;
  EXPECT_EQ(zelsDecodeGIT_8u(&byte, 0, &byte, &length, 1, state), zelOk);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(Allocator().mallocs, 1);
  EXPECT_EQ(zelsGITFree_8u(state), zelOk);
  EXPECT_EQ(Allocator().last_freed, state);
}

TEST(GitDecodeInitAlloc, ChecksPointerThenLengthsThenMemory) {
  Allocator() = {};
  zelGITDecodeState* state = kDecoderMark;
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(0, 0, nullptr), zelErrNullPtr);
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(0, 1, &state), zelErrSize);
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(1, 0, &state), zelErrSize);
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(0x7FFFFFFF, 1, &state), zelErrSize);
  EXPECT_EQ(state, kDecoderMark);
  EXPECT_EQ(Allocator().mallocs, 0);
  Allocator().fails = true;
  EXPECT_EQ(zelsDecodeGITInitAlloc_8u(100, 100, &state), zelErrNullPtr);
  EXPECT_EQ(state, nullptr);
}
