// Prefix codes: lengths from frequencies, codes from lengths.
#pragma once

#include <stdint.h>

namespace zeldc {

inline constexpr int kMaxCodeSymbols = 288;

// Huffman code lengths of at most `limit` bits (limit <= 15, symbols <= kMaxCodeSymbols and <= 2^limit).
//
// Symbols of frequency 0 get length 0. The code is complete: with fewer than two symbols in use, the lowest unused ones
// join in, so that there are two codes of one bit. Lengths never grow with the frequency. Frequencies add up to less
// than 2^31.
void BuildCodeLengths(const uint32_t* frequencies, int symbols, int limit, uint8_t* lengths);

// Canonical codes (RFC 1951 section 3.2.2), bit-reversed for a least-significant-bit-first stream. Symbols of length 0
// get code 0.
void BuildReversedCodes(const uint8_t* lengths, int symbols, uint16_t* codes);

}  // namespace zeldc
