// The fills and the copy against their plain definition, at every length around the block sizes and every alignment.

#include "core/vector_primitives.h"

#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"

namespace {

using zeldc_test::Bytes;
using zeldc_test::Guard;
using zeldc_test::GuardedBuffer;

struct Fill {
  std::string name;
  size_t element;  // bytes
  Bytes pattern;   // one element
  std::function<void(uint8_t* dst, int32_t len)> run;
};

// The destination may stand at any address, hence the cast through void*.
template <typename T>
T* At(uint8_t* p) {
  return static_cast<T*>(static_cast<void*>(p));
}

// In the processor's own order, as an element is stored.
template <typename T>
Bytes BytesOf(T value) {
  Bytes bytes(sizeof(value));
  memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

const std::vector<Fill>& Fills() {
  constexpr int16_t k16 = -0x5433;
  constexpr int32_t k32 = -0x7EFDFCFC;
  constexpr int64_t k64 = 0x0102030405060708;
  static const std::vector<Fill> fills = {
      {"ownsZero_8u", 1, {0}, [](uint8_t* dst, int32_t len) { ownsZero_8u(dst, len); }},
      {"ownsSet_8u", 1, {0x5A}, [](uint8_t* dst, int32_t len) { ownsSet_8u(0x5A, dst, len); }},
      {"ownsSet_16s", 2, BytesOf(k16), [](uint8_t* dst, int32_t len) { ownsSet_16s(k16, At<int16_t>(dst), len); }},
      {"ownsSet_32s", 4, BytesOf(k32), [](uint8_t* dst, int32_t len) { ownsSet_32s(k32, At<int32_t>(dst), len); }},
      {"ownsSet_64s", 8, BytesOf(k64), [](uint8_t* dst, int32_t len) { ownsSet_64s(k64, At<int64_t>(dst), len); }},
  };
  return fills;
}

Bytes Filled(const Fill& fill, size_t len) {
  Bytes expected;
  for (size_t i = 0; i < len; ++i) expected.insert(expected.end(), fill.pattern.begin(), fill.pattern.end());
  return expected;
}

constexpr uint8_t kUntouched = 0xE7;
constexpr size_t kMargin = 64;

// Fills at `offset` from a 64-byte boundary and looks at what stands around, too.
testing::AssertionResult FillsExactly(const Fill& fill, size_t offset, size_t len) {
  const size_t bytes = len * fill.element;
  std::vector<uint8_t> memory(bytes + 3 * kMargin, kUntouched);
  const size_t to_boundary = (kMargin - reinterpret_cast<uintptr_t>(memory.data()) % kMargin) % kMargin;
  const size_t start = to_boundary + offset;
  fill.run(memory.data() + start, static_cast<int32_t>(len));
  std::vector<uint8_t> expected(memory.size(), kUntouched);
  const Bytes filled = Filled(fill, len);
  memcpy(expected.data() + start, filled.data(), bytes);
  if (memory == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure() << fill.name << " of " << len << " elements at offset " << offset;
}

}  // namespace

TEST(VectorPrimitives, FillsEveryLengthAtEveryAlignment) {
  for (const Fill& fill : Fills()) {
    for (size_t offset = 0; offset < 32; ++offset) {
      for (size_t len = 1; len <= 300; ++len) ASSERT_TRUE(FillsExactly(fill, offset, len));
    }
  }
}

TEST(VectorPrimitives, LargeFillsAroundTheThresholds) {
  for (const Fill& fill : Fills()) {
    for (size_t bytes : {0x80000, 0x100000, 0x300000}) {
      const size_t len = bytes / fill.element;
      for (size_t offset : {0, 1, 7, 15}) {
        for (size_t n : {len - 1, len, len + 1, len + 17}) ASSERT_TRUE(FillsExactly(fill, offset, n));
      }
    }
  }
}

TEST(VectorPrimitives, FillsStayBetweenGuardPages) {
  for (const Fill& fill : Fills()) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      for (size_t len = 1; len <= 150; ++len) {
        const GuardedBuffer buffer(len * fill.element, guard);
        fill.run(buffer.data(), static_cast<int32_t>(len));
        ASSERT_EQ(buffer.ToBytes(), Filled(fill, len)) << fill.name << " " << len;
      }
    }
  }
}

TEST(VectorPrimitives, CopyOfEveryLengthAtEveryAlignment) {
  const Bytes source = zeldc_test::RandomBytes(400, 1);
  for (size_t from = 0; from < 32; from += 3) {
    for (size_t to = 0; to < 32; ++to) {
      for (size_t len = 1; len <= 300; ++len) {
        Bytes memory(400, kUntouched), expected = memory;
        ownsCopy_8u(source.data() + from, memory.data() + to, static_cast<int32_t>(len));
        for (size_t i = 0; i < len; ++i) expected[to + i] = source[from + i];
        ASSERT_EQ(memory, expected) << from << " " << to << " " << len;
      }
    }
  }
}

TEST(VectorPrimitives, CopyStaysBetweenGuardPages) {
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (size_t len = 1; len <= 300; ++len) {
      const GuardedBuffer source(zeldc_test::RandomBytes(len, len), guard), destination(len, guard);
      ownsCopy_8u(source.data(), destination.data(), static_cast<int32_t>(len));
      ASSERT_EQ(destination.ToBytes(), source.ToBytes());
    }
  }
}

TEST(VectorPrimitives, LargeCopy) {
  const Bytes source = zeldc_test::RandomBytes(0x300001, 2);
  Bytes destination(source.size() + 1, kUntouched);
  ownsCopy_8u(source.data(), destination.data(), static_cast<int32_t>(source.size()));
  EXPECT_EQ(memcmp(destination.data(), source.data(), source.size()), 0);
  EXPECT_EQ(destination.back(), kUntouched);
}

TEST(VectorPrimitives, CheckedFormsLookAtPointersFirst) {
  uint8_t byte = 1;
  for (int32_t len : {-1, 0, 1}) {
    EXPECT_EQ(zelsZero_8u(nullptr, len), zelErrNullPtr);
    EXPECT_EQ(zelsCopy_8u(nullptr, &byte, len), zelErrNullPtr);
    EXPECT_EQ(zelsCopy_8u(&byte, nullptr, len), zelErrNullPtr);
    EXPECT_EQ(zelsSet_8u(7, nullptr, len), zelErrNullPtr);
    EXPECT_EQ(zelsSet_16s(7, nullptr, len), zelErrNullPtr);
  }
}

TEST(VectorPrimitives, CheckedFormsRefuseLengthsBelowOne) {
  uint8_t source = 2, byte = 1;
  int16_t word = 1;
  for (int32_t len : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsZero_8u(&byte, len), zelErrSize);
    EXPECT_EQ(zelsCopy_8u(&source, &byte, len), zelErrSize);
    EXPECT_EQ(zelsSet_8u(7, &byte, len), zelErrSize);
    EXPECT_EQ(zelsSet_16s(7, &word, len), zelErrSize);
  }
  EXPECT_EQ(byte, 1);
  EXPECT_EQ(word, 1);
}

TEST(VectorPrimitives, CheckedFormsDoTheirWork) {
  const uint8_t source[3] = {1, 2, 3};
  uint8_t bytes[4] = {9, 9, 9, 9};
  int16_t words[3] = {9, 9, 9};
  EXPECT_EQ(zelsCopy_8u(source, bytes, 3), zelOk);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{1, 2, 3, 9}));
  EXPECT_EQ(zelsSet_8u(7, bytes, 2), zelOk);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{7, 7, 3, 9}));
  EXPECT_EQ(zelsZero_8u(bytes, 1), zelOk);
  EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0, 7, 3, 9}));
  EXPECT_EQ(zelsSet_16s(-2, words, 2), zelOk);
  EXPECT_EQ(std::vector<int16_t>(words, words + 3), (std::vector<int16_t>{-2, -2, 9}));
}
