// The code of a dynamic block, its description, and what a block costs in either form.
#pragma once

#include "deflate/encoder_state.h"

namespace zeldc {

// Counts the pairs' symbols; false when one is neither a literal nor a match.
bool CountPairs(const zelLZ77Pair* pairs, int32_t n, PairStatistics* statistics);

// Makes the code for the pairs and lays its description into the record, unless the last one was for the same
// statistics.
void BuildDynamicCode(EncoderState* s, const PairStatistics& statistics);

}  // namespace zeldc
