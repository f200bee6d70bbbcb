// Copying of matches.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/assert.h"
#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_SSE2
#include <emmintrin.h>
#endif
#if ZELDC_SSSE3
#include <tmmintrin.h>
#endif

namespace zeldc {

// How far beyond its end CopyMatchWide may write.
inline constexpr int kCopySlack = 32;

// Copies len bytes that overlap their source so as to repeat the last `distance` bytes, exactly.
inline void CopyMatchExact(uint8_t* out, size_t distance, size_t len) {
  ZELDC_ASSERT(distance > 0);
  const uint8_t* from = out - distance;
  if (distance >= len) {
    memcpy(out, from, len);
  } else if (distance == 1) {
    memset(out, *from, len);
  } else {
    for (size_t i = 0; i < len; ++i) out[i] = from[i];
  }
}

#if ZELDC_SSE2

ZELDC_ALWAYS_INLINE void Copy16(uint8_t* out, const uint8_t* from) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

#else

ZELDC_ALWAYS_INLINE void Copy16(uint8_t* out, const uint8_t* from) {
  const uint64_t a = LoadNative<uint64_t>(from);
  const uint64_t b = LoadNative<uint64_t>(from + 8);
  StoreNative(out, a);
  StoreNative(out + 8, b);
}

#endif

// Copies len bytes from a source that ends at `out` - 16 or earlier, or lies elsewhere; reads and writes up to
// kCopySlack bytes too many. Most matches take one round.
ZELDC_ALWAYS_INLINE void CopyWide(uint8_t* out, const uint8_t* from, size_t len) {
  Copy16(out, from);
  Copy16(out + 16, from + 16);
  while (ZELDC_UNLIKELY(len > 32)) {
    out += 32;
    from += 32;
    len -= 32;
    Copy16(out, from);
    Copy16(out + 16, from + 16);
  }
}

// A match from less than 16 bytes back, with room behind: writes up to kCopySlack bytes too many. Not inlined: the
// loops that call it have no registers to spare.
ZELDC_NOINLINE inline void CopyNear(uint8_t* out, size_t distance, size_t len) {
  ZELDC_ASSERT(0 < distance && distance < 16);
  const uint8_t* from = out - distance;
  uint8_t* const end = out + len;
#if ZELDC_SSSE3
  // A vector that repeats the distance's bytes; each step goes on by as many whole repetitions as fit it.
  alignas(16) static constexpr struct Patterns {
    uint8_t shuffle[16][16];
    uint8_t step[16];
  } kPatterns = [] {
    Patterns p{};
    for (int d = 1; d < 16; ++d) {
      for (int i = 0; i < 16; ++i) p.shuffle[d][i] = static_cast<uint8_t>(i % d);
      p.step[d] = static_cast<uint8_t>(16 / d * d);
    }
    return p;
  }();
  const __m128i pattern =
      _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)),
                       _mm_load_si128(reinterpret_cast<const __m128i*>(kPatterns.shuffle[distance])));
  const size_t step = kPatterns.step[distance];
  do {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), pattern);
    out += step;
  } while (out < end);
#else
  if (distance >= 8) {
    do {
      StoreNative(out, LoadNative<uint64_t>(from));
      out += 8;
      from += 8;
    } while (out < end);
    return;
  }
  do {
    *out++ = *from++;
  } while (out < end);
#endif
}

// Any match, likewise.
ZELDC_ALWAYS_INLINE void CopyMatchWide(uint8_t* out, size_t distance, size_t len) {
  if (ZELDC_LIKELY(distance >= 16)) {
    CopyWide(out, out - distance, len);
  } else {
    CopyNear(out, distance, len);
  }
}

}  // namespace zeldc
