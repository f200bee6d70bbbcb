// The parts of the Huffman stage by themselves: costs of groups, the order of tables, bits, code lengths.

#include <algorithm>
#include <numeric>

#include "bzip2/bit_string.h"
#include "bzip2/group_cost.h"
#include "bzip2/huffman_model.h"
#include "gtest/gtest.h"
#include "shared/bits_msb.h"
#include "shared/code_lengths.h"
#include "support/data.h"
#include "support/guarded_buffer.h"

namespace zeldc_test {
namespace {

template <typename Kernel>
class GroupCostKernel : public testing::Test {};

#if ZELDC_SSE2
using Kernels = testing::Types<zeldc::WordCosts, zeldc::VectorCosts>;
#else
using Kernels = testing::Types<zeldc::WordCosts>;
#endif
TYPED_TEST_SUITE(GroupCostKernel, Kernels);

TYPED_TEST(GroupCostKernel, FindsTheFirstOfTheCheapestTables) {
  Random random(1);
  for (int round = 0; round < 300; ++round) {
    // Few different costs make equal sums; the largest ones fill the lanes.
    const uint8_t most = round % 3 == 0 ? 2 : 20;
    const uint8_t least = round % 5 == 0 ? static_cast<uint8_t>(most - 1) : 0;
    uint8_t costs[258][6];
    typename TypeParam::Row rows[258];
    for (int v = 0; v < 258; ++v) {
      for (uint8_t& cost : costs[v]) cost = static_cast<uint8_t>(Uniform(random, least, most));
      rows[v] = TypeParam::MakeRow(costs[v]);
    }
    for (int n = 1; n <= 50; ++n) {
      const GuardedBuffer memory(static_cast<size_t>(n) * 2);
      uint16_t* const group = reinterpret_cast<uint16_t*>(memory.data());
      int sums[6] = {};
      for (int i = 0; i < n; ++i) {
        group[i] = static_cast<uint16_t>(Uniform(random, 0, 257));
        for (int t = 0; t < 6; ++t) sums[t] += costs[group[i]][t];
      }
      ASSERT_EQ(TypeParam::Cheapest(rows, group, n), std::min_element(sums, sums + 6) - sums);
    }
  }
}

TEST(Bzip2TableOrder, IsMoveToFront) {
  zeldc::TableOrder forward, back;
  std::vector<uint32_t> order = {0, 1, 2, 3, 4, 5};
  Random random(1);
  for (int i = 0; i < 2000; ++i) {
    const uint32_t table = static_cast<uint32_t>(Uniform(random, 0, 5));
    const auto found = std::find(order.begin(), order.end(), table);
    const uint32_t place = static_cast<uint32_t>(found - order.begin());
    std::rotate(order.begin(), found, found + 1);
    ASSERT_EQ(forward.PlaceOf(table), place);
    ASSERT_EQ(back.TakeFrom(place), table);
  }
}

TEST(MsbReader, ReadsFieldsOfEverySizeAndGivesTheRestBack) {
  const Bytes data = RandomBytes(100, 1);
  const GuardedBuffer source(data);
  for (int32_t waiting = 0; waiting <= 32; ++waiting) {
    const uint32_t code = 0x9E3779B9;
    const std::string bits = BitsOf(nullptr, 0, code, waiting).bits + BitsOf(data.data(), data.size()).bits;
    for (uint32_t n = 1; n <= 32; ++n) {
      zeldc::MsbReader reader(code, waiting, source.data(), source.size());
      size_t at = 0;
      for (; reader.Has(n); at += n) {
        ASSERT_EQ(BitString().Put(reader.Peek(n), static_cast<int>(n)).bits, bits.substr(at, n));
        zeldc::MsbReader settled = reader;
        settled.Settle(n);
        ASSERT_GE(settled.count, n);
        ASSERT_TRUE(settled.count <= n + 7 || settled.src == source.data());
        ASSERT_EQ(bits.size() - at, settled.count + 8 * static_cast<size_t>(source.end() - settled.src));
        ASSERT_EQ(BitsOf(nullptr, 0, settled.Waiting(), static_cast<int>(n)).bits, bits.substr(at, n));
        reader.Consume(n);
      }
      ASSERT_LT(bits.size() - at, n);
      ASSERT_EQ(reader.count, bits.size() - at);
      ASSERT_EQ(reader.src, source.end());
    }
  }
}

TEST(MsbWriter, WritesFieldsOfEverySizeIntoEveryRoom) {
  Random random(1);
  for (size_t room = 0; room <= 40; ++room) {
    for (int round = 0; round < 20; ++round) {
      const GuardedBuffer dst(room);
      const int32_t waiting = static_cast<int32_t>(Uniform(random, 0, 32));
      const uint32_t code = static_cast<uint32_t>(random());
      zeldc::MsbWriter writer(code, waiting, dst.data(), room);
      BitString expected = BitsOf(nullptr, 0, code, waiting);
      size_t last = 0;
      while (expected.bits.size() < 300) {
        last = Uniform(random, 1, 32);
        const uint32_t value = static_cast<uint32_t>(random()) >> (32 - last);
        writer.WriteAndPut(value, static_cast<uint32_t>(last));
        expected.Put(value, static_cast<int>(last));
        const size_t written = std::min(room, (expected.bits.size() - last) / 8);
        ASSERT_EQ(writer.out - dst.data(), static_cast<ptrdiff_t>(written));
        ASSERT_EQ(BitsOf(dst.data(), written).bits, expected.bits.substr(0, 8 * written));
        const size_t left = expected.bits.size() - 8 * written;
        ASSERT_EQ(writer.WaitingCount(), static_cast<int32_t>(left));
        ASSERT_EQ(BitsOf(nullptr, 0, writer.Waiting(), static_cast<int>(std::min<size_t>(left, 32))).bits,
                  expected.bits.substr(8 * written, 32));
      }
    }
  }
}

TEST(MsbWriter, CountsWhatIsLostWithoutOverflow) {
  uint8_t byte = 0;
  zeldc::MsbWriter writer(0xFFFFFFFF, 32, &byte, 1);
  for (int i = 0; i < 100; ++i) writer.WriteAndPut(0, 32);
  EXPECT_EQ(writer.WaitingCount(), 24 + 3200);
  EXPECT_EQ(writer.Waiting(), 0xFFFFFF00);
  writer.count = INT32_MAX - 10;
  writer.WriteAndPut(0, 32);
  EXPECT_EQ(writer.WaitingCount(), INT32_MAX);
  writer.WriteAndPut(0, 32);
  EXPECT_EQ(writer.WaitingCount(), INT32_MAX);
}

TEST(CodeLengths, CountsAreThoseOfTheMergedListAtALimitOf17) {
  Random random(1);
  for (int round = 0; round < 500; ++round) {
    const size_t n = Uniform(random, 2, round % 2 != 0 ? 258 : 40);
    // Up to 26 powers of two apart: many of these codes are too deep at first.
    const unsigned spread = static_cast<unsigned>(Uniform(random, 0, 26));
    std::vector<uint32_t> weights(n);
    for (uint32_t& weight : weights) weight = std::max(1u, 1u << Uniform(random, 0, spread));
    std::sort(weights.begin(), weights.end());
    const Lengths model = ModelLengths(weights);
    int count[zeldc::kMaxCodeLimit + 1];
    zeldc::CountCodeLengths(weights.data(), static_cast<int>(n), 17, count);
    for (int length = 0; length <= 17; ++length) {
      ASSERT_EQ(count[length], std::count(model.begin(), model.end(), length)) << length;
    }
  }
}

}  // namespace
}  // namespace zeldc_test
