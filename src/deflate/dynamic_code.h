// The code of a dynamic block, its description, and what a block costs in either form.
#pragma once

#include "deflate/encoder_state.h"

namespace zeldc {

struct PairStatistics {
  uint32_t litLen[kLitLenSymbols];  // the end of the block counts once
  uint32_t distance[kDistanceSymbols];
  uint64_t bytes;  // that the pairs stand for
};

// Counts the pairs' symbols; false when one is neither a literal nor a match.
bool CountPairs(const zelLZ77Pair* pairs, int32_t n, PairStatistics* statistics);

// Makes the code for the pairs and lays its description into the record.
void BuildDynamicCode(EncoderState* s, const PairStatistics& statistics);

}  // namespace zeldc
