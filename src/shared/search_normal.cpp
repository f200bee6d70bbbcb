// The search of Deflate's normal level and of LZSS: greedy, the longest match among the newest 16 positions with the
// same salted hash of three bytes.
//
// Positions are entered ahead of the search (position_batch.h), chains and all.
//
// Bound by the walk along the chain, where each link is loaded from where the one before points to, often past the
// first-level cache, and the search cannot go on before the walk is at its end. Links are therefore positions and not
// distances, so that nothing but the load stands between one and the next. Whatever is more than a window back when it
// is linked to is replaced by a position exactly a window back: so the first link of a walk that is too old looks old,
// and no walk goes beyond it.

#include "shared/position_batch.h"

namespace zeldc {

namespace {

constexpr int kCandidates = 16;

// Makes the links of positions from `pos` on.
ZELDC_ALWAYS_INLINE void Link(const uint16_t* newest, uint16_t pos, ptrdiff_t n, uint16_t* previous) {
  uint16_t at = pos;
  for (ptrdiff_t k = 0; k < n; ++k, ++at) {
    const uint16_t distance = static_cast<uint16_t>(at - newest[k]);
    previous[k] = distance < kMaxDistance ? newest[k] : static_cast<uint16_t>(at - kMaxDistance);
  }
}

// Enters the n positions of the bytes from p on, the first one `pos`.
void Insert(NormalTables* t, PositionBatch* batch, const uint8_t* p, uint32_t pos, ptrdiff_t n) {
  batch->Insert(
      t->head, pos, n, [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return FourSaltedHashes(p + k); },
      [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return SaltedHash(p + k); });
  // The ring of links may end within the batch.
  for (ptrdiff_t from = 0; from < n;) {
    const uint16_t slot = static_cast<uint16_t>(pos + static_cast<uint32_t>(from));
    const ptrdiff_t count = 0x10000 - slot < n - from ? 0x10000 - slot : n - from;
    Link(batch->newest + from, slot, count, t->previous + slot);
    from += count;
  }
}

// The longest match at p, position `pos`, of length 2 if there is none.
ZELDC_ALWAYS_INLINE Match LongestMatch(const uint16_t* previous, const uint8_t* p, uint16_t pos, uint32_t maxDistance,
                                       uint32_t limit) {
  uint32_t left = kCandidates;
  __asm__("" : "+r"(left));  // or else the first loop is unrolled
  uint16_t candidate = previous[pos];
  uint32_t distance = static_cast<uint16_t>(pos - candidate);
  // Up to the first that agrees in three bytes.
  const uint32_t first = LoadLE<uint32_t>(p);
  uint32_t differs;
  for (;;) {
    if (distance > maxDistance) return {2, 0};
    differs = LoadLE<uint32_t>(p - distance) ^ first;
    if (differs << 8 == 0) break;
    if (--left == 0) return {2, 0};
    candidate = previous[candidate];
    distance = static_cast<uint16_t>(pos - candidate);
  }
  Match best{3, distance};
  if (ZELDC_LIKELY(limit >= 8)) {
    const uint64_t x = LoadLE<uint64_t>(p) ^ LoadLE<uint64_t>(p - distance);
    best.length = x ? static_cast<uint32_t>(__builtin_ctzll(x) >> 3) : MatchLength(p, p - distance, 8, limit);
  } else {
    best.length = MatchLength(p, p - distance, 3, limit);
  }
  // Longer ones agree in four bytes at the front and at the end.
  while (best.length < limit) {
    const uint8_t* const tail = p + best.length - 3;
    const uint32_t last = LoadLE<uint32_t>(tail);
    do {
      if (--left == 0) return best;
      candidate = previous[candidate];
      distance = static_cast<uint16_t>(pos - candidate);
      if (distance > maxDistance) return best;
    } while (LoadLE<uint32_t>(tail - distance) != last);
    if (LoadLE<uint32_t>(p - distance) == first) {
      const uint32_t length = MatchLength(p, p - distance, 4, limit);
      if (length > best.length) best = {length, distance};
    }
  }
  return best;
}

// Searches up to `end`. kInside: a window lies before all of it, and a longest match behind. Not inlined, so that what
// the walk needs stays in registers.
template <bool kInside>
ZELDC_NOINLINE void RunBatch(const NormalTables* t, Search* x, const uint8_t* base, ptrdiff_t end) {
  const uint16_t* const previous = t->previous;
  zelLZ77Pair* pair = x->pair;
  zelLZ77Pair* const pairEnd = x->pairEnd;
  const uint8_t* const start = base + x->i;
  const uint8_t* const stop = base + end;
  const uint16_t pos = static_cast<uint16_t>(x->posBase + static_cast<uint32_t>(x->i));
  const uint8_t* p = start;
  while (p < stop && pair < pairEnd) {
    const ptrdiff_t i = x->i + (p - start);
    const uint32_t limit = kInside ? kMaxMatch : MaxLength(x, i);
    Match m{2, 0};
    if (kInside || limit >= kMinMatch) {
      m = LongestMatch(previous, p, static_cast<uint16_t>(pos + (p - start)),
                       kInside ? kMaxDistance - 1 : MaxDistance(x, i), limit);
    }
    if (m.length < kMinMatch) {
      *pair++ = {*p++, 0};
      continue;
    }
    *pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
    p += m.length;
  }
  x->pair = pair;
  x->i += p - start;
}

}  // namespace

void SearchNormal(NormalTables* t, Search* x, const uint8_t* base, ptrdiff_t stop) {
  PositionBatch batch;
  SearchInBatches(
      x, stop, stop, PositionBatch::kSize,
      [&](ptrdiff_t i, ptrdiff_t n) { Insert(t, &batch, base + i, x->posBase + static_cast<uint32_t>(i), n); },
      [&](ptrdiff_t, ptrdiff_t end) {
        if (Reach(x, x->i) >= kMaxDistance && x->matchEnd - end >= kMaxMatch) {
          RunBatch<true>(t, x, base, end);
        } else {
          RunBatch<false>(t, x, base, end);
        }
      },
      [&](ptrdiff_t i, ptrdiff_t n, ptrdiff_t kept) {
        batch.Remove(t->head, n, kept, [&](ptrdiff_t k) { return SaltedHash(base + i + k); });
      });
}

void InsertDictionaryNormal(NormalTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len) {
  PositionBatch batch;
  const ptrdiff_t all = len - (kMinMatch - 1);
  for (ptrdiff_t i = 0; i < all; i += PositionBatch::kSize) {
    const ptrdiff_t n = all - i < PositionBatch::kSize ? all - i : PositionBatch::kSize;
    Insert(t, &batch, dictionary + i, pos + static_cast<uint32_t>(i), n);
  }
}

}  // namespace zeldc
