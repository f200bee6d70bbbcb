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
constexpr void FirstCodes(const uint32_t* count, int longest, uint32_t* first) {
  first[1] = 0;
  for (int length = 1; length < longest; ++length) first[length + 1] = (first[length] + count[length]) << 1;
}

// Huffman code lengths of at most `limit` bits (limit <= 15, symbols <= kMaxCodeSymbols and <= 2^limit).
//
// Symbols of frequency 0 get length 0. The code is complete: with fewer than two symbols in use, the lowest unused ones
// join in, so that there are two codes of one bit. Lengths never grow with the frequency. Frequencies add up to less
// than 2^31.
void BuildCodeLengths(const uint32_t* frequencies, int symbols, int limit, uint8_t* lengths);

constexpr uint16_t ReverseBits(uint32_t v) {
  v = ((v >> 1) & 0x5555) | ((v & 0x5555) << 1);
  v = ((v >> 2) & 0x3333) | ((v & 0x3333) << 2);
  v = ((v >> 4) & 0x0F0F) | ((v & 0x0F0F) << 4);
  return static_cast<uint16_t>((v >> 8) | (v << 8));
}

// Canonical codes (RFC 1951 section 3.2.2) of at most 16 bits, bit-reversed for a least-significant-bit-first stream.
// Symbols of length 0 get code 0.
constexpr void BuildReversedCodes(const uint8_t* lengths, int symbols, uint16_t* codes) {
  // Few symbols are used, as a rule, and one without a code would wait for the one before it to be counted.
  uint16_t used[kMaxCodeSymbols];
  int n = 0;
  for (int i = 0; i < symbols; ++i) {
    codes[i] = 0;
    used[n] = static_cast<uint16_t>(i);
    n += lengths[i] != 0;
  }
  uint32_t count[kMaxCodeLimit + 1] = {};
  for (int k = 0; k < n; ++k) ++count[lengths[used[k]]];
  uint32_t next[kMaxCodeLimit + 1] = {};
  FirstCodes(count, kMaxCodeLimit, next);
  for (int k = 0; k < n; ++k) {
    const int length = lengths[used[k]];
    codes[used[k]] = static_cast<uint16_t>(ReverseBits(next[length]++) >> (16 - length));
  }
}

}  // namespace zeldc
