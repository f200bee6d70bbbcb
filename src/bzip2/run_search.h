// What the run-length stages share: where a call stands, copying up to a run, and measuring it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>

#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

#if ZELDC_AVX2

constexpr size_t kVectorSize = 32;
using ByteVector = __m256i;

inline ByteVector LoadBytes(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const ByteVector*>(p)); }
inline void StoreBytes(uint8_t* p, ByteVector v) { _mm256_storeu_si256(reinterpret_cast<ByteVector*>(p), v); }
inline ByteVector SameByte(uint8_t byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }
inline ByteVector AreEqual(ByteVector a, ByteVector b) { return _mm256_cmpeq_epi8(a, b); }
inline ByteVector AndBytes(ByteVector a, ByteVector b) { return _mm256_and_si256(a, b); }
inline uint32_t FlagsOf(ByteVector mask) { return static_cast<uint32_t>(_mm256_movemask_epi8(mask)); }
constexpr uint32_t kAllFlags = 0xFFFFFFFF;

#elif ZELDC_SSE2

constexpr size_t kVectorSize = 16;
using ByteVector = __m128i;

inline ByteVector LoadBytes(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const ByteVector*>(p)); }
inline void StoreBytes(uint8_t* p, ByteVector v) { _mm_storeu_si128(reinterpret_cast<ByteVector*>(p), v); }
inline ByteVector SameByte(uint8_t byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
inline ByteVector AreEqual(ByteVector a, ByteVector b) { return _mm_cmpeq_epi8(a, b); }
inline ByteVector AndBytes(ByteVector a, ByteVector b) { return _mm_and_si128(a, b); }
inline uint32_t FlagsOf(ByteVector mask) { return static_cast<uint32_t>(_mm_movemask_epi8(mask)); }
constexpr uint32_t kAllFlags = 0xFFFF;

#endif

// Where a call stands in its source and its destination.
struct RunCursor {
  const uint8_t* src;
  int32_t left;
  uint8_t* dst;
  int32_t room;
};

// Behind `bytes` that have been copied, or back.
inline void Advance(RunCursor* cursor, ptrdiff_t bytes) {
  cursor->src += bytes;
  cursor->left -= static_cast<int32_t>(bytes);
  cursor->dst += bytes;
  cursor->room -= static_cast<int32_t>(bytes);
}

struct Copied {
  size_t bytes;
  bool found;
};

// Copies from the `len` bytes at src up to the end of the first kRun equal ones in a row, or all of them.
template <size_t kRun>
Copied CopyUntilRun(const uint8_t* src, uint8_t* dst, size_t len) {
  size_t i = 0;
#if ZELDC_SSE2
  // Where a run starts, the data is equal to itself shifted by 1 .. kRun - 1.
  for (; len - i >= kVectorSize + kRun - 1; i += kVectorSize) {
    const ByteVector bytes = LoadBytes(src + i);
    ByteVector starts = AreEqual(bytes, LoadBytes(src + i + 1));
    for (size_t shift = 2; shift < kRun; ++shift)
      starts = AndBytes(starts, AreEqual(bytes, LoadBytes(src + i + shift)));
    StoreBytes(dst + i, bytes);
    const uint32_t flags = FlagsOf(starts);
    if (flags != 0) {
      i += static_cast<size_t>(std::countr_zero(flags));
      for (size_t j = 0; j < kRun; ++j) dst[i + j] = src[i];
      return {i + kRun, true};
    }
  }
#endif
  size_t equal = 0;  // equal bytes that end with src[i], without those from before this loop: their runs are too short
  for (; i < len; ++i) {
    dst[i] = src[i];
    equal = equal > 0 && src[i] == src[i - 1] ? equal + 1 : 1;
    if (equal == kRun) return {i + 1, true};
  }
  return {len, false};
}

// How many of the `len` bytes at src are equal to `byte`, up to the first that is not.
inline size_t CountRepeats(const uint8_t* src, size_t len, uint8_t byte) {
  size_t i = 0;
#if ZELDC_SSE2
  const ByteVector same = SameByte(byte);
  for (; len - i >= kVectorSize; i += kVectorSize) {
    const uint32_t flags = FlagsOf(AreEqual(LoadBytes(src + i), same));
    if (flags != kAllFlags) return i + static_cast<size_t>(std::countr_one(flags));
  }
#endif
  while (i < len && src[i] == byte) ++i;
  return i;
}

}  // namespace zeldc
