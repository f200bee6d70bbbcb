// Pairs taken apart and encoded eight at a time: the same as PlaceOf and Encode do with one (pair_codes.h), in vectors.
#pragma once

#include "core/target.h"
#include "deflate/pair_codes.h"

#if ZELDC_AVX2

#include <immintrin.h>

namespace zeldc {

// PairPlace of eight pairs.
struct EightPlaces {
  __m256i isMatch;   // 0 or -1
  __m256i place;     // as in PairPlace
  __m256i distance;  // less 1, modulo 2^16
  __m256i symbol;    // of the distance, or kNoDistance
  __m256i excess;    // not 0: a match of a length outside 3..258
};

ZELDC_ALWAYS_INLINE EightPlaces PlacesOf(const zelLZ77Pair* pairs) {
  static_assert(sizeof(zelLZ77Pair) == 4 && offsetof(zelLZ77Pair, length) == 0);
  const __m256i low16 = _mm256_set1_epi32(0xFFFF);
  const __m256i one = _mm256_set1_epi32(1);
  const __m256i pair = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs));
  const __m256i distance = _mm256_srli_epi32(pair, 16);
  EightPlaces t;
  t.isMatch = _mm256_cmpgt_epi32(distance, _mm256_setzero_si256());
  const __m256i length =
      _mm256_sub_epi32(_mm256_and_si256(pair, low16), _mm256_and_si256(t.isMatch, _mm256_set1_epi32(kMinMatch)));
  t.excess = _mm256_srli_epi32(_mm256_and_si256(length, t.isMatch), 8);
  t.place = _mm256_or_si256(_mm256_and_si256(length, _mm256_set1_epi32(0xFF)),
                            _mm256_and_si256(t.isMatch, _mm256_set1_epi32(0x100)));
  t.distance = _mm256_and_si256(_mm256_sub_epi32(distance, one), low16);
  // From 2 on the symbol is twice the exponent and the bit behind the leading one: the upper bits of a float.
  const __m256i upper = _mm256_srli_epi32(_mm256_castps_si256(_mm256_cvtepi32_ps(t.distance)), 22);
  t.symbol = _mm256_sub_epi32(upper, _mm256_set1_epi32(2 * 127));
  t.symbol = _mm256_max_epi32(t.symbol, _mm256_min_epi32(t.distance, one));
  t.symbol = _mm256_min_epi32(t.symbol, _mm256_set1_epi32(kNoDistance));
  return t;
}

// The output for eight pairs: of the even ones behind each other with the odd ones that follow them.
struct FourPieces {
  alignas(32) uint64_t bits[4];
  alignas(32) uint64_t counts[4];
};

// False when one of the pairs has no code, or when two that are neighbours take more than 56 bits.
ZELDC_ALWAYS_INLINE bool EncodeEight(const PairCodes& codes, const zelLZ77Pair* pairs, FourPieces* out) {
  const EightPlaces t = PlacesOf(pairs);
  const __m256i zero = _mm256_setzero_si256();
  const __m256i piece = _mm256_i32gather_epi32(reinterpret_cast<const int*>(codes.piece), t.place, 4);
  const __m256i code = _mm256_i32gather_epi32(reinterpret_cast<const int*>(codes.distance), t.symbol, 8);
  const __m256i pieceLength = _mm256_srli_epi32(piece, 24);
  const __m256i pieceBits = _mm256_and_si256(piece, _mm256_set1_epi32(0xFFFFFF));
  const __m256i distanceLength = _mm256_srli_epi32(code, 24);
  const __m256i lacksCode = _mm256_or_si256(_mm256_cmpeq_epi32(pieceLength, zero),
                                            _mm256_and_si256(_mm256_cmpeq_epi32(distanceLength, zero), t.isMatch));

  // Extra bits: what is left of the distance below the two bits that are in the symbol.
  const __m256i extraBits =
      _mm256_max_epi32(_mm256_sub_epi32(_mm256_srli_epi32(t.symbol, 1), _mm256_set1_epi32(1)), zero);
  const __m256i extra =
      _mm256_and_si256(_mm256_andnot_si256(_mm256_sllv_epi32(_mm256_set1_epi32(-1), extraBits), t.distance), t.isMatch);
  const __m256i codeBits = _mm256_and_si256(_mm256_srli_epi32(code, 16), _mm256_set1_epi32(0xFF));
  const __m256i distanceBits =
      _mm256_or_si256(_mm256_and_si256(code, _mm256_set1_epi32(0xFFFF)), _mm256_sllv_epi32(extra, codeBits));
  const __m256i length = _mm256_add_epi32(pieceLength, distanceLength);

  const __m256i low32 = _mm256_set1_epi64x(0xFFFFFFFF);
  auto even = [&](__m256i v) ZELDC_LAMBDA_INLINE { return _mm256_and_si256(v, low32); };
  auto odd = [&](__m256i v) ZELDC_LAMBDA_INLINE { return _mm256_srli_epi64(v, 32); };
  const __m256i first = _mm256_or_si256(even(pieceBits), _mm256_sllv_epi64(even(distanceBits), even(pieceLength)));
  const __m256i second = _mm256_or_si256(odd(pieceBits), _mm256_sllv_epi64(odd(distanceBits), odd(pieceLength)));
  const __m256i bits = _mm256_or_si256(first, _mm256_sllv_epi64(second, even(length)));
  const __m256i counts = _mm256_add_epi64(even(length), odd(length));
  _mm256_store_si256(reinterpret_cast<__m256i*>(out->bits), bits);
  _mm256_store_si256(reinterpret_cast<__m256i*>(out->counts), counts);
  const __m256i bad =
      _mm256_or_si256(_mm256_or_si256(lacksCode, t.excess), _mm256_cmpgt_epi32(counts, _mm256_set1_epi32(56)));
  return _mm256_testz_si256(bad, bad);
}

}  // namespace zeldc

#endif
