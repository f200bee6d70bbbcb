// zelLZ77LevelNormal: greedy, the longest match among the newest 16 positions with the same salted hash of three bytes.

#include "deflate/match_kernel.h"

namespace zeldc {

namespace {

constexpr int kCandidates = 16;

ZELDC_ALWAYS_INLINE uint32_t Insert(NormalTables* t, const uint8_t* p, uint32_t pos) {
  uint16_t* const head = &t->head[SaltedHash(p)];
  const uint32_t distance = DistanceTo(pos, *head);
  t->chain[pos & kPositionMask] = static_cast<uint16_t>(distance);
  *head = static_cast<uint16_t>(pos);
  return distance;
}

}  // namespace

void SearchNormal(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t /*readEnd*/) {
  NormalTables* const t = &x->state->tables.normal;
  while (x->i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + x->i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(x->i);
    const uint32_t maxDistance = MaxDistance(x, x->i);
    const uint32_t limit = MaxLength(x, x->i);
    uint32_t distance = Insert(t, p, pos);
    Match best{2, 0};
    for (int n = kCandidates; n > 0 && distance <= maxDistance && best.length < limit; --n) {
      const uint8_t* c = p - distance;
      if (LoadNative<uint16_t>(c + best.length - 1) == LoadNative<uint16_t>(p + best.length - 1)) {
        const uint32_t length = MatchLength(p, c, 0, limit);
        if (length > best.length) best = {length, distance};
      }
      distance += t->chain[(pos - distance) & kPositionMask];
    }
    if (best.length < kMinMatch) {
      PutLiteral(x, *p);
      ++x->i;
      continue;
    }
    PutMatch(x, best);
    for (uint32_t k = 1; k < best.length; ++k) Insert(t, p + k, pos + k);
    x->i += best.length;
  }
}

void InsertDictionaryNormal(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  for (int32_t i = 0; i + kMinMatch <= len; ++i) {
    Insert(&s->tables.normal, dictionary + i, s->tablePos + static_cast<uint32_t>(i));
  }
}

}  // namespace zeldc
