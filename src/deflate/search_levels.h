// The kernels of the match search, one for each level: see shared/match_kernel.h.
#pragma once

#include "deflate/encoder_state.h"
#include "shared/match_kernel.h"
#include "shared/position_batch.h"

namespace zeldc {

void SearchFast(FastTables* t, Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd);
void SearchBest(BestTables* t, Search* x, const uint8_t* base, ptrdiff_t stop);

// The fast search up to `end`, in a batch that starts at `first` and is entered.
void RunFastBatch(Search* x, const PositionBatch& batch, const uint8_t* base, ptrdiff_t first, ptrdiff_t end,
                  ptrdiff_t readEnd);

// Make a dictionary, whose first byte has position `pos`, known.
void InsertDictionaryFast(FastTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len);
void InsertDictionaryBest(BestTables* t, uint32_t pos, const uint8_t* dictionary, int32_t len);

}  // namespace zeldc
