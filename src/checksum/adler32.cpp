// Adler-32: A is the sum of the bytes, B the sum of all values that A takes, both modulo 65521.
//
// Over a block of n bytes b_0 .. b_(n-1)
//
//   B += n A + n b_0 + (n-1) b_1 + ... + 1 b_(n-1),     A += b_0 + ... + b_(n-1)
//
// so a block needs one sum and one weighted sum, and no byte waits for the one before it. The vector kernel takes 64
// bytes a step: byte sums by sums of absolute differences, weighted sums by multiply-add pairs, the term n A by adding
// up the byte sums seen so far. It is bound by the vector units for data in the caches and by memory beyond.
//
// 32-bit sums that start below 2^16 stay below 2^32 for 5552 bytes, so there is one reduction for each such stretch.

#include "checksum/adler32.h"

#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSSE3
#include <tmmintrin.h>
#endif

namespace {

constexpr uint32_t kModulus = 65521;

// The longest stretch without overflow: 255 n (n + 1) / 2 + (n + 1) 65535 < 2^32.
constexpr size_t kStretch = 5552;
static_assert(255ull * kStretch * (kStretch + 1) / 2 + (kStretch + 1) * 65535ull < (1ull << 32));

struct Sums {
  uint32_t a, b;
};

ZELDC_ALWAYS_INLINE Sums AddBytes(Sums s, const uint8_t* src, size_t len) {
  for (size_t i = 0; i < len; ++i) {
    s.a += src[i];
    s.b += s.a;
  }
  return s;
}

ZELDC_ALWAYS_INLINE uint32_t Join(Sums s) { return (s.b % kModulus) << 16 | (s.a % kModulus); }

}  // namespace

uint32_t ownAdler32Portable(uint32_t value, const uint8_t* src, size_t len) {
  Sums s{value & 0xFFFF, value >> 16};
  while (len > 0) {
    const size_t n = len < kStretch ? len : kStretch;
    s = AddBytes(s, src, n);
    s.a %= kModulus;
    s.b %= kModulus;
    src += n;
    len -= n;
  }
  return Join(s);
}

#if ZELDC_AVX2

namespace {

ZELDC_ALWAYS_INLINE uint32_t SumLanes(__m256i v) {
  __m128i s = _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4E));
  s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xB1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(s));
}

// Adds `blocks` blocks of 64 bytes, at most 5552 bytes in all, to reduced sums.
ZELDC_ALWAYS_INLINE Sums AddBlocks(Sums s, const uint8_t* src, size_t blocks) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i ones = _mm256_set1_epi16(1);
  // Weights 32 .. 1 for either half: the first half counts 32 more a byte, added at the end from its own byte sum.
  // Two products of a byte and a weight, added for both halves, stay below 2^15: 255 (32 + 31) * 2.
  const __m256i weights = _mm256_set_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                          23, 24, 25, 26, 27, 28, 29, 30, 31, 32);
  __m256i first = zero;     // byte sums of first halves
  __m256i bytes = zero;     // byte sums of all
  __m256i before = zero;    // for each block the byte sums of the blocks before it
  __m256i weighted = zero;  // weighted sums
  const uint32_t len = static_cast<uint32_t>(blocks * 64);
  for (; blocks > 0; --blocks, src += 64) {
    const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
    const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 32));
    before = _mm256_add_epi32(before, bytes);
    const __m256i s0 = _mm256_sad_epu8(v0, zero);
    const __m256i s1 = _mm256_sad_epu8(v1, zero);
    first = _mm256_add_epi32(first, s0);
    bytes = _mm256_add_epi32(bytes, _mm256_add_epi32(s0, s1));
    const __m256i w = _mm256_add_epi16(_mm256_maddubs_epi16(v0, weights), _mm256_maddubs_epi16(v1, weights));
    weighted = _mm256_add_epi32(weighted, _mm256_madd_epi16(w, ones));
  }
  const __m256i b =
      _mm256_add_epi32(_mm256_add_epi32(weighted, _mm256_slli_epi32(first, 5)), _mm256_slli_epi32(before, 6));
  s.b += s.a * len + SumLanes(b);
  s.a += SumLanes(bytes);
  return s;
}

}  // namespace

uint32_t ownAdler32(uint32_t value, const uint8_t* src, size_t len) {
  Sums s{value & 0xFFFF, value >> 16};
  constexpr size_t kBlocks = kStretch / 64;
  while (len >= 64) {
    const size_t blocks = len / 64 < kBlocks ? len / 64 : kBlocks;
    s = AddBlocks(s, src, blocks);
    s.a %= kModulus;
    s.b %= kModulus;
    src += blocks * 64;
    len -= blocks * 64;
  }
  return Join(AddBytes(s, src, len));
}

#else

uint32_t ownAdler32(uint32_t value, const uint8_t* src, size_t len) { return ownAdler32Portable(value, src, len); }

#endif
