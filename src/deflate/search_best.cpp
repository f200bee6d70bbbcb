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
//    the one in hand did not reach; often they occur nowhere, and the search ends before it begins.
//  - A match of three bytes only counts up to 4096 back: a short chain of those is enough.
//
// Positions that the contract leaves out, the last three of each call, have no rank (kUnranked) but do stand in the
// four-byte chains, which must not have gaps. Bound by the cache misses of the walk and, for the rest, by insertion.

#include "deflate/longest_link.h"
#include "deflate/match_kernel.h"

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

ZELDC_ALWAYS_INLINE void InsertRanked(BestTables* t, const uint8_t* p, uint32_t pos) {
  uint16_t* const head = &t->head3[SaltedHash(p)];
  const uint32_t distance = DistanceTo(pos, *head);
  *head = static_cast<uint16_t>(pos);
  t->chain3[pos & kShortChainMask] = static_cast<uint16_t>(distance);
  const uint32_t rank = distance < kMaxDistance ? t->rank[(pos - distance) & kPositionMask] + 1u : 0;
  t->rank[pos & kPositionMask] = static_cast<uint16_t>(rank & kRankMask);
}

ZELDC_ALWAYS_INLINE void Insert(BestTables* t, const uint8_t* p, uint32_t pos) {
  InsertRanked(t, p, pos);
  InsertInChain4(t, p, pos);
}

// A byte at which matches are looked for.
struct Target {
  const BestTables* t;
  const uint8_t* p;
  uint32_t pos;
  uint32_t maxDistance;
  uint32_t limit;      // longest length
  uint32_t distance3;  // to the newest position of the three-byte chain
  uint32_t rank;       // that this position would have in it
};

// Whether the candidate, which agrees in four bytes, lies behind the newest 512 of its three-byte chain. So do all that
// are further back.
ZELDC_ALWAYS_INLINE bool IsBehindLast(const Target& at, uint16_t rank) {
  return rank != kUnranked && ((at.rank - rank) & kRankMask) > kCandidates;
}

// Walks the chain of the four bytes at offset k from `distance` on, for matches longer than `best`, which is 3 at
// least. All nearer candidates have been looked at, or are known to be no better. Not inlined, so that what the walk
// needs stays in registers.
ZELDC_NOINLINE Match Walk(const Target& at, uint32_t k, uint32_t distance, Match best) {
  constexpr uint32_t kStepsBetweenRanks = 8;
  const uint16_t* const chain = at.t->chain4;
  const uint8_t* const p = at.p;
  const uint32_t maxDistance = at.maxDistance;
  for (;;) {
    // Most candidates differ in the last of the bytes that they must have. Now and then one is asked for its rank all
    // the same, so that the walk does not go on for long behind the last candidate.
    const uint8_t* const tail = p + best.length - 3;
    const uint32_t last = LoadLE<uint32_t>(tail);
    uint32_t link = at.pos + k - distance;
    for (uint32_t n = kStepsBetweenRanks; n > 0; --n) {
      if (distance > maxDistance) return best;
      if (LoadLE<uint32_t>(tail - distance) == last) break;
      const uint32_t step = chain[link & kPositionMask];
      distance += step;
      link -= step;
    }
    if (distance > maxDistance) return best;

    const uint8_t* const c = p - distance;
    if (LoadLE<uint32_t>(c) == LoadLE<uint32_t>(p)) {
      const uint16_t rank = at.t->rank[(at.pos - distance) & kPositionMask];
      if (IsBehindLast(at, rank)) return best;
      const uint32_t length = MatchLength(p, c, 4, at.limit);
      if (length > best.length && rank != kUnranked) {
        best = {length, distance};
        if (length >= at.limit) return best;
        // The candidate stands in the chains at offsets 0 .. length - 4, as far as these have been inserted.
        uint32_t links = length - 3;
        if (links > distance) links = distance;
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
  uint32_t distance = at.distance3;
  const uint32_t first = LoadLE<uint16_t>(at.p);
  const uint32_t most = at.maxDistance < kMaxDistanceOf3 ? at.maxDistance : kMaxDistanceOf3;
  for (uint32_t n = kCandidates; n > 0 && distance <= most; --n) {
    const uint8_t* const c = at.p - distance;
    if (LoadLE<uint16_t>(c) == first && c[2] == at.p[2]) return {3, distance};
    distance += at.t->chain3[(at.pos - distance) & kShortChainMask];
  }
  return {2, 0};
}

// The longest match, of length 2 if there is none that counts.
inline Match LongestMatch(const Target& at) {
  if (at.limit >= 4) {
    const uint32_t distance = DistanceTo(at.pos, at.t->head4[Hash4(at.p)]);
    const Match m = Walk(at, 0, distance, {3, 0});
    if (m.length > 3) return m;
  }
  return at.limit >= 3 ? NearestMatchOf3(at) : Match{2, 0};
}

// The longest match of more than `known.length` >= 3 bytes, of length 2 if there is none. `known` is a match of the
// byte before: at the same distance this byte has one that is shorter by 1.
inline Match LongerMatch(const Target& at, Match known) {
  const uint32_t length = known.length;
  if (length >= at.limit) return {2, 0};
  // Start in the chain whose newest position lies furthest back, of those at a few offsets. Candidates that are no
  // further back than the offset overlap the target, where strings have not been inserted: if there may be any, stay in
  // the chain at offset 0.
  uint32_t k = 0;
  uint32_t distance = DistanceTo(at.pos, at.t->head4[Hash4(at.p)]);
  const uint32_t last = length - 3;
  if (distance > last) {
    const uint32_t stride = last > 16 ? last / 16 : 1;
    for (uint32_t offset = last; offset > 0 && offset <= last;) {
      const uint32_t d = DistanceTo(at.pos + offset, at.t->head4[Hash4(at.p + offset)]);
      if (d > distance) {
        distance = d;
        k = offset;
        if (distance > at.maxDistance) return {2, 0};
      }
      offset -= offset + 8 > last ? 1 : stride;
    }
  }
  const Match best = Walk(at, k, distance, {length, 0});
  return best.length > length ? best : Match{2, 0};
}

// False when no position of the three-byte chain is near enough.
inline bool MakeTarget(const Search* x, const BestTables* t, const uint8_t* base, ptrdiff_t i, Target* at) {
  at->t = t;
  at->p = base + i;
  at->pos = x->posBase + static_cast<uint32_t>(i);
  at->maxDistance = MaxDistance(x, i);
  at->limit = MaxLength(x, i);
  at->distance3 = DistanceTo(at->pos, t->head3[SaltedHash(at->p)]);
  if (at->distance3 > at->maxDistance) return false;
  at->rank = t->rank[(at->pos - at->distance3) & kPositionMask] + 1u;
  return true;
}

// Brings the four-byte chains up to byte i of the call with what earlier calls left out.
void CatchUp(Search* x, const uint8_t* base, ptrdiff_t i) {
  BestTables* const t = &x->state->tables.best;
  const uint32_t end = x->posBase + static_cast<uint32_t>(i);
  if (end - t->chained > kWindowSize) t->chained = end - kWindowSize;
  for (; t->chained != end; ++t->chained) {
    const uint32_t pos = t->chained;
    if (static_cast<int32_t>(pos - t->ranked) >= 0) t->rank[pos & kPositionMask] = kUnranked;
    InsertInChain4(t, base + static_cast<int32_t>(pos - x->posBase), pos);
  }
}

}  // namespace

void SearchBest(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t /*readEnd*/) {
  BestTables* const t = &x->state->tables.best;
  if (x->i >= stop || x->pair == x->pairEnd) return;
  CatchUp(x, base, x->i);
  ptrdiff_t i = x->i;
  Match carried{x->carriedLength, x->carriedDistance};
  Target at;
  while (i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(i);
    if (carried.length == 0) carried = MakeTarget(x, t, base, i, &at) ? LongestMatch(at) : Match{2, 0};
    Insert(t, p, pos);
    Match next{2, 0};
    if (MakeTarget(x, t, base, i + 1, &at)) {
      next = carried.length < 3 ? LongestMatch(at) : LongerMatch(at, carried);
    }
    if (carried.length < 3 || next.length > carried.length) {
      PutLiteral(x, *p);
      carried = next;
      ++i;
      continue;
    }
    PutMatch(x, carried);
    for (uint32_t n = 1; n < carried.length; ++n) Insert(t, p + n, pos + n);
    i += carried.length;
    carried.length = 0;
  }
  x->carriedLength = carried.length;
  x->carriedDistance = carried.distance;
  x->i = i;
  t->chained = x->posBase + static_cast<uint32_t>(i);
  t->ranked = t->chained;
}

void InsertDictionaryBest(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  BestTables* const t = &s->tables.best;
  // The last position that has three bytes has its fourth in the input to come: it is chained later.
  int32_t i = 0;
  for (; i + 4 <= len; ++i) Insert(t, dictionary + i, s->tablePos + static_cast<uint32_t>(i));
  t->chained = s->tablePos + static_cast<uint32_t>(i);
  for (; i + kMinMatch <= len; ++i) InsertRanked(t, dictionary + i, s->tablePos + static_cast<uint32_t>(i));
  t->ranked = s->tablePos + static_cast<uint32_t>(i);
}

}  // namespace zeldc
