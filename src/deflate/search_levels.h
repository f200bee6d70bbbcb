// The kernels of the match search, one for each level: see shared/match_kernel.h.
#pragma once

#include "deflate/encoder_state.h"
#include "shared/match_kernel.h"

namespace zeldc {

void SearchFast(FastTables* t, Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd);
void SearchBest(BestTables* t, Search* x, const uint8_t* base, ptrdiff_t stop);

// Make a dictionary, whose first byte has position `pos`, known.
void InsertDictionaryFast(FastTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len);
void InsertDictionaryBest(BestTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len);

}  // namespace zeldc
