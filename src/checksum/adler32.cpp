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
// 32-bit sums that start below 2^16 stay below 2^32 for 5552 bytes, so there is one reduction for each such stretch;
// the vector kernel keeps all but the weighted sums in 64 bits and goes on for longer.

#include "checksum/adler32.h"

#include "checksum/load_bytes.h"
#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSSE3
#include <tmmintrin.h>
#endif

namespace {

using namespace zeldc;

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

ZELDC_ALWAYS_INLINE uint32_t SumLanes(__m128i v) {
  v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
  v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(v));
}

ZELDC_ALWAYS_INLINE uint32_t SumLanes(__m256i v) {
  return SumLanes(_mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)));
}

// Adds 1..63 bytes: blocks of 16, of which the first is filled up with zeros in front, where they count for nothing.
ZELDC_ALWAYS_INLINE Sums AddShort(Sums s, const uint8_t* src, size_t len) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i ones = _mm_set1_epi16(1);
  const __m128i weights = _mm_set_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
  const size_t first = ((len - 1) & 15) + 1;
  __m128i v = first == 16 ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(src)) : LoadBytesAtEnd(src, first);
  __m128i bytes = _mm_sad_epu8(v, zero);
  __m128i before = zero;
  __m128i weighted = _mm_madd_epi16(_mm_maddubs_epi16(v, weights), ones);
  for (size_t i = first; i < len; i += 16) {
    v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    before = _mm_add_epi32(before, bytes);
    bytes = _mm_add_epi32(bytes, _mm_sad_epu8(v, zero));
    weighted = _mm_add_epi32(weighted, _mm_madd_epi16(_mm_maddubs_epi16(v, weights), ones));
  }
  s.b += s.a * static_cast<uint32_t>(len) + SumLanes(_mm_add_epi32(weighted, _mm_slli_epi32(before, 4)));
  s.a += static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(bytes, _mm_unpackhi_epi64(bytes, bytes))));
  return s;
}

uint64_t SumWideLanes(__m256i v) {
  uint64_t lanes[4];
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes), v);
  return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}

// A lane of weighted sums grows by at most 4 * 255 * (32 + 31) a block.
constexpr size_t kMostBlocks = size_t{1} << 15;
static_assert(4ull * 255 * 63 * kMostBlocks < (1ull << 32));

// Adds blocks of 64 bytes, `len` in all: at most kStretch, or, if kLong, kMostBlocks; then the sums are reduced.
template <bool kLong>
ZELDC_ALWAYS_INLINE Sums AddBlocks(Sums s, const uint8_t* src, size_t len) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i ones = _mm256_set1_epi16(1);
  // Weights 32 .. 1 for either half: the first half counts 32 more a byte, added at the end from its own byte sum.
  // Two products of a byte and a weight, added for both halves, stay below 2^15: 255 (32 + 31) * 2.
  const __m256i weights = _mm256_set_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                          23, 24, 25, 26, 27, 28, 29, 30, 31, 32);
  __m256i first = zero;     // byte sums of first halves
  __m256i bytes = zero;     // byte sums of all
  __m256i before = zero;    // for each block the byte sums of the blocks before it
  __m256i weighted = zero;  // weighted sums, in 32-bit lanes
  for (size_t i = 0; i < len; i += 64) {
    const __m256i v0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
    const __m256i v1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 32));
    before = _mm256_add_epi64(before, bytes);
    const __m256i s0 = _mm256_sad_epu8(v0, zero);
    const __m256i s1 = _mm256_sad_epu8(v1, zero);
    first = _mm256_add_epi64(first, s0);
    bytes = _mm256_add_epi64(bytes, _mm256_add_epi64(s0, s1));
    const __m256i w = _mm256_add_epi16(_mm256_maddubs_epi16(v0, weights), _mm256_maddubs_epi16(v1, weights));
    weighted = _mm256_add_epi32(weighted, _mm256_madd_epi16(w, ones));
  }
  const __m256i blocks = _mm256_add_epi64(_mm256_slli_epi64(first, 5), _mm256_slli_epi64(before, 6));
  if constexpr (!kLong) {
    s.b += s.a * static_cast<uint32_t>(len) + SumLanes(_mm256_add_epi32(weighted, blocks));
    s.a += SumLanes(bytes);
    return s;
  }
  const __m256i low = _mm256_set1_epi64x(0xFFFFFFFF);
  const __m256i wide = _mm256_add_epi64(_mm256_and_si256(weighted, low), _mm256_srli_epi64(weighted, 32));
  const uint64_t b = s.b + uint64_t{s.a} * len + SumWideLanes(_mm256_add_epi64(wide, blocks));
  const uint64_t a = s.a + SumWideLanes(bytes);
  return {static_cast<uint32_t>(a % kModulus), static_cast<uint32_t>(b % kModulus)};
}

// Less than this is added byte by byte: a vector would have to be put together first.
constexpr size_t kFew = 10;

// Adds up to kStretch bytes.
ZELDC_ALWAYS_INLINE Sums AddStretch(Sums s, const uint8_t* src, size_t len) {
  if (len >= 64) s = AddBlocks<false>(s, src, len & ~size_t{63});
  if (len & 63) s = AddShort(s, src + (len & ~size_t{63}), len & 63);
  return s;
}

ZELDC_NOINLINE uint32_t AdlerOfLong(Sums s, const uint8_t* src, size_t len) {
  // Long inputs gain by loads that do not straddle cache lines.
  const size_t head = (0 - reinterpret_cast<uintptr_t>(src)) & 31;
  if (head > 0) s = AddShort(s, src, head);
  src += head;
  len -= head;
  while (len >= 64) {
    const size_t n = len < kMostBlocks * 64 ? len & ~size_t{63} : kMostBlocks * 64;
    s = AddBlocks<true>(s, src, n);
    src += n;
    len -= n;
  }
  return Join(AddStretch(s, src, len));
}

}  // namespace

uint32_t ownAdler32(uint32_t value, const uint8_t* src, size_t len) {
  const Sums s{value & 0xFFFF, value >> 16};
  if (len < kFew) return Join(AddBytes(s, src, len));
  return len <= 2048 ? Join(AddStretch(s, src, len)) : AdlerOfLong(s, src, len);
}

#else

uint32_t ownAdler32(uint32_t value, const uint8_t* src, size_t len) { return ownAdler32Portable(value, src, len); }

#endif
