// Move-to-front over a table of 256 bytes: the kernels, which the Huffman stages use on tables of their own.
#pragma once

#include <stdint.h>

// Makes each of the `len` bytes at src its rank among the byte values, which it leaves at rank 0. ranks[v] is the rank
// of the byte value v, a permutation of 0 .. 255; the ranks go on from call to call. dst may be src, and must not
// overlap it otherwise. Positive lengths.
void ownMTFFwd(const uint8_t* src, uint8_t* dst, int32_t len, uint8_t* ranks);

// Makes each of the `len` ranks at src its byte value. list[r] is the byte value at rank r: not the table of the other
// direction, but its inverse. Otherwise as above.
void ownMTFInv(const uint8_t* src, uint8_t* dst, int32_t len, uint8_t* list);
