// The inverse Burrows-Wheeler transform.
#pragma once

#include <stdint.h>

// Rebuilds a block of len >= 2 bytes from its last column and 0 <= index < len. The buffer has 4 * len + 1024 bytes at
// any address.
void ownBWTInv(const uint8_t* src, uint8_t* dst, uint32_t len, uint32_t index, uint8_t* buffer);
