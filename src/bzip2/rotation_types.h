// Finds the LMS rotations of a string that is not one repeated symbol; fills their set.
#pragma once

#include <stdint.h>

#include "bzip2/rotations.h"

namespace zeldc {

void FindLms(const uint8_t* text, PositionSet<uint32_t>* lms);
void FindLms(const uint8_t* text, PositionSet<uint16_t>* lms);
void FindLms(const uint32_t* symbols, PositionSet<uint32_t>* lms);
void FindLms(const uint16_t* symbols, PositionSet<uint16_t>* lms);

}  // namespace zeldc
