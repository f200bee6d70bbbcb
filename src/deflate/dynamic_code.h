// The code of a dynamic block, its description, and what a block costs in either form.
#pragma once

#include "core/target.h"
#include "deflate/encoder_state.h"
#include "deflate/pair_codes.h"

namespace zeldc {

// Counts pairs by what they are looked up by, in two sets of counters, so that equal neighbours do not wait for each
// other's store.
struct PairCounter {
  uint32_t places[2][512] = {};
  uint32_t distances[2][kNoDistance + 1] = {};
  uint32_t excess = 0;  // not 0: a match of a length outside 3..258 was among them

  ZELDC_ALWAYS_INLINE void Count(const PairPlace& at, int set) {
    excess |= at.excess;
    ++places[set][at.place];
    ++distances[set][at.distance];
  }
  void Count(const zelLZ77Pair* pairs, int32_t n);

  // The statistics of the n pairs counted; false when one is neither a literal nor a match.
  bool Sum(int32_t n, PairStatistics* statistics) const;
};

// Counts the pairs' symbols; false when one is neither a literal nor a match.
bool CountPairs(const zelLZ77Pair* pairs, int32_t n, PairStatistics* statistics);

// Tells rows of pairs apart.
uint32_t Fingerprint(const zelLZ77Pair* pairs, int32_t n);

// Makes the code for the pairs and lays its description into the record, unless the last one was for the same
// statistics.
void BuildDynamicCode(EncoderState* s, const PairStatistics& statistics);

}  // namespace zeldc
