// Zero, set and copy. Bound by store bandwidth.
//
// A fill is one byte pattern of 16 bytes, repeated: the first 16 bytes go out unaligned, then aligned blocks whose
// pattern is rotated by the distance that the first step overlapped, then the last 16 bytes unaligned.

#include "core/vector_primitives.h"

#include <string.h>

#include "core/cache_size.h"
#include "core/target.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace {

// Fills above this many bytes ask for the cache size. The query is not cheap, but neither is a fill of this size.
constexpr size_t kLargeFill = 0x100000;
constexpr size_t kLargeZero = 0x80000;

#if ZELDC_SSE2

void StoreBlocks(uint8_t* dst, size_t blocks, __m128i pattern) {
  __m128i* out = reinterpret_cast<__m128i*>(dst);
#if ZELDC_AVX2
  const __m256i two = _mm256_broadcastsi128_si256(pattern);
  for (; blocks >= 8; blocks -= 8, out += 8) {
    for (int i = 0; i < 8; i += 2) _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), two);
  }
#endif
  for (; blocks > 0; --blocks) _mm_store_si128(out++, pattern);
}

void StreamBlocks(uint8_t* dst, size_t blocks, __m128i pattern) {
  __m128i* out = reinterpret_cast<__m128i*>(dst);
  for (; blocks > 0; --blocks) _mm_stream_si128(out++, pattern);
  _mm_sfence();
}

// Fills `bytes` >= 16 bytes with the 16-byte pattern whose period divides 16.
void FillPattern(uint8_t* dst, size_t bytes, const uint8_t (&twice)[32], size_t large) {
  uint8_t* const end = dst + bytes;
  const size_t head = (16 - (reinterpret_cast<uintptr_t>(dst) & 15)) & 15;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_loadu_si128(reinterpret_cast<const __m128i*>(twice)));
  // The pattern as it stands `head` bytes on.
  const __m128i pattern = _mm_loadu_si128(reinterpret_cast<const __m128i*>(twice + head));
  const size_t blocks = (bytes - head) / 16;
  bool streaming = false;
  if (bytes > large) {
    const int64_t cache = ownQueryCacheSize();
    streaming = cache > 0 && bytes > static_cast<uint64_t>(cache) / 2;
  }
  if (streaming) {
    StreamBlocks(dst + head, blocks, pattern);
  } else {
    StoreBlocks(dst + head, blocks, pattern);
  }
  const size_t tail = (bytes - head) & 15;
  memcpy(end - tail, twice + head, tail);
}

#endif

template <typename T>
void Fill(T value, void* dst, int32_t len, size_t large) {
  uint8_t* out = static_cast<uint8_t*>(dst);
  const size_t bytes = static_cast<size_t>(len) * sizeof(T);
#if ZELDC_SSE2
  if (bytes >= 16) {
    uint8_t twice[32];
    for (size_t i = 0; i < sizeof(twice); i += sizeof(T)) memcpy(twice + i, &value, sizeof(T));
    FillPattern(out, bytes, twice, large);
    return;
  }
#else
  (void)large;
#endif
  for (size_t i = 0; i < bytes; i += sizeof(T)) memcpy(out + i, &value, sizeof(T));
}

}  // namespace

void ownsZero_8u(uint8_t* dst, int32_t len) { Fill<uint8_t>(0, dst, len, kLargeZero); }

void ownsCopy_8u(const uint8_t* src, uint8_t* dst, int32_t len) { memcpy(dst, src, static_cast<size_t>(len)); }

void ownsSet_8u(uint8_t value, uint8_t* dst, int32_t len) { Fill(value, dst, len, kLargeFill); }

void ownsSet_16s(int16_t value, int16_t* dst, int32_t len) { Fill(value, dst, len, kLargeFill); }

void ownsSet_32s(int32_t value, int32_t* dst, int32_t len) { Fill(value, dst, len, kLargeFill); }

void ownsSet_64s(int64_t value, int64_t* dst, int32_t len) { Fill(value, dst, len, kLargeFill); }

zelStatus zelsZero_8u(uint8_t* dst, int32_t len) {
  if (!dst) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownsZero_8u(dst, len);
  return zelOk;
}

zelStatus zelsCopy_8u(const uint8_t* src, uint8_t* dst, int32_t len) {
  if (!src || !dst) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownsCopy_8u(src, dst, len);
  return zelOk;
}

zelStatus zelsSet_8u(uint8_t value, uint8_t* dst, int32_t len) {
  if (!dst) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownsSet_8u(value, dst, len);
  return zelOk;
}

zelStatus zelsSet_16s(int16_t value, int16_t* dst, int32_t len) {
  if (!dst) return zelErrNullPtr;
  if (len < 1) return zelErrSize;
  ownsSet_16s(value, dst, len);
  return zelOk;
}
