// What the chained and thorough one-call searches share: effort, choice of matches, and the side tables of long calls.
#pragma once

#include "deflate/longest_link.h"
#include "deflate/one_call.h"

namespace zeldc {

inline constexpr uint32_t kMaxDistanceOf3 = 4096;  // further back, a match of three bytes costs more than its literals

// How hard a level searches.
struct Effort {
  uint32_t candidates;      // steps of a walk
  uint32_t candidatesLazy;  // of one for a match that must be better than the one in hand
  uint32_t niceLength;      // no better match is looked for
  bool twoAhead;            // looks two positions ahead, too
};

constexpr Effort EffortOf(int32_t level) {
  switch (level) {
    case 4:
      return {8, 4, 24, false};
    case 5:
      return {16, 8, 32, false};
    case 6:
      return {32, 16, 64, false};
    case 7:
      return {64, 32, 128, false};
    case 8:
      return {200, 100, 200, true};
    default:
      return {512, 256, kMaxMatch, true};
  }
}

ZELDC_ALWAYS_INLINE int Log2(uint32_t v) { return 31 - __builtin_clz(v); }

// Whether the match `ahead` bytes on is worth the literals before it, reckoned in quarters of a byte's cost.
ZELDC_ALWAYS_INLINE bool IsWorthWaiting(Match now, Match later, int ahead) {
  const int longer = static_cast<int>(later.length) - static_cast<int>(now.length);
  return 4 * longer + Log2(now.distance) - Log2(later.distance) > (ahead == 1 ? 2 : 6);
}

struct SideTables {
  uint16_t head[kHashSize];                 // newest position with a hash of four bytes, modulo 2^16
  uint16_t link[kWindowSize + kMostLinks];  // by position: the distance to the one before it with the same hash
  uint8_t live[kWindowSize + 1];            // whether a position of the window is in the caller's tables
  uint32_t nextSweep;
  uint32_t end;  // positions before this one have their links
};

struct ChainedBatch {
  static constexpr uint32_t kNearMask = 4 * PositionBatch::kSize - 1;

  PositionBatch batch;
  uint16_t hashes[PositionBatch::kSize];
  uint16_t newest3[PositionBatch::kSize];
  uint16_t near3[kNearMask + 1];        // by position: the distance to the newest with the same three-byte hash, or 0
  int32_t saved[PositionBatch::kSize];  // what the caller's chain held
};

// Empty tables, into which the window's positions are entered.
void StartSideTables(const OneCall* c, SideTables* t, const uint8_t* base, ptrdiff_t readEnd);

// As SearchOneCallFast, of a short call, without side tables.
void SearchOneCallShort(OneCall* c, const uint8_t* base, ptrdiff_t stop, int32_t level);

// As SearchOneCallFast, with tables that stay for the whole call.
void SearchOneCallChained(OneCall* c, SideTables* t, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd,
                          int32_t level);

}  // namespace zeldc
