// What the block writers look up for a pair: codes joined with their extra bits.
#pragma once

#include <stdint.h>

#include "shared/code_lengths.h"
#include "shared/deflate_format.h"
#include "zeldc/lz77.h"

namespace zeldc {

// A piece of output: up to 24 bits, the first one lowest, with their number in the top byte.
using BitPiece = uint32_t;

constexpr uint32_t PieceBits(BitPiece p) { return p & 0xFFFFFF; }
constexpr uint32_t PieceLength(BitPiece p) { return p >> 24; }

// The distance symbol of a distance 1..32768: the place of its leading one, and the bit behind it.
inline uint32_t DistanceSymbol(uint32_t distance) {
  const uint32_t d = distance - 1;
  if (d < 2) return d;
  const uint32_t top = 31 - static_cast<uint32_t>(__builtin_clz(d));
  return 2 * top + ((d >> (top - 1)) & 1);
}

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

struct PairCodes {
  BitPiece literal[256];
  BitPiece length[256];                 // by length - 3, extra bits included
  BitPiece shortDistance[256];          // by distance - 1, extra bits included
  BitPiece distance[kDistanceSymbols];  // by distance symbol, without extra bits
  BitPiece endOfBlock;
};

// Pieces of length 0 stand for symbols without a code.
constexpr void MakePairCodes(const uint8_t* litLenLengths, const uint16_t* litLenCodes, const uint8_t* distanceLengths,
                             const uint16_t* distanceCodes, PairCodes* t) {
  for (int i = 0; i < kLiteralSymbols; ++i) t->literal[i] = litLenCodes[i] | uint32_t{litLenLengths[i]} << 24;
  t->endOfBlock = litLenCodes[kEndOfBlock] | uint32_t{litLenLengths[kEndOfBlock]} << 24;
  for (uint32_t i = 0; i < 256; ++i) {
    const int symbol = kLengthSymbolIndex.of[i];
    const uint32_t bits = litLenLengths[kFirstLengthSymbol + symbol];
    const uint32_t extra = i + kMinMatch - kLengthSymbol.s[symbol].base;
    t->length[i] = bits == 0 ? 0
                             : litLenCodes[kFirstLengthSymbol + symbol] | extra << bits |
                                   (bits + kLengthSymbol.s[symbol].extraBits) << 24;
  }
  for (int symbol = 0; symbol < kDistanceSymbols; ++symbol) {
    const RangeSymbol s = kDistanceSymbol.s[symbol];
    const uint32_t bits = distanceLengths[symbol];
    t->distance[symbol] = distanceCodes[symbol] | bits << 24;
    for (uint32_t k = 0; k < (1u << s.extraBits) && s.base + k <= 256; ++k) {
      t->shortDistance[s.base + k - 1] = bits == 0 ? 0 : distanceCodes[symbol] | k << bits | (bits + s.extraBits) << 24;
    }
  }
}

extern const PairCodes kFixedCodes;

inline bool IsMatch(zelLZ77Pair pair) { return pair.length - 3u < 256 && pair.distance - 1u < kMaxDistance; }

}  // namespace zeldc
