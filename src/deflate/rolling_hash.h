// The rolling hash of the fast searches: h = (h << 5) ^ byte, cut to the table's bits.
//
// With 15 bits or fewer, a position's hash depends on its three bytes alone; with 16, the lowest bit of the byte before
// it is still there.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#endif

namespace zeldc {

// `mask` is 2^n - 1, at most 16 bits.
ZELDC_ALWAYS_INLINE uint16_t RollingHash(const uint8_t* p, uint32_t mask) {
  return static_cast<uint16_t>(((uint32_t{p[0]} << 10) ^ (uint32_t{p[1]} << 5) ^ p[2]) & mask);
}
ZELDC_ALWAYS_INLINE uint16_t RollingHashWithByteBefore(const uint8_t* p, uint32_t mask) {
  return static_cast<uint16_t>(RollingHash(p, mask) ^ ((uint32_t{p[-1]} << 15) & mask));
}

// The hashes of the n positions from p on, of whose bytes `readable` >= n + 2 may be read; kByteBefore: and p[-1].
template <bool kByteBefore>
ZELDC_ALWAYS_INLINE void ComputeRollingHashes(const uint8_t* p, ptrdiff_t n, ptrdiff_t readable, uint32_t mask,
                                              uint16_t* hashes) {
  ptrdiff_t k = 0;
#if ZELDC_AVX2
  const __m256i masks = _mm256_set1_epi16(static_cast<int16_t>(mask));
  for (; k < n && k + 18 <= readable; k += 16) {
    auto load = [&](int offset) {
      return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + k + offset)));
    };
    __m256i h =
        _mm256_xor_si256(_mm256_xor_si256(_mm256_slli_epi16(load(0), 10), _mm256_slli_epi16(load(1), 5)), load(2));
    if constexpr (kByteBefore) h = _mm256_xor_si256(h, _mm256_slli_epi16(load(-1), 15));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hashes + k), _mm256_and_si256(h, masks));
  }
#else
  (void)readable;
#endif
  for (; k < n; ++k) hashes[k] = kByteBefore ? RollingHashWithByteBefore(p + k, mask) : RollingHash(p + k, mask);
}

}  // namespace zeldc
