// Sorts 64-bit keys that all differ.
#pragma once

#include <stdint.h>

namespace zeldc {

// The order of keys that differ in bits below lowBit alone does not matter. scratch has room for as many keys.
void SortKeys(uint64_t* keys, uint64_t* scratch, uint32_t count, int lowBit);

}  // namespace zeldc
