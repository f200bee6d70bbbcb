// Types of rotations.
#pragma once

#include <stdint.h>

#include "bzip2/rotations.h"

namespace zeldc {

// Sets a bit for each rotation of type L. The string is not one repeated symbol.
void FindLarger(const uint8_t* text, uint32_t len, uint64_t* larger);
void FindLarger(const uint16_t* symbols, uint32_t len, uint64_t* larger);
void FindLarger(const uint32_t* symbols, uint32_t len, uint64_t* larger);

// Makes the set of the LMS rotations of that of type L.
void KeepLms(PositionSet<uint16_t>* set);
void KeepLms(PositionSet<uint32_t>* set);

}  // namespace zeldc
