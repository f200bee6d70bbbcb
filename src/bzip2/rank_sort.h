// Sorts the LMS rotations that agree in their LMS substrings, where these are few, by the order that is known already
// of the LMS rotations behind: twice as far away in each round (N. J. Larsson and K. Sadakane, Faster Suffix Sorting,
// 2007).
#pragma once

#include <stdint.h>

#include "bzip2/rotations.h"

namespace zeldc {

// order[0 .. lms.count) holds the LMS rotations, each one that agrees with the one before it marked; none is marked in
// the end. At most a third of them are marked, so that no two rotations are equal in all their symbols.
void SortByRank(const PositionSet<uint32_t>& lms, uint32_t* order, Arena scratch);
void SortByRank(const PositionSet<uint16_t>& lms, uint16_t* order, Arena scratch);

}  // namespace zeldc
