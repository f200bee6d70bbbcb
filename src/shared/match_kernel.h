// What the kernels of the match search share.
//
// A kernel runs over contiguous memory: base[i] is byte i of the call, the history stands before, and bytes before
// readEnd may be read. It searches from x->i up to, not including, `stop`, while there is room for pairs.
//
// Tables hold positions modulo 2^16; chains tell, for each position, the one before it with the same hash, or the
// distance to it. A distance is good while it is below 2^15; sweeps (match_call.h) make entries unusable before they
// lie 2^16 back and would look new again.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/redzone.h"
#include "core/target.h"
#include "shared/deflate_format.h"
#include "shared/hash_salt.h"
#include "shared/unaligned.h"
#include "zeldc/lz77.h"

namespace zeldc {

// One call's search, handed from one stretch of contiguous memory to the next.
struct Search {
  zelLZ77Pair* pair;
  zelLZ77Pair* pairEnd;
  ptrdiff_t i;         // next byte, counted from the call's first
  ptrdiff_t matchEnd;  // no match reaches further
  ptrdiff_t oldest;    // no match starts before
  uint32_t posBase;    // table position of the call's first byte
  // The best level of Deflate: what is known of byte i. Length 0: nothing; 2: no match starts there.
  uint32_t carriedLength;
  uint32_t carriedDistance;
};

// The search that Deflate's normal level and LZSS have in common: greedy, up to 16 candidates.
struct NormalTables {
  uint16_t head[kHashSize];
  ZELDC_REDZONE(behindHead)
  uint16_t previous[0x10000];  // by position: the one before it with the same hash
};

void SearchNormal(NormalTables* t, Search* x, const uint8_t* base, ptrdiff_t stop);

// Makes a dictionary, whose first byte has position `pos`, known.
void InsertDictionaryNormal(NormalTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len);

struct Match {
  uint32_t length;
  uint32_t distance;
};

inline constexpr uint32_t kPositionMask = kWindowSize - 1;

inline uint32_t Smaller(ptrdiff_t a, ptrdiff_t b) { return static_cast<uint32_t>(a < b ? a : b); }

// How far back bytes may be looked at from byte i, cut at a window.
inline ptrdiff_t Reach(const Search* x, ptrdiff_t i) { return i >= kWindowSize ? kWindowSize : i - x->oldest; }

// How far back a match at byte i may start, and how long it may be.
inline uint32_t MaxDistance(const Search* x, ptrdiff_t i) {
  const ptrdiff_t reach = Reach(x, i);
  return reach > 0 ? Smaller(kMaxDistance - 1, reach) : 0;
}
inline uint32_t MaxLength(const Search* x, ptrdiff_t i) {
  return x->matchEnd > i ? Smaller(kMaxMatch, x->matchEnd - i) : 0;
}

// The distance to a table entry, below 2^16.
inline uint32_t DistanceTo(uint32_t pos, uint16_t entry) { return static_cast<uint16_t>(pos - entry); }

// Three bytes, of which only three are read.
ZELDC_ALWAYS_INLINE uint32_t LoadThree(const uint8_t* p) { return LoadLE<uint16_t>(p) | uint32_t{p[2]} << 16; }

// The length of the match of a and b, which agree in their first `from` bytes, up to `limit`.
ZELDC_ALWAYS_INLINE uint32_t MatchLength(const uint8_t* a, const uint8_t* b, uint32_t from, uint32_t limit) {
  uint32_t n = from;
  for (; n + 8 <= limit; n += 8) {
    const uint64_t x = LoadLE<uint64_t>(a + n) ^ LoadLE<uint64_t>(b + n);
    if (x) return n + static_cast<uint32_t>(__builtin_ctzll(x) >> 3);
  }
  while (n < limit && a[n] == b[n]) ++n;
  return n;
}

ZELDC_ALWAYS_INLINE void PutLiteral(Search* x, uint8_t byte) { *x->pair++ = {byte, 0}; }
ZELDC_ALWAYS_INLINE void PutMatch(Search* x, Match m) {
  *x->pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
}

}  // namespace zeldc
