// zelLZ77LevelFast: one candidate a position, the newest with the same rolling hash of three bytes.

#include "deflate/match_kernel.h"

namespace zeldc {

namespace {

inline uint32_t RollingHash(const uint8_t* p) {
  return ((uint32_t{p[0]} << 10) ^ (uint32_t{p[1]} << 5) ^ p[2]) & (kHashSize - 1);
}

}  // namespace

void SearchFast(Search* x, const uint8_t* base, ptrdiff_t stop) {
  uint16_t* const head = x->state->tables.fast.head;
  while (x->i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + x->i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(x->i);
    uint16_t* const entry = &head[RollingHash(p)];
    const uint32_t distance = DistanceTo(pos, *entry);
    *entry = static_cast<uint16_t>(pos);
    uint32_t length = 0;
    if (distance <= MaxDistance(x, x->i)) length = MatchLength(p, p - distance, 0, MaxLength(x, x->i));
    if (length < kMinMatch) {
      PutLiteral(x, *p);
      ++x->i;
      continue;
    }
    PutMatch(x, {length, distance});
    for (uint32_t k = 1; k < length; ++k) head[RollingHash(p + k)] = static_cast<uint16_t>(pos + k);
    x->i += length;
  }
}

void InsertDictionaryFast(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  for (int32_t i = 0; i + kMinMatch <= len; ++i) {
    s->tables.fast.head[RollingHash(dictionary + i)] = static_cast<uint16_t>(s->tablePos + static_cast<uint32_t>(i));
  }
}

}  // namespace zeldc
