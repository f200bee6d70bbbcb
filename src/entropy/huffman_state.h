// The record of the byte Huffman coder, one for both directions.
//
// Codes are canonical with the longest ones numerically smallest: the code of l bits is the number of places at depth l
// to the left of it, all of them with leaves below. There are at most 256 leaves, so no code is above 255, whatever its
// length: code and length of a symbol fit in 16 bits.
#pragma once

#include <stdint.h>

#include "shared/unaligned.h"
#include "zeldc/huffman.h"

namespace zeldc {

inline constexpr int kHuffSymbols = 256;
inline constexpr int kLongestHuffCode = 32;

// A code, right-aligned, from bit 8 upward, its length below; 0 for symbols without a code.
using ShortCode = uint16_t;
constexpr ShortCode JoinCode(uint32_t code, uint32_t length) { return static_cast<ShortCode>(code << 8 | length); }
constexpr uint32_t CodeOf(ShortCode joined) { return joined >> 8; }
constexpr uint32_t LengthOf(ShortCode joined) { return joined & 0xFF; }

// What a decoder needs besides the codes.
struct HuffDecodeTables {
  static constexpr int kFastBits = 9;

  // By the next nine bits a symbol from bit 8 upward, its code's length below; 0 where the code is longer. Only in
  // complete codes.
  uint16_t fast[1 << kFastBits];
  uint8_t symbols[kHuffSymbols];  // by their codes, left-aligned: the longest first
  // For each length in use or between two of them: its first code, left-aligned in 32 bits; the places in `symbols` of
  // its first and last codes.
  uint32_t firstCode[kLongestHuffCode + 1];
  uint8_t firstPlace[kLongestHuffCode + 1];
  uint8_t lastPlace[kLongestHuffCode + 1];
};

}  // namespace zeldc

struct zelHuffState {
  zeldc::ShortCode codes[zeldc::kHuffSymbols];

  uint32_t accumulator;   // pending bits, the oldest in bit 31, zeros below them
  int32_t bitCount;       // of pending bits, below 32
  uint32_t zeroCount[2];  // decoder: bits of value zero that go before the accumulator's; 64 bits in two words

  int32_t maxLen;      // the longest code's length; 0: there are no codes
  int32_t minLen;      // decoder: the shortest code's
  int32_t isDecoder;   // `tables` are there
  int32_t isComplete;  // decoder: every sequence of bits is one of codes
  uint8_t zeroSymbol;  // decoder: the one whose code is maxLen zeros
  uint8_t unused[3];

  zeldc::HuffDecodeTables tables;
  uint8_t reserved[568];

  // A record is the caller's memory. Where it does not hold what these functions leave behind, the rest may be
  // anything, and still no access goes beyond it or a buffer.
  bool HasCodes() const {
    uint16_t longest = 0;
    for (const zeldc::ShortCode code : codes) {
      const uint16_t length = code & 0xFF;
      longest = longest < length ? length : longest;
    }
    return longest <= zeldc::kLongestHuffCode;
  }
  bool HasTables() const {
    if (!isDecoder || maxLen > zeldc::kLongestHuffCode) return false;
    return maxLen < 1 || (minLen >= 1 && minLen <= maxLen && tables.firstCode[maxLen] == 0);
  }
  uint32_t PendingBits() const { return static_cast<uint32_t>(bitCount) & 31; }

  uint64_t ZeroCount() const { return zeldc::LoadNative<uint64_t>(zeroCount); }
  void SetZeroCount(uint64_t n) { zeldc::StoreNative(zeroCount, n); }
};
static_assert(sizeof(zelHuffState) == 2596 && alignof(zelHuffState) == 4);
