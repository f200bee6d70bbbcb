// Prefix codes: lengths from frequencies, codes from lengths.
#pragma once

#include <stdint.h>

namespace zeldc {

inline constexpr int kMaxCodeSymbols = 288;
inline constexpr int kMaxCodeLimit = 17;

// The shape of a Huffman code over n weights in ascending order: count[d] is how many symbols have codes of d bits, the
// rarest the longest, none of more than `limit`. 2 <= n <= kMaxCodeSymbols and n <= 2^limit; the weights add up to less
// than 2^32. Of equal weights the tree joins symbols before nodes and older nodes before younger ones.
void CountCodeLengths(const uint32_t* weights, int n, int limit, int* count);

// With weights that add up to less than 2^31 this limit cuts nothing: a tree of depth d weighs at least as much as the
// Fibonacci number d + 2.
inline constexpr int kDeepestCode = 44;

// The canonical codes' first of each length from 1 to `longest`: count[length] codes follow from there.
inline void FirstCodes(const uint32_t* count, int longest, uint32_t* first) {
  first[1] = 0;
  for (int length = 1; length < longest; ++length) first[length + 1] = (first[length] + count[length]) << 1;
}

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
