// What the searches of the one-call helpers share: the caller's tables, the items that they make, and a call's input.
//
// The kernels make pairs, as those of the encoder do, a batch of positions at a time; PutItems turns the batch's pairs
// into items and counts them.
#pragma once

#include "deflate/dynamic_code.h"
#include "deflate/position_batch.h"

namespace zeldc {

// The first level with chains, and the first with the thorough search.
inline constexpr int32_t kFirstChainedLevel = 4;
inline constexpr int32_t kFirstThoroughLevel = 8;

// The caller's tables, of positions counted through the stream. An entry is good for a position p when it is not below
// 0 and 1 .. winSize - 1 before p.
struct OneCallTables {
  int32_t* head;
  int32_t* chain;  // by position modulo winSize
  uint32_t hashMask;
  uint32_t winSize;
};

struct OneCall {
  OneCallTables t;
  Search x;          // makes pairs, up to a batch of them; its posBase is the position of the call's first byte
  ptrdiff_t size;    // of the input
  ptrdiff_t hashed;  // positions before this one have three bytes
  int32_t history;   // bytes of the window before the input

  uint8_t* lit;
  uint16_t* dist;
  int32_t room;  // for items
  int32_t made;
  PairCounter counter;
  zelLZ77Pair pairs[PositionBatch::kSize + 16];

  // Makes the next pairs start at the beginning of the array, no more than there is room for.
  void StartPairs() {
    constexpr int32_t kMost = sizeof(pairs) / sizeof(pairs[0]);
    x.pair = pairs;
    x.pairEnd = pairs + (room < kMost ? room : kMost);
  }
  void PutItems();
};

// How far back a position's candidates may lie. Position and entries are compared as the caller counts them.
ZELDC_ALWAYS_INLINE uint32_t FarthestDistance(const OneCallTables& t, uint32_t position) {
  const int32_t p = static_cast<int32_t>(position);
  return p <= 0 ? 0 : position < t.winSize - 1 ? position : t.winSize - 1;
}

// An entry's distance; above `farthest`, or 0, when it is good for nothing.
ZELDC_ALWAYS_INLINE uint32_t EntryDistance(uint32_t position, int32_t entry) {
  return position - static_cast<uint32_t>(entry);
}
ZELDC_ALWAYS_INLINE bool IsGood(uint32_t distance, uint32_t farthest) { return distance - 1 < farthest; }

// Search from c->x.i up to `stop`: base[i] is byte i of the call, the history's bytes stand before, and bytes before
// readEnd may be read. Each position before `hashed` that is consumed is in the caller's tables afterwards, no other.
void SearchOneCallFast(OneCall* c, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd);

}  // namespace zeldc
