// Adler-32 (RFC 1950): the kernel of this build and its portable twin.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Sum A of the value in its low 16 bits, sum B in the high 16, neither need be reduced; both are reduced in the result.
uint32_t ownAdler32(uint32_t value, const uint8_t* src, size_t len);
uint32_t ownAdler32Portable(uint32_t value, const uint8_t* src, size_t len);
