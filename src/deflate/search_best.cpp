// zelLZ77LevelBest: lazy, the longest match among the newest 512 positions with the same salted hash of three bytes.
//
// The chain of a common three-byte string is long, and most of its positions match three bytes and no more. The search
// walks other chains and finds the same match:
//
//  - A match of four or more bytes stands in the chain of its four-byte hash. Each position is numbered within its
//    three-byte chain (`rank`), so whether a candidate is among the newest 512 there is a subtraction.
//  - Once a match of L bytes is known, a better one must agree in every four-byte string of the first L + 1 bytes, so
//    it stands, k bytes on, in the chain of each string k. The candidate just found stands in those chains, too: of
//    its links, which lie side by side in memory, the longest is the one to follow, for the chains are in the order
//    of distance and every position that one of them leaves out is no candidate.
//  - A match for the next byte only counts if it is longer than the one in hand. Its last four bytes hold a byte that
//    the one in hand did not reach; often they occur nowhere, and the search ends before it begins. As positions are
//    entered ahead of the search (position_batch.h), that byte's own links tell.
//  - A match of three bytes only counts up to 4096 back: a short chain of those is enough.
//
// Positions that the contract leaves out, the last three of each call, have no rank (kUnranked) but do stand in the
// four-byte chains, which must not have gaps. Bound by the cache misses of the walk and, for the rest, by insertion.

#include <string.h>

#include "deflate/longest_link.h"
#include "deflate/search_levels.h"
#include "shared/position_batch.h"

namespace zeldc {

namespace {

constexpr uint32_t kCandidates = 512;
constexpr uint32_t kMaxDistanceOf3 = 4096;
constexpr uint32_t kShortChainMask = kMaxDistanceOf3 - 1;
constexpr uint16_t kUnranked = 0x8000;
constexpr uint32_t kRankMask = 0x7FFF;

ZELDC_ALWAYS_INLINE void InsertInChain4(BestTables* t, const uint8_t* p, uint32_t pos) {
  uint16_t* const head = &t->head4[Hash4(p)];
  t->chain4[pos & kPositionMask] = static_cast<uint16_t>(pos - *head);
  *head = static_cast<uint16_t>(pos);
}

ZELDC_ALWAYS_INLINE void InsertRanked(BestTables* t, uint32_t hash, uint32_t pos) {
  uint16_t* const head = &t->head3[hash];
  const uint32_t distance = DistanceTo(pos, *head);
  *head = static_cast<uint16_t>(pos);
  t->chain3[pos & kShortChainMask] = static_cast<uint16_t>(distance);
  const uint32_t next = t->rank[(pos - distance) & kPositionMask] + 1u;
  t->rank[pos & kPositionMask] = static_cast<uint16_t>(distance < kMaxDistance ? next & kRankMask : 0);
}

// Positions entered ahead of the search. Their slots were those of the oldest ones, which may still be candidates: what
// stood there is kept.
struct EnteredAhead {
  static constexpr uint32_t kSize = 1024;

  uint32_t start;  // the first position of the batch
  uint32_t end;    // positions before this one have been entered
  uint16_t oldChain4[kSize];
  uint16_t oldRank[kSize];
  uint16_t oldChain3[kSize];

  void Insert(BestTables* t, const uint8_t* p, uint32_t pos, uint32_t n) {
    ZELDC_ASSERT(n <= kSize);
    start = pos;
    end = pos + n;
    ForSlots(kWindowSize, n, [&](uint32_t slot, uint32_t k, uint32_t count) {
      memcpy(oldChain4 + k, t->chain4 + slot, count * sizeof(uint16_t));
      memcpy(oldRank + k, t->rank + slot, count * sizeof(uint16_t));
    });
    ForSlots(kMaxDistanceOf3, n, [&](uint32_t slot, uint32_t k, uint32_t count) {
      memcpy(oldChain3 + k, t->chain3 + slot, count * sizeof(uint16_t));
    });
    for (uint32_t k = 0; k < n; ++k) InsertInChain4(t, p + k, pos + k);
    uint32_t k = 0;
    for (; k + 4 <= n; k += 4) {
      const uint64_t h = FourSaltedHashes(p + k);
      InsertRanked(t, static_cast<uint16_t>(h), pos + k);
      InsertRanked(t, static_cast<uint16_t>(h >> 16), pos + k + 1);
      InsertRanked(t, static_cast<uint16_t>(h >> 32), pos + k + 2);
      InsertRanked(t, static_cast<uint32_t>(h >> 48), pos + k + 3);
    }
    for (; k < n; ++k) InsertRanked(t, SaltedHash(p + k), pos + k);
  }

  // Takes out all but the first `kept` positions; p is where the first byte of the batch is.
  void Remove(BestTables* t, const uint8_t* p, uint32_t kept) {
    const uint32_t n = end - start;
    ZELDC_ASSERT(kept <= n && n <= kSize);
    for (uint32_t k = n; k-- > kept;) {
      const uint32_t pos = start + k;
      t->head3[SaltedHash(p + k)] = static_cast<uint16_t>(pos - t->chain3[pos & kShortChainMask]);
      t->head4[Hash4(p + k)] = static_cast<uint16_t>(pos - t->chain4[pos & kPositionMask]);
      t->chain3[pos & kShortChainMask] = oldChain3[k];
      t->chain4[pos & kPositionMask] = oldChain4[k];
      t->rank[pos & kPositionMask] = oldRank[k];
    }
  }

  // What the tables held of a position that is no more than a window before the batch.
  uint32_t Chain4(const BestTables* t, uint32_t pos) const {
    return IsGone(pos, kWindowSize) ? oldChain4[SavedIndex(pos, kWindowSize)] : t->chain4[pos & kPositionMask];
  }
  uint16_t Rank(const BestTables* t, uint32_t pos) const {
    return IsGone(pos, kWindowSize) ? oldRank[SavedIndex(pos, kWindowSize)] : t->rank[pos & kPositionMask];
  }
  // The same of one that is no more than kMaxDistanceOf3 before the batch.
  uint32_t Chain3(const BestTables* t, uint32_t pos) const {
    return IsGone(pos, kMaxDistanceOf3) ? oldChain3[SavedIndex(pos, kMaxDistanceOf3)]
                                        : t->chain3[pos & kShortChainMask];
  }

 private:
  // Whether the position's slot in a ring has been taken.
  bool IsGone(uint32_t pos, uint32_t ring) const { return static_cast<int32_t>(pos - (end - ring)) < 0; }

  // Where the slot's content of a position that is gone was kept.
  uint32_t SavedIndex(uint32_t pos, uint32_t ring) const {
    const uint32_t index = pos - (start - ring);
    ZELDC_ASSERT(index < end - start);
    return index;
  }

  // use(slot, k, count) for each contiguous part of the batch's slots in a ring.
  template <typename Use>
  void ForSlots(uint32_t ring, uint32_t n, Use use) const {
    for (uint32_t k = 0; k < n;) {
      const uint32_t slot = (start + k) & (ring - 1);
      const uint32_t count = ring - slot < n - k ? ring - slot : n - k;
      use(slot, k, count);
      k += count;
    }
  }
};

// A byte at which matches are looked for.
struct Target {
  const BestTables* t;
  const EnteredAhead* ahead;
  const uint8_t* p;
  uint32_t pos;
  uint32_t maxDistance;
  uint32_t nearDistance;  // positions up to this far back have their slots still
  uint32_t limit;         // longest length
  uint32_t rank;          // in its three-byte chain
};

// Whether the candidate, which agrees in four bytes, lies behind the newest 512 of its three-byte chain. So do all that
// are further back.
ZELDC_ALWAYS_INLINE bool IsBehindLast(const Target& at, uint16_t rank) {
  return rank != kUnranked && ((at.rank - rank) & kRankMask) > kCandidates;
}

// Goes on with the walk below where slots have been taken.
ZELDC_NOINLINE Match WalkFar(const Target& at, uint32_t k, uint32_t distance, Match best) {
  for (; distance <= at.maxDistance; distance += at.ahead->Chain4(at.t, at.pos + k - distance)) {
    const uint8_t* const c = at.p - distance;
    if (LoadLE<uint32_t>(c) != LoadLE<uint32_t>(at.p)) continue;
    const uint16_t rank = at.ahead->Rank(at.t, at.pos - distance);
    if (IsBehindLast(at, rank)) break;
    const uint32_t length = MatchLength(at.p, c, 4, at.limit);
    if (length > best.length && rank != kUnranked) best = {length, distance};
  }
  return best;
}

// Walks the chain of the four bytes at offset k from `distance` on, for matches longer than `best`, which is 3 at
// least. All nearer candidates have been looked at, or are known to be no better. Not inlined, so that what the walk
// needs stays in registers.
ZELDC_NOINLINE Match Walk(const Target& at, uint32_t k, uint32_t distance, Match best) {
  constexpr uint32_t kStepsBetweenRanks = 8;
  const uint16_t* const chain = at.t->chain4;
  const uint8_t* const p = at.p;
  const uint32_t nearDistance = at.nearDistance;
  for (;;) {
    // Most candidates differ in the last of the bytes that they must have. Now and then one is asked for its rank all
    // the same, so that the walk does not go on for long behind the last candidate.
    const uint8_t* const tail = p + best.length - 3;
    const uint32_t last = LoadLE<uint32_t>(tail);
    uint32_t link = at.pos + k - distance;
    for (uint32_t n = kStepsBetweenRanks; n > 0; --n) {
      if (distance > nearDistance) return distance > at.maxDistance ? best : WalkFar(at, k, distance, best);
      if (LoadLE<uint32_t>(tail - distance) == last) break;
      const uint32_t step = chain[link & kPositionMask];
      distance += step;
      link -= step;
    }
    if (distance > nearDistance) return distance > at.maxDistance ? best : WalkFar(at, k, distance, best);

    const uint8_t* const c = p - distance;
    if (LoadLE<uint32_t>(c) == LoadLE<uint32_t>(p)) {
      const uint16_t rank = at.t->rank[(at.pos - distance) & kPositionMask];
      if (IsBehindLast(at, rank)) return best;
      const uint32_t length = MatchLength(p, c, 4, at.limit);
      if (length > best.length && rank != kUnranked) {
        best = {length, distance};
        if (length >= at.limit) return best;
        // The candidate stands in the chains at offsets 0 .. length - 4, as far as these have been entered.
        uint32_t links = length - 3;
        const uint32_t entered = at.ahead->end - at.pos + distance;
        if (links > entered) links = entered;
        const uint32_t slot = (at.pos - distance) & kPositionMask;
        if (links > kWindowSize - slot) links = kWindowSize - slot;
        k = LongestLink(chain + slot, links);
      }
    }
    distance += chain[(at.pos + k - distance) & kPositionMask];
  }
}

// The nearest match of three bytes.
inline Match NearestMatchOf3(const Target& at) {
  uint32_t distance = at.t->chain3[at.pos & kShortChainMask];
  const uint32_t first = LoadLE<uint16_t>(at.p);
  const uint32_t most = at.maxDistance < kMaxDistanceOf3 ? at.maxDistance : kMaxDistanceOf3;
  for (uint32_t n = kCandidates; n > 0 && distance <= most; --n) {
    const uint8_t* const c = at.p - distance;
    if (LoadLE<uint16_t>(c) == first && c[2] == at.p[2]) return {3, distance};
    // Behind the farthest one there is none; its own slot may have been taken before the batch.
    if (distance == most) break;
    distance += at.ahead->Chain3(at.t, at.pos - distance);
  }
  return {2, 0};
}

// The longest match, of length 2 if there is none that counts.
inline Match LongestMatch(const Target& at) {
  if (at.limit >= 4) {
    const Match m = Walk(at, 0, at.t->chain4[at.pos & kPositionMask], {3, 0});
    if (m.length > 3) return m;
  }
  return at.limit >= 3 ? NearestMatchOf3(at) : Match{2, 0};
}

// The longest match of more than `length` >= 3 bytes, of length 2 if there is none.
inline Match LongerMatch(const Target& at, uint32_t length) {
  if (length >= at.limit) return {2, 0};
  // Of the links at the last offsets, the longest: strings that the match in hand does not hold are there.
  uint32_t last = length - 3;
  const uint32_t entered = at.ahead->end - at.pos;
  if (last >= entered) last = entered - 1;
  const uint32_t first = last < kMostLinks ? 0 : last - (kMostLinks - 1);
  const uint32_t slot = (at.pos + first) & kPositionMask;
  uint32_t links = last - first + 1;
  if (links > kWindowSize - slot) links = kWindowSize - slot;
  const uint32_t k = LongestLink(at.t->chain4 + slot, links);
  const uint32_t distance = at.t->chain4[slot + k];
  if (distance > at.maxDistance) return {2, 0};
  const Match best = Walk(at, first + k, distance, {length, 0});
  return best.length > length ? best : Match{2, 0};
}

// False when no position of the three-byte chain is near enough.
inline bool MakeTarget(const BestTables* t, const Search* x, const EnteredAhead* ahead, const uint8_t* base,
                       ptrdiff_t i, Target* at) {
  at->t = t;
  at->ahead = ahead;
  at->p = base + i;
  at->pos = x->posBase + static_cast<uint32_t>(i);
  at->maxDistance = MaxDistance(x, i);
  at->nearDistance = kWindowSize - (ahead->end - at->pos);
  if (at->nearDistance > at->maxDistance) at->nearDistance = at->maxDistance;
  at->limit = MaxLength(x, i);
  at->rank = t->rank[at->pos & kPositionMask];
  return t->chain3[at->pos & kShortChainMask] <= at->maxDistance;
}

// Brings the four-byte chains up to byte i of the call with what earlier calls left out.
void CatchUp(BestTables* t, Search* x, const uint8_t* base, ptrdiff_t i) {
  const uint32_t end = x->posBase + static_cast<uint32_t>(i);
  if (end - t->chained > kWindowSize) t->chained = end - kWindowSize;
  for (; t->chained != end; ++t->chained) {
    const uint32_t pos = t->chained;
    if (static_cast<int32_t>(pos - t->ranked) >= 0) t->rank[pos & kPositionMask] = kUnranked;
    InsertInChain4(t, base + static_cast<int32_t>(pos - x->posBase), pos);
  }
}

// Searches up to `end`. The positions of all bytes up to there have been entered, and that of byte `end` unless no
// match may start there.
void RunBatch(const BestTables* t, Search* x, const EnteredAhead* ahead, const uint8_t* base, ptrdiff_t end) {
  ptrdiff_t i = x->i;
  Match carried{x->carriedLength, x->carriedDistance};
  Target at;
  while (i < end && x->pair < x->pairEnd) {
    if (carried.length == 0) carried = MakeTarget(t, x, ahead, base, i, &at) ? LongestMatch(at) : Match{2, 0};
    Match next{2, 0};
    if (i + 1 < x->matchEnd && MakeTarget(t, x, ahead, base, i + 1, &at)) {
      next = carried.length < 3 ? LongestMatch(at) : LongerMatch(at, carried.length);
    }
    if (carried.length < 3 || next.length > carried.length) {
      PutLiteral(x, base[i]);
      carried = next;
      ++i;
      continue;
    }
    PutMatch(x, carried);
    i += carried.length;
    carried.length = 0;
  }
  x->carriedLength = carried.length;
  x->carriedDistance = carried.distance;
  x->i = i;
}

}  // namespace

void SearchBest(BestTables* t, Search* x, const uint8_t* base, ptrdiff_t stop) {
  CatchUp(t, x, base, x->i);
  EnteredAhead ahead;
  // The search looks one byte ahead.
  const ptrdiff_t enterEnd = stop < x->matchEnd ? stop + 1 : stop;
  SearchInBatches(
      x, stop, enterEnd, EnteredAhead::kSize,
      [&](ptrdiff_t i, ptrdiff_t n) {
        ahead.Insert(t, base + i, x->posBase + static_cast<uint32_t>(i), static_cast<uint32_t>(n));
      },
      [&](ptrdiff_t, ptrdiff_t end) { RunBatch(t, x, &ahead, base, end == enterEnd ? stop : end - 1); },
      [&](ptrdiff_t i, ptrdiff_t, ptrdiff_t kept) { ahead.Remove(t, base + i, static_cast<uint32_t>(kept)); });
  t->chained = x->posBase + static_cast<uint32_t>(x->i);
  t->ranked = t->chained;
}

void InsertDictionaryBest(BestTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len) {
  // The last position that has three bytes has its fourth in the input to come: it is chained later.
  int32_t i = 0;
  for (; i + 4 <= len; ++i) {
    InsertRanked(t, SaltedHash(dictionary + i), pos + static_cast<uint32_t>(i));
    InsertInChain4(t, dictionary + i, pos + static_cast<uint32_t>(i));
  }
  t->chained = pos + static_cast<uint32_t>(i);
  for (; i + kMinMatch <= len; ++i) InsertRanked(t, SaltedHash(dictionary + i), pos + static_cast<uint32_t>(i));
  t->ranked = pos + static_cast<uint32_t>(i);
}

}  // namespace zeldc
