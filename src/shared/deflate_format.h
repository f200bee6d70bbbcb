// The numbers of RFC 1951 that encoder and decoder share, each from its rule.
#pragma once

#include <stdint.h>

namespace zeldc {

inline constexpr int kWindowSize = 32768;
inline constexpr int kMinMatch = 3;
inline constexpr int kMaxMatch = 258;
inline constexpr int kMaxDistance = 32768;

inline constexpr int kLiteralSymbols = 256;
inline constexpr int kEndOfBlock = 256;
inline constexpr int kFirstLengthSymbol = 257;
inline constexpr int kLengthSymbols = 29;
inline constexpr int kLitLenSymbols = 286;   // that a stream may use
inline constexpr int kLitLenCodes = 288;     // that the fixed code and HLIT know
inline constexpr int kDistanceSymbols = 30;  // that a stream may use
inline constexpr int kDistanceCodes = 32;    // that the fixed code and HDIST know
inline constexpr int kCodeLengthSymbols = 19;
inline constexpr int kMaxCodeLength = 15;
inline constexpr int kMaxCodeLengthCodeLength = 7;

// The order in which a dynamic header sends the code lengths of the code-length code.
inline constexpr uint8_t kCodeLengthOrder[kCodeLengthSymbols] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                 11, 4,  12, 3, 13, 2, 14, 1, 15};

// Of its symbols, 16 to 18 are followed by bits that tell how often to repeat (section 3.2.7).
constexpr uint32_t CodeLengthExtraBits(uint32_t symbol) {
  return symbol < 16 ? 0 : symbol == 16 ? 2 : symbol == 17 ? 3 : 7;
}

// A symbol that stands for a range: its first value and the bits that tell the value within it.
struct RangeSymbol {
  uint16_t base;
  uint8_t extraBits;
};

// Length symbols 257..285 (section 3.2.5): after eight without extra bits, four each with 1 to 5 of them; the last
// stands for 258 alone.
struct LengthSymbolTable {
  RangeSymbol s[kLengthSymbols];
};
constexpr LengthSymbolTable MakeLengthSymbols() {
  LengthSymbolTable t{};
  uint16_t base = kMinMatch;
  for (int i = 0; i < kLengthSymbols - 1; ++i) {
    const int extra = i < 8 ? 0 : (i - 4) / 4;
    t.s[i] = {base, static_cast<uint8_t>(extra)};
    base = static_cast<uint16_t>(base + (1 << extra));
  }
  t.s[kLengthSymbols - 1] = {kMaxMatch, 0};
  return t;
}
inline constexpr LengthSymbolTable kLengthSymbol = MakeLengthSymbols();
static_assert(kLengthSymbol.s[8].base == 11 && kLengthSymbol.s[27].base == 227 && kLengthSymbol.s[27].extraBits == 5);

// Distance symbols 0..29: after four without extra bits, two each with 1 to 13 of them.
struct DistanceSymbolTable {
  RangeSymbol s[kDistanceSymbols];
};
constexpr DistanceSymbolTable MakeDistanceSymbols() {
  DistanceSymbolTable t{};
  int base = 1;
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const int extra = i < 4 ? 0 : (i - 2) / 2;
    t.s[i] = {static_cast<uint16_t>(base), static_cast<uint8_t>(extra)};
    base += 1 << extra;
  }
  return t;
}
inline constexpr DistanceSymbolTable kDistanceSymbol = MakeDistanceSymbols();
static_assert(kDistanceSymbol.s[29].base == 24577 && kDistanceSymbol.s[29].extraBits == 13);

// The fixed code's lengths (section 3.2.6).
constexpr uint8_t FixedLitLenLength(int symbol) { return symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8; }
inline constexpr uint8_t kFixedDistanceLength = 5;

}  // namespace zeldc
