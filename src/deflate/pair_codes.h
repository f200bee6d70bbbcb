// What the block writers look up for a pair: its symbols, and their codes joined with their extra bits.
//
// A pair is either a literal or a match, in no order that a processor could foresee, so both are looked up alike: a
// literal is a piece of output like a length, followed by a distance that takes no bits.
#pragma once

#include <stdint.h>

#include "shared/deflate_format.h"
#include "zeldc/lz77.h"

namespace zeldc {

// The length symbol, less 257, of a length less 3.
struct LengthSymbolIndex {
  uint8_t of[256];
};
constexpr LengthSymbolIndex MakeLengthSymbolIndex() {
  LengthSymbolIndex t{};
  for (int i = 0; i < kLengthSymbols; ++i) {
    const RangeSymbol s = kLengthSymbol.s[i];
    for (int k = 0; k < (1 << s.extraBits) && s.base + k <= kMaxMatch; ++k) {
      t.of[s.base + k - kMinMatch] = static_cast<uint8_t>(i);
    }
  }
  return t;
}
inline constexpr LengthSymbolIndex kLengthSymbolIndex = MakeLengthSymbolIndex();

// The distance symbol of a distance, by the distance less 1 modulo 2^16: by all of it below 256, by its upper bits
// above, where symbols span 128 distances or more. Not a distance: what a literal has there, 0, and all above 32768.
inline constexpr int kNoDistance = kDistanceSymbols;
struct DistanceSymbolIndex {
  uint8_t of[256 + 512];
};
constexpr DistanceSymbolIndex MakeDistanceSymbolIndex() {
  DistanceSymbolIndex t{};
  for (uint8_t& symbol : t.of) symbol = kNoDistance;
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const RangeSymbol s = kDistanceSymbol.s[i];
    for (int d = s.base - 1; d < s.base - 1 + (1 << s.extraBits); ++d) {
      t.of[d < 256 ? d : 256 + (d >> 7)] = static_cast<uint8_t>(i);
    }
  }
  return t;
}
inline constexpr DistanceSymbolIndex kDistanceSymbolIndex = MakeDistanceSymbolIndex();

// A pair, taken apart, without a branch: in arithmetic that compilers leave alone.
struct PairPlace {
  uint32_t isMatch;   // 0 or 1
  uint32_t place;     // a literal: its byte; a match: 256 + its length - 3, both modulo 256
  uint32_t distance;  // distance symbol, or kNoDistance
  uint32_t excess;    // not 0: a match of a length outside 3..258
};

inline PairPlace PlaceOf(zelLZ77Pair pair) {
  const uint32_t isMatch = (0u - pair.distance) >> 31;
  const uint32_t length = pair.length - isMatch - 2 * isMatch;
  const uint32_t d = static_cast<uint16_t>(pair.distance - 1);
  const uint32_t isFar = static_cast<uint32_t>(static_cast<int32_t>(255 - d) >> 31);
  return {isMatch, (length & 0xFF) | isMatch << 8, kDistanceSymbolIndex.of[d ^ ((d ^ (256 + (d >> 7))) & isFar)],
          (length & (0u - isMatch)) >> 8};
}

// A piece of output: up to 24 bits, the first one lowest, with their number in the top byte.
using BitPiece = uint32_t;

constexpr uint32_t PieceBits(BitPiece p) { return p & 0xFFFFFF; }
constexpr uint32_t PieceLength(BitPiece p) { return p >> 24; }

// Taken by vectors, too: the first four members as one word, the size as a stride.
struct DistanceCode {
  uint16_t code;
  uint8_t codeBits;
  uint8_t allBits;  // with the extra bits; 0 when the symbol has no code
  uint16_t base;
  uint16_t unused;
};
static_assert(sizeof(DistanceCode) == 8);

struct PairCodes {
  BitPiece piece[512];                     // by PairPlace::place, a length's extra bits included; 0 without a code
  DistanceCode distance[kNoDistance + 1];  // by distance symbol
  BitPiece endOfBlock;
};

constexpr void MakePairCodes(const uint8_t* litLenLengths, const uint16_t* litLenCodes, const uint8_t* distanceLengths,
                             const uint16_t* distanceCodes, PairCodes* t) {
  for (int i = 0; i < kLiteralSymbols; ++i) t->piece[i] = litLenCodes[i] | uint32_t{litLenLengths[i]} << 24;
  t->endOfBlock = litLenCodes[kEndOfBlock] | uint32_t{litLenLengths[kEndOfBlock]} << 24;
  for (uint32_t i = 0; i < 256; ++i) {
    const int symbol = kLengthSymbolIndex.of[i];
    const RangeSymbol s = kLengthSymbol.s[symbol];
    const uint32_t bits = litLenLengths[kFirstLengthSymbol + symbol];
    const uint32_t extra = i + kMinMatch - s.base;
    t->piece[256 + i] =
        bits == 0 ? 0 : litLenCodes[kFirstLengthSymbol + symbol] | extra << bits | (bits + s.extraBits) << 24;
  }
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const RangeSymbol s = kDistanceSymbol.s[i];
    const uint8_t bits = distanceLengths[i];
    t->distance[i] = {distanceCodes[i], bits, static_cast<uint8_t>(bits == 0 ? 0 : bits + s.extraBits), s.base, 0};
  }
  t->distance[kNoDistance] = {};
}

extern const PairCodes kFixedCodes;

}  // namespace zeldc
