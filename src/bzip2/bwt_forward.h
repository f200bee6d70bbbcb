// The forward Burrows-Wheeler transform.
#pragma once

#include <stdint.h>

// Transform a block of len >= 1 bytes; answer the row of rotation 0. The buffer may stand at any address.
uint32_t ownBWTFwd(const uint8_t* src, uint8_t* dst, uint32_t len, uint8_t* buffer);            // 6 * len + 70145 bytes
uint32_t ownBWTFwdSmallBlock(const uint8_t* src, uint8_t* dst, uint32_t len, uint8_t* buffer);  // 4 * len + 2080 bytes
