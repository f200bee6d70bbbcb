// Dictionary reduction and expansion: statuses, edge cases, and the plain maps for every length and number of threads.

#include <omp.h>

#include <algorithm>
#include <vector>

#include "dictionary/thread_count.h"
#include "gtest/gtest.h"
#include "support/data.h"
#include "support/guarded_buffer.h"
#include "zeldc.h"

namespace {

using namespace zeldc_test;

Bytes PlainReduced(const Bytes& in_use, const Bytes& bytes) {
  Bytes out;
  for (uint8_t byte : bytes) {
    unsigned number = 0;
    for (unsigned v = 0; v < byte; ++v) number += in_use[v];
    out.push_back(static_cast<uint8_t>(number));
  }
  return out;
}

// For numbers that values have.
Bytes PlainExpanded(const Bytes& in_use, const Bytes& numbers) {
  Bytes values;
  for (unsigned v = 0; v < 256; ++v) {
    if (in_use[v] != 0) values.push_back(static_cast<uint8_t>(v));
  }
  Bytes out;
  for (uint8_t number : numbers) out.push_back(values.at(number));
  return out;
}

Bytes UsedIn(const Bytes& bytes) {
  Bytes in_use(256);
  for (uint8_t byte : bytes) in_use[byte] = 1;
  return in_use;
}

int32_t SizeOf(const Bytes& in_use) { return static_cast<int32_t>(std::count(in_use.begin(), in_use.end(), 1)); }

Bytes Reduced(const Bytes& in_use, const Bytes& bytes, Guard guard = Guard::kBehind) {
  const GuardedBuffer table(in_use);
  const GuardedBuffer buffer(bytes.size(), guard);
  std::copy(bytes.begin(), bytes.end(), buffer.data());
  int32_t size = -1;
  EXPECT_EQ(zelsReduceDictionary_8u_I(table.data(), buffer.data(), static_cast<int32_t>(bytes.size()), &size), zelOk);
  int32_t sum = 0;
  for (uint8_t entry : in_use) sum += entry;
  EXPECT_EQ(size, sum);
  return buffer.ToBytes();
}

Bytes Expanded(const Bytes& in_use, const Bytes& numbers, int32_t size, Guard guard = Guard::kBehind) {
  const GuardedBuffer table(in_use);
  const GuardedBuffer buffer(numbers.size(), guard);
  std::copy(numbers.begin(), numbers.end(), buffer.data());
  EXPECT_EQ(zelsExpandDictionary_8u_I(table.data(), buffer.data(), static_cast<int32_t>(numbers.size()), size), zelOk);
  return buffer.ToBytes();
}

class Reduction : public testing::Test {
 protected:
  Reduction() { Threads() = {}; }
};

}  // namespace

TEST_F(Reduction, ReductionErrorsInTheirOrderChangeNothing) {
  const Bytes in_use(256, 1);
  Bytes bytes = {1, 2, 3};
  int32_t size = -7;
  EXPECT_EQ(zelsReduceDictionary_8u_I(nullptr, bytes.data(), 0, &size), zelErrNullPtr);
  EXPECT_EQ(zelsReduceDictionary_8u_I(in_use.data(), nullptr, 0, &size), zelErrNullPtr);
  EXPECT_EQ(zelsReduceDictionary_8u_I(in_use.data(), bytes.data(), 0, nullptr), zelErrNullPtr);
  for (int32_t len : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsReduceDictionary_8u_I(in_use.data(), bytes.data(), len, &size), zelErrSize);
  }
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
  EXPECT_EQ(size, -7);
}

TEST_F(Reduction, ExpansionErrorsInTheirOrderChangeNothing) {
  const Bytes in_use(256, 1);
  Bytes bytes = {1, 2, 3};
  EXPECT_EQ(zelsExpandDictionary_8u_I(nullptr, bytes.data(), 0, 0), zelErrNullPtr);
  EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), nullptr, 0, 0), zelErrNullPtr);
  for (int32_t bad : {0, -1, INT32_MIN}) {
    EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), bytes.data(), bad, 7), zelErrSize);
    EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), bytes.data(), 3, bad), zelErrSize);
  }
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

TEST_F(Reduction, TwoValues) {
  Bytes in_use(256);
  in_use[97] = in_use[99] = 1;
  EXPECT_EQ(Reduced(in_use, {97, 99, 97}), (Bytes{0, 1, 0}));
  EXPECT_EQ(Expanded(in_use, {0, 1, 0}, 2), (Bytes{97, 99, 97}));
}

TEST_F(Reduction, ExpansionWithAnotherSizeLeavesTheData) {
  Bytes in_use(256);
  in_use[97] = in_use[99] = 1;
  for (size_t len : {3, 5000}) {
    const Bytes before(len, 1);
    Bytes bytes = before;
    for (int32_t size : {1, 3, 256, INT32_MAX}) {
      EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), bytes.data(), static_cast<int32_t>(len), size), zelErr);
    }
    EXPECT_EQ(bytes, before);
  }
}

TEST_F(Reduction, AllValuesInUseIsTheIdentity) {
  const Bytes in_use(256, 1);
  const Bytes bytes = RandomBytes(3000, 1);
  EXPECT_EQ(Reduced(in_use, bytes), bytes);
  EXPECT_EQ(Expanded(in_use, bytes, 256), bytes);
}

TEST_F(Reduction, NoValueInUse) {
  const Bytes in_use(256);
  for (size_t len : {1, 31, 100, 2047, 2048}) EXPECT_EQ(Reduced(in_use, RandomBytes(len, 2)), Bytes(len, 0));
  Bytes bytes = {1, 2, 3};
  EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), bytes.data(), 3, 0), zelErrSize);
  EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), bytes.data(), 3, 1), zelErr);
  EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

TEST_F(Reduction, ValueNotInUseBecomesTheNextNumber) {
  Bytes in_use(256);
  in_use[97] = in_use[99] = 1;
  EXPECT_EQ(Reduced(in_use, {0, 96, 97, 98, 99, 100, 255}), (Bytes{0, 0, 0, 1, 1, 2, 2}));
}

TEST_F(Reduction, EntriesAboveOneCountAsTheyStand) {
  Bytes in_use(256);
  in_use[3] = 2;
  in_use[5] = 255;
  in_use[9] = 1;
  EXPECT_EQ(Reduced(in_use, {3, 4, 5, 6, 9, 10}), (Bytes{0, 2, 2, 1, 1, 2}));
  Bytes numbers = {0, 2};
  EXPECT_EQ(zelsExpandDictionary_8u_I(in_use.data(), numbers.data(), 2, 258), zelOk);
  EXPECT_EQ(numbers, (Bytes{3, 5}));
  EXPECT_EQ(Expanded(Bytes(256, 255), {0, 255}, 65280), (Bytes{0, 1}));
}

// Nothing but the input decides what a number becomes that no value has.
TEST_F(Reduction, NumbersWithoutAValueAlwaysBecomeTheSame) {
  Bytes in_use(256);
  in_use[10] = in_use[20] = 1;
  Bytes numbers(256);
  for (size_t i = 0; i < 256; ++i) numbers[i] = static_cast<uint8_t>(i);
  const Bytes first = Expanded(in_use, numbers, 2);
  EXPECT_EQ(first[0], 10);
  EXPECT_EQ(first[1], 20);
  EXPECT_EQ(first[2], 255);  // the value last written behind the last number
  for (size_t i = 3; i < 256; ++i) EXPECT_EQ(first[i], 0) << i;
  Expanded(Bytes(256, 1), numbers, 256);
  EXPECT_EQ(Expanded(in_use, numbers, 2), first);
}

TEST_F(Reduction, EverySingleByteByEveryTable) {
  Bytes bytes(256);
  for (size_t i = 0; i < 256; ++i) bytes[i] = static_cast<uint8_t>(i);
  for (uint64_t seed = 0; seed < 200; ++seed) {
    const Bytes in_use = SmallAlphabet(256, 2, seed);
    ASSERT_EQ(Reduced(in_use, bytes), PlainReduced(in_use, bytes));
  }
}

TEST_F(Reduction, EveryLengthBetweenGuardPages) {
  const Bytes data = Text(2600, 3);
  const Bytes in_use = UsedIn(data);
  for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
    for (size_t len = 1; len <= data.size(); len = len < 150 ? len + 1 : len + 49) {
      const Bytes bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(len));
      const Bytes numbers = Reduced(in_use, bytes, guard);
      ASSERT_EQ(numbers, PlainReduced(in_use, bytes)) << len;
      ASSERT_EQ(PlainExpanded(in_use, numbers), bytes) << len;
      ASSERT_EQ(Expanded(in_use, numbers, SizeOf(in_use), guard), bytes) << len;
    }
  }
}

TEST_F(Reduction, EveryAlignment) {
  const Bytes data = Mixed(5000, 4);
  const Bytes in_use = UsedIn(data);
  for (size_t offset = 0; offset < 33; ++offset) {
    Bytes memory(offset, 0xEE);
    memory.insert(memory.end(), data.begin(), data.end());
    memory.resize(memory.size() + 40, 0xEE);
    Bytes expected = memory;
    const Bytes reduced = PlainReduced(in_use, data);
    std::copy(reduced.begin(), reduced.end(), expected.begin() + static_cast<ptrdiff_t>(offset));
    int32_t size = 0;
    ASSERT_EQ(
        zelsReduceDictionary_8u_I(in_use.data(), memory.data() + offset, static_cast<int32_t>(data.size()), &size),
        zelOk);
    ASSERT_EQ(memory, expected) << offset;
  }
}

TEST_F(Reduction, ThreadsAreAskedForFrom2048BytesOnAndAtEveryCall) {
  const Bytes data = Text(2048, 5);
  const Bytes in_use = UsedIn(data);
  Reduced(in_use, Bytes(data.begin(), data.end() - 1));
  Expanded(in_use, Bytes(2047, 0), SizeOf(in_use));
  EXPECT_EQ(Threads().asked, 0);
  Reduced(in_use, data);
  EXPECT_EQ(Threads().asked, 1);
  Expanded(in_use, Bytes(2048, 0), SizeOf(in_use));
  EXPECT_EQ(Threads().asked, 2);
}

TEST_F(Reduction, LengthsAround2048GiveTheSame) {
  const Bytes data = Text(2049, 5);
  const Bytes in_use = UsedIn(data);
  const Bytes expected = PlainReduced(in_use, data);
  for (size_t len : {2047, 2048, 2049}) {
    EXPECT_EQ(Reduced(in_use, Bytes(data.begin(), data.begin() + static_cast<ptrdiff_t>(len))),
              Bytes(expected.begin(), expected.begin() + static_cast<ptrdiff_t>(len)));
  }
}

// Whatever number is asked for, and whatever the run time grants: this test also runs with a limit of two threads.
TEST_F(Reduction, AnyNumberOfThreadsGivesTheSame) {
  for (const NamedData& input :
       {NamedData{"short", Text(2048, 6)}, {"odd", Text(2111, 7)}, {"long", Mixed(70001, 8)}}) {
    const Bytes in_use = UsedIn(input.data);
    const Bytes expected = PlainReduced(in_use, input.data);
    for (int threads : {1, 2, 3, 4, 5, 7, 8, 16, 33, 64}) {
      Threads().answer = threads;
      for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
        ASSERT_EQ(Reduced(in_use, input.data, guard), expected) << input.name << ", " << threads;
        ASSERT_EQ(Expanded(in_use, expected, SizeOf(in_use), guard), input.data) << input.name << ", " << threads;
      }
    }
  }
}

TEST_F(Reduction, WithinARegionOfTheCallersOneThreadDoesAll) {
  const Bytes data = Mixed(50000, 9);
  const Bytes in_use = UsedIn(data);
  const Bytes expected = PlainReduced(in_use, data);
  std::vector<Bytes> results(3, data);
  std::vector<int32_t> sizes(3);
  omp_set_max_active_levels(1);
#pragma omp parallel for num_threads(3)
  for (int i = 0; i < 3; ++i) {
    const auto at = static_cast<size_t>(i);
    zelsReduceDictionary_8u_I(in_use.data(), results[at].data(), static_cast<int32_t>(data.size()), &sizes[at]);
  }
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(results[i], expected);
    EXPECT_EQ(sizes[i], SizeOf(in_use));
  }
}
