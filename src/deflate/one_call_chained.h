// The side tables of the chained and thorough one-call searches.
#pragma once

#include "deflate/longest_link.h"
#include "deflate/one_call.h"

namespace zeldc {

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

// As SearchOneCallFast, with tables that stay for the whole call.
void SearchOneCallChained(OneCall* c, SideTables* t, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd,
                          int32_t level);

}  // namespace zeldc
