// What a group of symbols costs in each of six tables, and the table in which it costs least.
//
// A row for each symbol holds its cost in every table, so that one addition a symbol sums all six: eight lanes of 16
// bits in a vector, or six lanes of 10 bits in a word. No cost is above 20, and 50 of them stay below 1024. A table
// that is not there costs 20 a symbol, more than any that is.
#pragma once

#include <stdint.h>

#include <utility>

#include "bzip2/huffman_format.h"
#include "core/target.h"

#if ZELDC_SSE2
#include <immintrin.h>
#endif

namespace zeldc {

inline constexpr uint32_t kCostOfNoTable = 20;

// Calls step(0), step(1), ... for each symbol of a group, unrolled where the group is whole.
template <typename Step>
ZELDC_ALWAYS_INLINE void ForEachInGroup(int n, Step step) {
  if (ZELDC_LIKELY(n == kGroupSize)) {
    [&]<int... kAt>(std::integer_sequence<int, kAt...>) ZELDC_LAMBDA_INLINE { (step(kAt), ...); }
    (std::make_integer_sequence<int, kGroupSize>());
  } else {
    for (int i = 0; i < n; ++i) step(i);
  }
}

struct WordCosts {
  using Row = uint64_t;
  static constexpr int kBits = 10;
  static_assert(kGroupSize * kCostOfNoTable < 1u << kBits && kMaxHuffTables * kBits <= 64);

  static Row MakeRow(const uint8_t (&costs)[kMaxHuffTables]) {
    Row row = 0;
    for (int t = 0; t < kMaxHuffTables; ++t) row |= Row{costs[t]} << (kBits * t);
    return row;
  }

  // The table in which the n symbols cost least, the first one of equals.
  static ZELDC_ALWAYS_INLINE uint32_t Cheapest(const Row* rows, const uint16_t* group, int n) {
    Row sum = 0;
    ForEachInGroup(n, [&](int i) ZELDC_LAMBDA_INLINE { sum += rows[group[i]]; });
    uint32_t least = UINT32_MAX;
    for (uint32_t t = 0; t < kMaxHuffTables; ++t) {
      const uint32_t cost = static_cast<uint32_t>(sum >> (kBits * t)) & ((1u << kBits) - 1);
      least = least < (cost << 3 | t) ? least : cost << 3 | t;
    }
    return least & 7;
  }
};

#if ZELDC_SSE2
struct VectorCosts {
  using Row = __m128i;

  static Row MakeRow(const uint8_t (&costs)[kMaxHuffTables]) {
    constexpr int16_t kNone = static_cast<int16_t>(kCostOfNoTable);
    return _mm_setr_epi16(costs[0], costs[1], costs[2], costs[3], costs[4], costs[5], kNone, kNone);
  }

  static ZELDC_ALWAYS_INLINE uint32_t Cheapest(const Row* rows, const uint16_t* group, int n) {
    Row even = _mm_setzero_si128(), odd = even;
    ForEachInGroup(n, [&](int i) ZELDC_LAMBDA_INLINE {
      Row& sum = i % 2 ? odd : even;
      sum = _mm_add_epi16(sum, rows[group[i]]);
    });
    const Row sum = _mm_add_epi16(even, odd);
#if ZELDC_SSE41
    return static_cast<uint32_t>(_mm_extract_epi16(_mm_minpos_epu16(sum), 1));
#else
    // Each lane's number below its sum; then the least lane.
    Row least = _mm_or_si128(_mm_slli_epi16(sum, 3), _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
    least = _mm_min_epi16(least, _mm_srli_si128(least, 8));
    least = _mm_min_epi16(least, _mm_srli_si128(least, 4));
    least = _mm_min_epi16(least, _mm_srli_si128(least, 2));
    return static_cast<uint32_t>(_mm_extract_epi16(least, 0)) & 7;
#endif
  }
};
using GroupCosts = VectorCosts;
#else
using GroupCosts = WordCosts;
#endif

}  // namespace zeldc
