// The code of a dynamic block, its description, and what a block costs in either form.
#pragma once

#include "core/target.h"
#include "deflate/encoder_state.h"
#include "deflate/pair_codes.h"

namespace zeldc {

// Counts the pairs' symbols; false when one is neither a literal nor a match.
bool CountPairs(const zelLZ77Pair* pairs, int32_t n, PairStatistics* statistics);

// Tells rows of pairs apart.
uint32_t Fingerprint(const zelLZ77Pair* pairs, int32_t n);

// Makes the code for the pairs and lays its description into the record, unless the last one was for the same
// statistics.
void BuildDynamicCode(EncoderState* s, const PairStatistics& statistics);

}  // namespace zeldc
