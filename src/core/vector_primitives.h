// Zero, set and copy over plain memory.
//
// The own... kernels check nothing and are called with positive lengths, counted in elements. Large fills look at the
// processor's cache: beyond half of it, stores that go around the cache leave the rest of it useful.
#pragma once

#include <stdint.h>

#include "zeldc/types.h"

void ownsZero_8u(uint8_t* dst, int32_t len);
void ownsCopy_8u(const uint8_t* src, uint8_t* dst, int32_t len);  // the areas do not overlap
void ownsSet_8u(uint8_t value, uint8_t* dst, int32_t len);
void ownsSet_16s(int16_t value, int16_t* dst, int32_t len);  // the destinations may stand at any address
void ownsSet_32s(int32_t value, int32_t* dst, int32_t len);
void ownsSet_64s(int64_t value, int64_t* dst, int32_t len);

// The checked forms: zelErrNullPtr for a null pointer, then zelErrSize for a length below 1.
zelStatus zelsZero_8u(uint8_t* dst, int32_t len);
zelStatus zelsCopy_8u(const uint8_t* src, uint8_t* dst, int32_t len);
zelStatus zelsSet_8u(uint8_t value, uint8_t* dst, int32_t len);
zelStatus zelsSet_16s(int16_t value, int16_t* dst, int32_t len);
