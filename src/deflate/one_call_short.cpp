// The chained and the thorough search of short one-call calls: lazy, along the caller's chains.
//
// Side tables cost some 50000 steps for a full window, so calls of a few hundred bytes are better off with the chains
// of three-byte hashes as they are.

#include "deflate/one_call_chained.h"

namespace zeldc {

namespace {

void Enter(const OneCall* c, const uint8_t* base, ptrdiff_t i) {
  const uint32_t position = c->x.posBase + static_cast<uint32_t>(i);
  int32_t* const head = c->t.head + (SaltedHash(base + i) & c->t.hashMask);
  c->t.chain[position % c->t.winSize] = *head;
  *head = static_cast<int32_t>(position);
}

// The longest match at byte i, which is entered, that is longer than `known`; of length 2 if there is none.
Match LongestMatch(const OneCall* c, const uint8_t* base, ptrdiff_t i, uint32_t known, uint32_t candidates) {
  const uint8_t* const p = base + i;
  const uint32_t position = c->x.posBase + static_cast<uint32_t>(i);
  const uint32_t farthest = FarthestDistance(c->t, position);
  const uint32_t limit = Smaller(kMaxMatch, c->size - i);
  Match best{known, 0};
  int32_t candidate = c->t.chain[position % c->t.winSize];
  for (; candidates > 0 && best.length < limit; --candidates) {
    const uint32_t distance = EntryDistance(position, candidate);
    if (!IsGood(distance, farthest)) break;
    const uint8_t* const q = p - distance;
    if (p[best.length] == q[best.length]) {
      const uint32_t length = MatchLength(p, q, 0, limit);
      if (length > best.length && (length > kMinMatch || distance <= kMaxDistanceOf3)) best = {length, distance};
    }
    candidate = c->t.chain[static_cast<uint32_t>(candidate) % c->t.winSize];
  }
  return best.distance == 0 ? Match{2, 0} : best;
}

}  // namespace

void SearchOneCallShort(OneCall* c, const uint8_t* base, ptrdiff_t stop, int32_t level) {
  const Effort effort = EffortOf(level);
  Search* const x = &c->x;
  while (x->i < stop && x->pair < x->pairEnd) {
    Enter(c, base, x->i);
    Match m = LongestMatch(c, base, x->i, 2, effort.candidates);
    uint32_t entered = 1;  // positions from x->i on
    // Positions are entered for good: there must be room to consume them.
    while (m.length >= kMinMatch && m.length < effort.niceLength && x->i + 1 < stop && x->pairEnd - x->pair > 1) {
      Enter(c, base, x->i + 1);
      entered = 2;
      const Match next = LongestMatch(c, base, x->i + 1, m.length > 3 ? m.length - 1 : 3, effort.candidatesLazy);
      if (next.distance == 0 || !IsWorthWaiting(m, next, 1)) break;
      PutLiteral(x, base[x->i++]);
      entered = 1;
      m = next;
    }
    if (m.length < kMinMatch) {
      PutLiteral(x, base[x->i++]);
    } else {
      PutMatch(x, m);
      for (uint32_t k = entered; k < m.length && x->i + static_cast<ptrdiff_t>(k) < c->hashed; ++k) {
        Enter(c, base, x->i + static_cast<ptrdiff_t>(k));
      }
      x->i += m.length;
    }
    if (x->pair == x->pairEnd) c->PutItems();
  }
  c->PutItems();
}

}  // namespace zeldc
