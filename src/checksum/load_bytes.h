// A vector of less than sixteen bytes, without reading any other.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_SSE2

#include <emmintrin.h>

namespace zeldc {

// The last `len` bytes of the vector are the 1..15 bytes at src, the others 0.
ZELDC_ALWAYS_INLINE __m128i LoadBytesAtEnd(const uint8_t* src, size_t len) {
  uint64_t high;
  uint64_t low = 0;
  if (len >= 8) {
    high = LoadLE<uint64_t>(src + len - 8);
    if (len > 8) low = LoadLE<uint64_t>(src) << (8 * (16 - len));
  } else if (len >= 4) {
    high = uint64_t{LoadLE<uint32_t>(src + len - 4)} << 32;
    if (len > 4) high |= uint64_t{LoadLE<uint32_t>(src) << (8 * (8 - len))};
  } else {
    high = uint64_t{src[len - 1]} << 56;
    if (len > 1) high |= uint64_t{src[len - 2]} << 48;
    if (len > 2) high |= uint64_t{src[0]} << 40;
  }
  return _mm_set_epi64x(static_cast<int64_t>(high), static_cast<int64_t>(low));
}

}  // namespace zeldc

#endif
