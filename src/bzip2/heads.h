// The heads of a piece of data, gathered, and what becomes of them put back.
//
// A head is a byte at which move-to-front has something to do: forward, a byte that differs from the one before it;
// inverse, an index other than 0. All other bytes repeat what is at the front, and block-sorted text is full of them.
#pragma once

#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <bit>

#include "bzip2/byte_flags.h"
#include "core/assert.h"
#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_SSSE3
#include <tmmintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

enum class Direction { kForward, kInverse };

constexpr int kBlock = 64;         // bytes that are flagged at a time
constexpr int kChunkHeads = 704;   // a chunk ends with the block in which it reaches this number of heads,
constexpr int kChunkBytes = 4096;  // or this number of bytes
constexpr int kSpare = 16;         // bytes that are touched behind the last head

struct Chunk {
  int bytes;
  int count;                                         // of heads
  uint8_t flags[kChunkBytes / 8];                    // bit i % 8 of flags[i / 8]: byte i is a head
  uint8_t heads[kChunkHeads + kBlock + kSpare];      // the bytes themselves
  uint8_t codes[1 + kChunkHeads + kBlock + kSpare];  // from codes[1] on what becomes of them; before it: what was last
};

// The heads of a block, as flags. Forward, the byte before the block is looked at, too.
template <Direction kDirection>
uint64_t FlagHeads(const uint8_t* block) {
  uint64_t repeats = 0;
#if ZELDC_SSE2
  for (int i = 0; i < kBlock; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
    __m128i front = _mm_setzero_si128();
    if (kDirection == Direction::kForward) front = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i - 1));
    repeats |= uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, front)))} << i;
  }
#else
  for (int i = 0; i < kBlock; ++i) {
    const uint8_t front = kDirection == Direction::kForward ? block[i - 1] : 0;
    repeats |= uint64_t{block[i] == front} << i;
  }
#endif
  return ~repeats;
}

// The flagged bytes of a block to `to`, behind which 8 more bytes may be written. Returns their number.
inline int GatherBytes(const uint8_t* block, uint64_t flags, uint8_t* to) {
  int count = 0;
#if ZELDC_SSSE3
  for (int i = 0; i < kBlock; i += 8, flags >>= 8) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(block + i));
    const __m128i shuffle = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kGatherShuffles.of[flags & 0xFF]));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to + count), _mm_shuffle_epi8(bytes, shuffle));
    count += std::popcount(flags & 0xFF);
  }
#else
  for (; flags != 0; flags &= flags - 1) to[count++] = block[std::countr_zero(flags)];
#endif
  return count;
}

// Fills a chunk from the `len` bytes at src. last is the byte before them, which may have been overwritten.
template <Direction kDirection>
void CollectHeads(const uint8_t* src, int32_t len, uint8_t last, Chunk* chunk) {
  int bytes = 0;
  int count = 0;
  while (bytes < len && bytes < kChunkBytes && count < kChunkHeads) {
    const int size = std::min(len - bytes, kBlock);
    const uint8_t* block = src + bytes;
    uint8_t copy[16 + kBlock];  // of a block that is short, or must not be looked at from the byte before it
    if (size < kBlock || (kDirection == Direction::kForward && bytes == 0)) {
      copy[15] = bytes == 0 ? last : block[-1];
      memset(copy + 16, kDirection == Direction::kForward ? block[size - 1] : 0, kBlock);  // no heads
      memcpy(copy + 16, block, static_cast<size_t>(size));
      block = copy + 16;
    }
    const uint64_t flags = FlagHeads<kDirection>(block);
    StoreLE(chunk->flags + bytes / 8, flags);
    count += GatherBytes(block, flags, chunk->heads + count);
    bytes += size;
    ZELDC_ASSERT(count <= kChunkHeads + kBlock && bytes <= kChunkBytes);
  }
  chunk->bytes = bytes;
  chunk->count = count;
}

// The codes to the places of their heads. Forward, the other bytes are 0; inverse, they repeat the code before them.
// The codes are stored with the bits of `flip` inverted.
template <Direction kDirection>
void PutCodes(const Chunk& chunk, uint8_t flip, uint8_t* dst) {
  constexpr bool kHold = kDirection == Direction::kInverse;
  const uint8_t* code = chunk.codes + (kHold ? 0 : 1);
#if ZELDC_SSSE3
  const __m128i flips = _mm_set1_epi8(static_cast<char>(flip));
  for (int i = 0; i < chunk.bytes; i += 8) {
    const uint8_t flags = chunk.flags[i / 8];
    const uint8_t* const row = kHold ? kHoldShuffles.of[flags] : kScatterShuffles.of[flags];
    const __m128i codes = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(code)), flips);
    const __m128i bytes = _mm_shuffle_epi8(codes, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row)));
    code += std::popcount(flags);
    if (ZELDC_LIKELY(chunk.bytes - i >= 8)) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), bytes);
    } else {
      uint8_t last[8];
      _mm_storel_epi64(reinterpret_cast<__m128i*>(last), bytes);
      memcpy(dst + i, last, static_cast<size_t>(chunk.bytes - i));
    }
  }
#else
  uint8_t last = *code;
  for (int i = 0; i < chunk.bytes; i += kBlock) {
    constexpr int kStep = 16;
    uint8_t block[kBlock + kStep];
    const auto repeat = [&](int from, int to) {  // at least one step, so that there is little to predict
      do {
        memset(block + from, kHold ? last ^ flip : 0, kStep);
        from += kStep;
      } while (ZELDC_UNLIKELY(from < to));
    };
    int done = 0;
    for (auto flags = LoadLE<uint64_t>(chunk.flags + i / 8); flags != 0; flags &= flags - 1) {
      const int head = std::countr_zero(flags);
      repeat(done, head);
      last = kHold ? *++code : *code++;
      block[head] = static_cast<uint8_t>(last ^ flip);
      done = head + 1;
    }
    repeat(done, kBlock);
    memcpy(dst + i, block, static_cast<size_t>(std::min(chunk.bytes - i, kBlock)));
  }
#endif
}

}  // namespace zeldc
