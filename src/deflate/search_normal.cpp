// zelLZ77LevelNormal: greedy, the longest match among the newest 16 positions with the same salted hash of three bytes.
//
// Bound by the walk: each candidate costs a load of its link, which depends on the one before and often misses the
// first-level cache. So the walk is a loop of its own whose state fits the registers, and most candidates are rejected
// by one comparison of four bytes that end behind the best match so far.

#include "deflate/match_kernel.h"

namespace zeldc {

namespace {

constexpr int kCandidates = 16;

ZELDC_ALWAYS_INLINE uint32_t Insert(NormalTables* t, uint32_t hash, uint32_t pos) {
  const uint32_t distance = DistanceTo(pos, t->head[hash]);
  t->chain[pos & kPositionMask] = static_cast<uint16_t>(distance);
  t->head[hash] = static_cast<uint16_t>(pos);
  return distance;
}

// The longest match at p, of length 2 if there is none. kWide: four bytes may be read at p.
template <bool kWide>
ZELDC_ALWAYS_INLINE Match LongestMatch(const uint16_t* chain, const uint8_t* p, uint32_t pos, uint32_t distance,
                                       uint32_t maxDistance, uint32_t limit) {
  Match best{2, 0};
  if (limit < kMinMatch) return best;
  int left = kCandidates;
  if constexpr (kWide) {
    // Up to the first that agrees in three bytes.
    const uint32_t first = LoadLE<uint32_t>(p);
    uint32_t differs;
    for (;;) {
      if (distance > maxDistance) return best;
      differs = LoadLE<uint32_t>(p - distance) ^ first;
      if (differs << 8 == 0) break;
      if (--left == 0) return best;
      distance += chain[(pos - distance) & kPositionMask];
    }
    best = {differs == 0 && limit > 3 ? MatchLength(p, p - distance, 4, limit) : 3, distance};
    // Longer ones agree in four bytes at the front and at the end.
    while (best.length < limit) {
      const uint8_t* const tail = p + best.length - 3;
      const uint32_t last = LoadLE<uint32_t>(tail);
      do {
        if (--left == 0) return best;
        distance += chain[(pos - distance) & kPositionMask];
        if (distance > maxDistance) return best;
      } while (LoadLE<uint32_t>(tail - distance) != last);
      if (LoadLE<uint32_t>(p - distance) == first) {
        const uint32_t length = MatchLength(p, p - distance, 4, limit);
        if (length > best.length) best = {length, distance};
      }
    }
  } else {
    for (; distance <= maxDistance && left > 0 && best.length < limit; --left) {
      const uint32_t length = MatchLength(p, p - distance, 0, limit);
      if (length > best.length) best = {length, distance};
      distance += chain[(pos - distance) & kPositionMask];
    }
  }
  return best;
}

template <bool kWide>
void RunStretch(Search* x, const uint8_t* base, const uint16_t* hashes, ptrdiff_t first, ptrdiff_t end) {
  NormalTables* const t = &x->state->tables.normal;
  zelLZ77Pair* pair = x->pair;
  ptrdiff_t i = x->i;
  while (i < end && pair < x->pairEnd) {
    const uint8_t* const p = base + i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(i);
    const uint16_t* const h = hashes + (i - first);
    const uint32_t distance = Insert(t, h[0], pos);
    const Match m = LongestMatch<kWide>(t->chain, p, pos, distance, MaxDistance(x, i), MaxLength(x, i));
    if (m.length < kMinMatch) {
      *pair++ = {*p, 0};
      ++i;
      continue;
    }
    *pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
    for (uint32_t k = 1; k < m.length; ++k) Insert(t, h[k], pos + k);
    i += m.length;
  }
  x->pair = pair;
  x->i = i;
}

}  // namespace

void SearchNormal(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
  constexpr ptrdiff_t kStretch = 1024;
  uint16_t hashes[kStretch + kMaxMatch];
  while (x->i < stop && x->pair < x->pairEnd) {
    const ptrdiff_t i = x->i;
    const ptrdiff_t end = stop - i < kStretch ? stop : i + kStretch;
    const ptrdiff_t hashEnd = readEnd - 2 - end < kMaxMatch ? readEnd - 2 : end + kMaxMatch;
    for (ptrdiff_t k = i; k < hashEnd; ++k) hashes[k - i] = static_cast<uint16_t>(SaltedHash(base + k));
    RunStretch<true>(x, base, hashes, i, end < readEnd - 4 ? end : readEnd - 4);
    RunStretch<false>(x, base, hashes, i, end);
  }
}

void InsertDictionaryNormal(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  for (int32_t i = 0; i + kMinMatch <= len; ++i) {
    Insert(&s->tables.normal, SaltedHash(dictionary + i), s->tablePos + static_cast<uint32_t>(i));
  }
}

}  // namespace zeldc
