// zelLZ77LevelFast: one candidate a position, the newest with the same rolling hash of three bytes.
//
// Bound by one hard-to-predict branch a position, whether its candidate matches, and by the misses of the head table
// and of the candidates in the first-level cache. So hashes are computed ahead for a stretch of bytes, sixteen at a
// time; whether a candidate is near enough is not a branch of its own; and the next position's candidate is fetched
// before the branch for this one, where its misses pass while the branch is being resolved.

#include "deflate/match_kernel.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

namespace {

constexpr ptrdiff_t kStretch = 1024;

inline uint16_t RollingHash(const uint8_t* p) {
  return static_cast<uint16_t>(((uint32_t{p[0]} << 10) ^ (uint32_t{p[1]} << 5) ^ p[2]) & (kHashSize - 1));
}

// The hashes of the n positions from p on, of whose bytes `readable` >= n + 2 may be read.
void ComputeHashes(const uint8_t* p, ptrdiff_t n, ptrdiff_t readable, uint16_t* hashes) {
  ptrdiff_t k = 0;
#if ZELDC_AVX2
  const __m256i mask = _mm256_set1_epi16(kHashSize - 1);
  for (; k < n && k + 18 <= readable; k += 16) {
    auto load = [&](int offset) {
      return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + k + offset)));
    };
    const __m256i h =
        _mm256_xor_si256(_mm256_xor_si256(_mm256_slli_epi16(load(0), 10), _mm256_slli_epi16(load(1), 5)), load(2));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hashes + k), _mm256_and_si256(h, mask));
  }
#else
  (void)readable;
#endif
  for (; k < n; ++k) hashes[k] = RollingHash(p + k);
}

}  // namespace

namespace {

// What is known of a position once it has been entered into the head table.
struct Candidate {
  uint32_t distance;
  uint32_t differs;  // 0: agrees in three bytes, and is near enough
};

struct Stretch {
  const uint8_t* base;
  const uint16_t* hashes;  // hashes[i - first] is the hash of position i
  ptrdiff_t first;
  uint16_t* head;
  uint32_t posBase;
  ptrdiff_t oldest;
};

// kWide: eight bytes may be read. kFar: every distance that the head table can hold reaches bytes that are there.
template <bool kWide, bool kFar>
ZELDC_ALWAYS_INLINE Candidate LookAt(const Stretch& t, ptrdiff_t i, uint32_t entry) {
  const uint8_t* const p = t.base + i;
  const uint32_t distance = static_cast<uint16_t>(t.posBase + static_cast<uint32_t>(i) - entry);
  // Whether the candidate is too far back, as a mask: a branch would be a coin toss. Such a candidate is replaced by
  // the position itself, which may be read, and marked.
  int32_t tooFar = static_cast<int32_t>(distance << 16) >> 31;
  if constexpr (!kFar) tooFar |= static_cast<int32_t>((i - t.oldest) - static_cast<ptrdiff_t>(distance)) >> 31;
  const uint8_t* const c = p - (distance & ~static_cast<uint32_t>(tooFar));
  const uint32_t differs = kWide ? (LoadLE<uint32_t>(p) ^ LoadLE<uint32_t>(c)) << 8 : LoadThree(p) ^ LoadThree(c);
  return {distance, differs | (static_cast<uint32_t>(tooFar) & 1)};
}

// Enters the positions of a match behind its first, pos.
ZELDC_ALWAYS_INLINE void InsertMatch(uint16_t* head, const uint16_t* hashes, uint32_t pos, uint32_t length) {
#if ZELDC_SSE2
  // Most matches are short, and a loop of unforeseen length costs a misprediction: enter always eight positions, those
  // behind the match into an entry that nobody reads.
  if (length <= 9) {
    const __m128i place = _mm_set_epi16(7, 6, 5, 4, 3, 2, 1, 0);
    const __m128i behind = _mm_cmpgt_epi16(place, _mm_set1_epi16(static_cast<int16_t>(length - 2)));
    const __m128i h = _mm_loadu_si128(reinterpret_cast<const __m128i*>(hashes + 1));
    const __m128i spare = _mm_set1_epi16(static_cast<int16_t>(FastTables::kSpare));
    alignas(16) uint16_t places[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(places),
                    _mm_or_si128(_mm_and_si128(behind, spare), _mm_andnot_si128(behind, h)));
    for (uint32_t k = 0; k < 8; ++k) head[places[k]] = static_cast<uint16_t>(pos + 1 + k);
    return;
  }
#endif
  for (uint32_t k = 1; k < length; ++k) head[hashes[k]] = static_cast<uint16_t>(pos + k);
}

template <bool kWide, bool kFar>
ptrdiff_t RunStretch(Search* x, const Stretch& stretch, ptrdiff_t i, ptrdiff_t end) {
  const Stretch t = stretch;
  zelLZ77Pair* pair = x->pair;
  zelLZ77Pair* const pairEnd = x->pairEnd;
  const ptrdiff_t matchEnd = x->matchEnd;
  while (i < end && pair < pairEnd) {
    const uint16_t* h = t.hashes + (i - t.first);
    Candidate now = LookAt<kWide, kFar>(t, i, t.head[h[0]]);
    t.head[h[0]] = static_cast<uint16_t>(t.posBase + static_cast<uint32_t>(i));
    if constexpr (kWide) {
      // Literals, as long as they last, with the next position's candidate fetched before the branch.
      for (;;) {
        Candidate next = LookAt<kWide, kFar>(t, i + 1, t.head[h[1]]);
        __asm__ volatile("" : "+r"(next.distance), "+r"(next.differs));
        if (now.differs == 0) break;
        *pair++ = {t.base[i], 0};
        ++i;
        if (i >= end || pair == pairEnd) break;
        ++h;
        t.head[h[0]] = static_cast<uint16_t>(t.posBase + static_cast<uint32_t>(i));
        now = next;
      }
      if (now.differs != 0) break;
    }
    const uint32_t limit = matchEnd - i < kMaxMatch ? static_cast<uint32_t>(matchEnd - i) : kMaxMatch;
    if (now.differs != 0 || limit < kMinMatch) {
      *pair++ = {t.base[i++], 0};
      continue;
    }
    const uint8_t* const p = t.base + i;
    const uint32_t length = MatchLength(p, p - now.distance, kMinMatch, limit);
    *pair++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(now.distance)};
    InsertMatch(t.head, h, t.posBase + static_cast<uint32_t>(i), length);
    i += length;
  }
  x->pair = pair;
  return i;
}

}  // namespace

void SearchFast(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
  uint16_t hashes[kStretch + kMaxMatch + 16];
  while (x->i < stop && x->pair < x->pairEnd) {
    const ptrdiff_t i = x->i;
    const ptrdiff_t end = stop - i < kStretch ? stop : i + kStretch;
    const ptrdiff_t hashEnd = readEnd - 2 - end < kMaxMatch ? readEnd - 2 : end + kMaxMatch;
    ComputeHashes(base + i, hashEnd - i, readEnd - i, hashes);
    const Stretch t{base, hashes, i, x->state->tables.fast.head, x->posBase, i - Reach(x, i)};
    const ptrdiff_t wideEnd = end < readEnd - 8 ? end : readEnd - 8;
    x->i = Reach(x, i) >= kMaxDistance ? RunStretch<true, true>(x, t, i, wideEnd)
                                       : RunStretch<true, false>(x, t, i, wideEnd);
    // The last few positions of a call, without reading behind it.
    if (x->i < end) x->i = RunStretch<false, false>(x, t, x->i, end);
  }
}

void InsertDictionaryFast(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  for (int32_t i = 0; i + kMinMatch <= len; ++i) {
    s->tables.fast.head[RollingHash(dictionary + i)] = static_cast<uint16_t>(s->tablePos + static_cast<uint32_t>(i));
  }
}

}  // namespace zeldc
