// Chains of positions with the same hash of four bytes, linked by distances, and the choice between them.
//
// A string of L bytes stands in L - 3 such chains at once, one for each of its bytes but the last three. Where a longer
// match is looked for, it must stand in all of them: of the links that lead from a position to the one before it, the
// longest may be followed, for the chains are in the order of distance, and every position that one of them leaves out
// is no candidate.
#pragma once

#include <stdint.h>

#include "core/assert.h"
#include "core/target.h"
#include "shared/hash_salt.h"
#include "shared/unaligned.h"

#if ZELDC_SSE41
#include <smmintrin.h>
#endif

namespace zeldc {

inline constexpr uint32_t kHash4Factor = 0x9E3779B1;
inline uint32_t Hash4(const uint8_t* p) { return (LoadLE<uint32_t>(p) * kHash4Factor) >> (32 - kHashBits); }

// The longest of the n >= 1 links, or of their first few; answers its index. May look at links behind them.
inline constexpr uint32_t kMostLinks = 32;

#if ZELDC_SSE41

ZELDC_ALWAYS_INLINE uint32_t LongestLink(const uint16_t* links, uint32_t n) {
  // Positions of the smallest complements, eight links a step; those behind the n-th complement to the largest value.
  alignas(16) static constexpr uint16_t kBehind[16] = {0,      0,      0,      0,      0,      0,      0,      0,
                                                       0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
  ZELDC_ASSERT(n >= 1);
  if (n > kMostLinks) n = kMostLinks;
  uint32_t best = 0xFFFF;
  uint32_t bestIndex = 0;
  for (uint32_t k = 0; k < n; k += 8) {
    const uint32_t valid = n - k < 8 ? n - k : 8;
    const __m128i behind = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kBehind + 8 - valid));
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(links + k));
    const uint32_t m = static_cast<uint32_t>(
        _mm_cvtsi128_si32(_mm_minpos_epu16(_mm_or_si128(_mm_xor_si128(v, _mm_set1_epi32(-1)), behind))));
    if ((m & 0xFFFF) < best) {
      best = m & 0xFFFF;
      bestIndex = k + (m >> 16);
    }
  }
  return bestIndex;
}

#else

inline uint32_t LongestLink(const uint16_t* links, uint32_t n) {
  ZELDC_ASSERT(n >= 1);
  if (n > kMostLinks) n = kMostLinks;
  uint32_t best = 0;
  for (uint32_t k = 1; k < n; ++k) {
    if (links[k] > links[best]) best = k;
  }
  return best;
}

#endif

}  // namespace zeldc
