// Large fills on a processor that tells of a small cache: they go around it.

#include "core/cache_size.h"
#include "core/vector_primitives.h"
#include "gtest/gtest.h"
#include "support/guarded_buffer.h"

// In place of the library's own.
int64_t ownQueryCacheSize() { return 0x200000; }

namespace {

using namespace zeldc_test;

TEST(StreamingFill, LargeFillsAreExactAtEveryAlignment) {
  for (size_t bytes : {0x100000, 0x100001, 0x200033}) {
    for (size_t offset = 0; offset < 16; ++offset) {
      const GuardedBuffer buffer(bytes + offset);
      ownsSet_8u(0xE7, buffer.data() + offset, static_cast<int32_t>(bytes));
      Bytes expected(bytes + offset, 0xE7);
      std::fill_n(expected.begin(), offset, uint8_t{0});
      ASSERT_TRUE(buffer.ToBytes() == expected) << bytes << " " << offset;
    }
  }
}

TEST(StreamingFill, PatternsOfEightBytesKeepTheirPlace) {
  constexpr size_t kCount = 0x40001;
  const GuardedBuffer buffer(8 * kCount);
  int64_t* const values = reinterpret_cast<int64_t*>(buffer.data());
  ownsSet_64s(0x0123456789ABCDEF, values, kCount);
  for (size_t i = 0; i < kCount; ++i) ASSERT_EQ(values[i], 0x0123456789ABCDEF) << i;
}

}  // namespace
