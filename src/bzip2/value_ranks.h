// Forward move-to-front of a chunk's heads, on the ranks of the values that occur in it.
//
// The heads of a chunk have few different values: some 20 in 500 heads of text. Their ranks alone are kept, in one to
// four registers. A step is a shuffle, which looks the rank of the head up and spreads it, a comparison and a
// subtraction, which add 1 to all ranks below it; the head's own becomes 0 by a minimum that does not wait for the
// look-up. So the steps follow each other at three to five cycles, whatever the ranks are, and nothing is to be
// predicted. Larger alphabets have their ranks in memory.
//
// The values that do not occur wait for the chunk's end: they keep their order, and each falls back by the number of
// occurring values that were behind it.
#pragma once

#include "core/target.h"

#if ZELDC_SSE41

#include <smmintrin.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <bit>

#include "bzip2/byte_flags.h"
#include "bzip2/heads.h"
#include "shared/unaligned.h"

namespace zeldc {

// Comparisons are signed, so ranks are kept with the top bit inverted.
constexpr uint8_t kRankFlip = 0x80;
constexpr int8_t kFirstRank = -128;
constexpr int8_t kLastRank = 127;

// The values of a chunk's heads, numbered.
struct Alphabet {
  int size;
  uint8_t number[256];  // of a value
  uint8_t value[256];   // of a number
  int8_t start[256];    // its rank at the chunk's start
  alignas(32) int8_t rank[256];
};

inline void NumberValues(const Chunk& chunk, const int8_t* ranks, Alphabet* alphabet) {
  alignas(16) uint8_t used[256] = {};
  int marked = 0;
  for (; marked + 4 <= chunk.count; marked += 4) {
    for (int i = 0; i < 4; ++i) used[chunk.heads[marked + i]] = 0xFF;
  }
  for (; marked < chunk.count; ++marked) used[chunk.heads[marked]] = 0xFF;
  int size = 0;
  for (int i = 0; i < 256; i += 16) {
    const __m128i block = _mm_load_si128(reinterpret_cast<const __m128i*>(used + i));
    for (auto flags = static_cast<uint32_t>(_mm_movemask_epi8(block)); flags != 0; flags &= flags - 1) {
      const int value = i + std::countr_zero(flags);
      alphabet->number[value] = static_cast<uint8_t>(size);
      alphabet->value[size] = static_cast<uint8_t>(value);
      alphabet->start[size] = alphabet->rank[size] = ranks[value];
      ++size;
    }
  }
  alphabet->size = size;
}

// For each number below 64: the shuffles that look its rank up in four registers, and what rank each number may keep
// when it comes to the front.
struct NumberRow {
  uint8_t look_up[64];
  int8_t limit[64];
};
struct NumberRows {
  alignas(64) NumberRow of[64];
};
constexpr NumberRows MakeNumberRows() {
  NumberRows rows{};
  for (int number = 0; number < 64; ++number) {
    for (int i = 0; i < 64; ++i) {
      rows.of[number].look_up[i] = i / 16 == number / 16 ? static_cast<uint8_t>(number % 16) : kShuffleZero;
      rows.of[number].limit[i] = i == number ? kFirstRank : kLastRank;
    }
  }
  return rows;
}
inline constexpr NumberRows kNumberRows = MakeNumberRows();

// The heads' ranks, for alphabets of up to 16 * kRegisters values.
template <int kRegisters>
void RankHeadsInRegisters(Alphabet* alphabet, Chunk* chunk) {
  __m128i* const rank = reinterpret_cast<__m128i*>(alphabet->rank);
  uint8_t* const codes = chunk->codes + 1;
  __m128i ranks[kRegisters];
  for (int j = 0; j < kRegisters; ++j) ranks[j] = _mm_load_si128(rank + j);
  for (int k = 0; k < chunk->count; ++k) {
    const NumberRow& row = kNumberRows.of[alphabet->number[chunk->heads[k]]];
    const __m128i* const look_up = reinterpret_cast<const __m128i*>(row.look_up);
    const __m128i* const limit = reinterpret_cast<const __m128i*>(row.limit);
    __m128i found = _mm_shuffle_epi8(ranks[0], look_up[0]);
    for (int j = 1; j < kRegisters; ++j) found = _mm_or_si128(found, _mm_shuffle_epi8(ranks[j], look_up[j]));
    for (int j = 0; j < kRegisters; ++j) {
      ranks[j] = _mm_sub_epi8(_mm_min_epi8(ranks[j], limit[j]), _mm_cmpgt_epi8(found, ranks[j]));
    }
    StoreNative(codes + k, _mm_cvtsi128_si32(found));  // its three upper bytes give way to the next ones
  }
  for (int j = 0; j < kRegisters; ++j) _mm_store_si128(rank + j, ranks[j]);
}

// From of[256 - number] on: what rank each number may keep.
struct LimitRow {
  alignas(64) int8_t of[512];
};
constexpr LimitRow MakeLimitRow() {
  LimitRow row{};
  for (int8_t& limit : row.of) limit = kLastRank;
  row.of[256] = kFirstRank;
  return row;
}
inline constexpr LimitRow kLimitRow = MakeLimitRow();

// The same for alphabets of up to kSize values.
template <int kSize>
void RankHeadsInMemory(Alphabet* alphabet, Chunk* chunk) {
  int8_t* __restrict const rank = alphabet->rank;
  uint8_t* __restrict const codes = chunk->codes + 1;
  for (int k = 0; k < chunk->count; ++k) {
    const int number = alphabet->number[chunk->heads[k]];
    const int8_t* const limit = kLimitRow.of + 256 - number;
    const int8_t found = rank[number];
    for (int i = 0; i < kSize; ++i) {
      rank[i] = static_cast<int8_t>(std::min(rank[i], limit[i]) + (found > rank[i]));
    }
    codes[k] = static_cast<uint8_t>(found);
  }
}

// Brings the ranks of all values up to date.
inline void UpdateRanks(const Alphabet& alphabet, int8_t* ranks) {
  typedef int8_t Vector __attribute__((vector_size(32)));
  typedef uint8_t Sums __attribute__((vector_size(32)));
  typedef int64_t Words __attribute__((vector_size(32)));
  int8_t last = kFirstRank;
  for (int k = 0; k < alphabet.size; ++k) last = std::max(last, alphabet.start[k]);
  for (int i = 0; i < 256; i += 32) {
    Vector old;
    memcpy(&old, ranks + i, sizeof(old));
    const Words falls_back = reinterpret_cast<Words>(old < last);
    if ((falls_back[0] | falls_back[1] | falls_back[2] | falls_back[3]) == 0) continue;
    Sums rank = reinterpret_cast<Sums>(old);
    for (int k = 0; k < alphabet.size; ++k) rank -= reinterpret_cast<Sums>((alphabet.start[k] - Vector{}) > old);
    memcpy(ranks + i, &rank, sizeof(rank));
  }
  for (int k = 0; k < alphabet.size; ++k) ranks[alphabet.value[k]] = alphabet.rank[k];
}

// Fills in the codes of a chunk, flipped, from the flipped ranks of all values.
inline void RankHeads(Chunk* chunk, int8_t* ranks) {
  Alphabet alphabet;
  NumberValues(*chunk, ranks, &alphabet);
  if (alphabet.size <= 16) {
    RankHeadsInRegisters<1>(&alphabet, chunk);
  } else if (alphabet.size <= 32) {
    RankHeadsInRegisters<2>(&alphabet, chunk);
  } else if (alphabet.size <= 48) {
    RankHeadsInRegisters<3>(&alphabet, chunk);
  } else if (alphabet.size <= 64) {
    RankHeadsInRegisters<4>(&alphabet, chunk);
  } else if (alphabet.size <= 128) {
    RankHeadsInMemory<128>(&alphabet, chunk);
  } else {
    RankHeadsInMemory<256>(&alphabet, chunk);
  }
  UpdateRanks(alphabet, ranks);
}

}  // namespace zeldc

#endif
