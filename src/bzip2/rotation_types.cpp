// Types of rotations, 64 at a time: symbols are compared with their followers by vectors, and the type runs
// through stretches of equal symbols from the word's end to its start like a carry. No branch depends on the data.

#include "bzip2/rotation_types.h"

#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

namespace {

// How up to 64 symbols compare with the one behind each.
struct Comparison {
  uint64_t equal;
  uint64_t greaterOrEqual;
};

// The first `count` symbols of p; the last of them is followed by `behind`, unless they are bytes.
inline Comparison Compare(const uint8_t* p, uint32_t /*count*/, uint8_t /*behind*/) {
  Comparison c{0, 0};
#if ZELDC_AVX2
  for (int i = 0; i < 64; i += 32) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i + 1));
    auto mask = [](__m256i v) { return uint64_t{static_cast<uint32_t>(_mm256_movemask_epi8(v))}; };
    c.equal |= mask(_mm256_cmpeq_epi8(a, b)) << i;
    c.greaterOrEqual |= mask(_mm256_cmpeq_epi8(_mm256_max_epu8(a, b), a)) << i;
  }
#elif ZELDC_SSE2
  for (int i = 0; i < 64; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + 1));
    auto mask = [](__m128i v) { return uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(v))}; };
    c.equal |= mask(_mm_cmpeq_epi8(a, b)) << i;
    c.greaterOrEqual |= mask(_mm_cmpeq_epi8(_mm_max_epu8(a, b), a)) << i;
  }
#else
  for (int i = 0; i < 64; ++i) {
    c.equal |= uint64_t{p[i] == p[i + 1]} << i;
    c.greaterOrEqual |= uint64_t{p[i] >= p[i + 1]} << i;
  }
#endif
  return c;
}

template <typename Symbol>
Comparison Compare(const Symbol* p, uint32_t count, Symbol behind) {
  Comparison c{0, 0};
  uint32_t i = 0;
#if ZELDC_AVX2
  if constexpr (sizeof(Symbol) == sizeof(uint32_t)) {
    for (; i + 8 < count; i += 8) {
      const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
      const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i + 1));
      auto mask = [](__m256i v) { return uint64_t{static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(v)))}; };
      c.equal |= mask(_mm256_cmpeq_epi32(a, b)) << i;
      c.greaterOrEqual |= mask(_mm256_cmpeq_epi32(_mm256_max_epu32(a, b), a)) << i;
    }
  }
#endif
  for (; i < count; ++i) {
    const Symbol next = i + 1 < count ? p[i + 1] : behind;
    c.equal |= uint64_t{p[i] == next} << i;
    c.greaterOrEqual |= uint64_t{p[i] >= next} << i;
  }
  return c;
}

template <typename Symbol>
bool IsFirstOfTypeL(const Symbol* symbols) {
  while (symbols[0] == symbols[1]) ++symbols;
  return symbols[0] > symbols[1];
}

template <typename Symbol>
void Find(const Symbol* symbols, uint32_t len, uint64_t* larger) {
  static_assert(kTextBehind >= 65);
  const uint32_t words = WordsOf(len);
  const uint32_t lastCount = len - 64 * (words - 1);
  // From the end.
  uint64_t typeBehind = IsFirstOfTypeL(symbols);
  Symbol behind = symbols[0];
  for (uint32_t w = words; w-- > 0;) {
    const uint32_t count = w == words - 1 ? lastCount : 64;
    Comparison c = Compare(symbols + 64 * w, count, behind);
    behind = symbols[64 * w];
    uint64_t bits = c.greaterOrEqual & ~c.equal;
    if (count < 64) {
      // What stands behind the string takes the type of its first rotation.
      const uint64_t past = ~uint64_t{0} << count;
      c.equal |= past;
      bits &= ~past;
    }
    bits |= c.equal & typeBehind << 63;
    for (int step = 1; step < 64; step *= 2) {
      bits |= c.equal & bits >> step;
      c.equal &= c.equal >> step;
    }
    typeBehind = bits & 1;
    larger[w] = bits;
  }
  if (lastCount < 64) larger[words - 1] &= ~(~uint64_t{0} << lastCount);
}

template <typename Pos>
void Keep(PositionSet<Pos>* set) {
  uint64_t before = set->Has(set->len - 1);
  uint32_t found = 0;
  for (uint32_t w = 0; w < WordsOf(set->len); ++w) {
    const uint64_t larger = set->bits[w];
    uint64_t word = ~larger & (larger << 1 | before);
    if (w == set->len / 64) word &= ~(~uint64_t{0} << set->len % 64);
    before = larger >> 63;
    set->bits[w] = word;
    set->before[w] = static_cast<Pos>(found);
    found += static_cast<uint32_t>(__builtin_popcountll(word));
  }
  set->count = found;
}

}  // namespace

void FindLarger(const uint8_t* text, uint32_t len, uint64_t* larger) { Find(text, len, larger); }
void FindLarger(const uint16_t* symbols, uint32_t len, uint64_t* larger) { Find(symbols, len, larger); }
void FindLarger(const uint32_t* symbols, uint32_t len, uint64_t* larger) { Find(symbols, len, larger); }

void KeepLms(PositionSet<uint16_t>* set) { Keep(set); }
void KeepLms(PositionSet<uint32_t>* set) { Keep(set); }

}  // namespace zeldc
