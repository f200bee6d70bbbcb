// The list of move-to-front: the 256 byte values in the order of their ranks, the first sixteen in a register.
//
// Most ranks are below 16, and moving such a value to the front is one shuffle (without SSSE3 a shift under a mask).
// For larger ones the rest of the list is shifted in memory.
#pragma once

#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSSE3
#include <tmmintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

#if ZELDC_SSE2

// From of[256 - r] on: 0xFF where the value at a rank stays while that at rank r moves to the front.
struct StayRow {
  alignas(64) uint8_t of[512];
};
constexpr StayRow MakeStayRow() {
  StayRow row{};
  for (int i = 257; i < 512; ++i) row.of[i] = 0xFF;
  return row;
}
inline constexpr StayRow kStayRow = MakeStayRow();

// Row r: the shuffle that moves the value at rank r to the front.
struct MoveRows {
  alignas(16) uint8_t of[16][16];
};
constexpr MoveRows MakeMoveRows() {
  MoveRows rows{};
  for (int r = 0; r < 16; ++r) {
    for (int i = 0; i < 16; ++i) rows.of[r][i] = static_cast<uint8_t>(i == 0 ? r : i <= r ? i - 1 : i);
  }
  return rows;
}
inline constexpr MoveRows kMoveRows = MakeMoveRows();

class FrontList {
 public:
  explicit FrontList(const uint8_t* list) {
    memcpy(list_, list, 256);
    front_ = Load(list_);
  }

  void CopyTo(uint8_t* list) {
    Store(list_, front_);
    memcpy(list, list_, 256);
  }

  uint8_t First() const { return static_cast<uint8_t>(_mm_cvtsi128_si32(front_)); }

  // The first value to to[0]; the three bytes behind it may be written, too.
  void StoreFirst(uint8_t* to) const { StoreNative(to, _mm_cvtsi128_si32(front_)); }

  int RankOf(uint8_t value) const {
    const __m128i values = _mm_set1_epi8(static_cast<char>(value));
    int flags = _mm_movemask_epi8(_mm_cmpeq_epi8(front_, values));
    int r = 0;
    while (flags == 0 && r < 240) {
      r += 16;
      flags = _mm_movemask_epi8(_mm_cmpeq_epi8(Load(list_ + r), values));
    }
    return r + std::countr_zero(static_cast<uint32_t>(flags) | 1u << 15);
  }

  // value: the one at rank r.
  void MoveToFront(int r, uint8_t value) { front_ = ZELDC_LIKELY(r < 16) ? MoveNear(r, value) : MoveFar(r, value); }

  void MoveToFront(int r) {
#if ZELDC_SSSE3
    front_ = ZELDC_LIKELY(r < 16) ? _mm_shuffle_epi8(front_, Load(kMoveRows.of[r])) : MoveFar(r, list_[r]);
#else
    Store(list_, front_);
    MoveToFront(r, list_[r]);
#endif
  }

 private:
  static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
  static void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
  static __m128i Choose(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
  }
  // The value, and fifteen others behind it.
  static __m128i Behind(__m128i others, uint8_t value) {
    return _mm_or_si128(_mm_slli_si128(others, 1), _mm_cvtsi32_si128(value));
  }

  __m128i MoveNear(int r, uint8_t value) const {
    return Choose(Load(kStayRow.of + 256 - r), front_, Behind(front_, value));
  }

  // Shifts the ranks from 16 to r; returns the new front.
  ZELDC_ALWAYS_INLINE __m128i MoveFar(int r, uint8_t value) {
    const uint8_t* const stays = kStayRow.of + 256 - r;
#if ZELDC_AVX2
    // All blocks, whatever r is: that takes less time than a loop whose end nobody can predict.
    __m256i before = _mm256_inserti128_si256(_mm256_setzero_si256(), front_, 1);
#pragma GCC unroll 8
    for (int i = 16; i < 256; i += 32) {
      __m256i* const block = reinterpret_cast<__m256i*>(list_ + i);
      const __m256i old = _mm256_load_si256(block);
      const __m256i moved = _mm256_alignr_epi8(old, _mm256_permute2x128_si256(before, old, 0x21), 15);
      const __m256i stay = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(stays + i));
      _mm256_store_si256(block, _mm256_blendv_epi8(moved, old, stay));
      before = old;
    }
#else
    __m128i before = front_;
    for (int i = 16; i <= r; i += 16) {
      const __m128i old = Load(list_ + i);
      const __m128i moved = _mm_or_si128(_mm_slli_si128(old, 1), _mm_srli_si128(before, 15));
      Store(list_ + i, Choose(Load(stays + i), old, moved));
      before = old;
    }
#endif
    return Behind(front_, value);
  }

  // From rank 16 on aligned and in whole blocks. What is there of the first 16 is stale.
  [[maybe_unused]] alignas(32) uint8_t alignment_[16] = {};
  uint8_t list_[256 + 16] = {};
  __m128i front_;
};

#else

class FrontList {
 public:
  explicit FrontList(const uint8_t* list) { memcpy(list_, list, 256); }

  void CopyTo(uint8_t* list) const { memcpy(list, list_, 256); }

  uint8_t First() const { return list_[0]; }

  void StoreFirst(uint8_t* to) const { *to = list_[0]; }

  int RankOf(uint8_t value) const {
    int r = 0;
    while (r < 255 && list_[r] != value) ++r;
    return r;
  }

  // value: the one at rank r.
  void MoveToFront(int r, uint8_t value) {
    for (int i = 0; i <= r; ++i) std::swap(list_[i], value);
  }

  void MoveToFront(int r) { MoveToFront(r, list_[r]); }

 private:
  uint8_t list_[256];
};

#endif

}  // namespace zeldc
