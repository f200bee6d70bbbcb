// Building of decoding tables from code lengths.
//
// Canonical codes (RFC 1951 section 3.2.2) come in the order of length, then symbol, and count up; in the stream they
// stand bit-reversed. So the table for codes of up to n bits is the one for n - 1 bits twice over, with the codes of
// length n written into it: the table grows by doubling, each entry is written about once, and a short code's table is
// short. The cost of a block with few symbols is small, however many such blocks a stream chains.

#include "inflate/decode_tables.h"

#include <string.h>

namespace zeldc {

namespace {

constexpr DecodeEntry NoSymbol(int bits) { return kEntrySpecial | static_cast<DecodeEntry>(bits); }

// What each symbol stands for, its code bits still to be added.
struct LitLenResults {
  DecodeEntry e[kLitLenCodes];
};
constexpr LitLenResults MakeLitLenResults() {
  LitLenResults r{};
  for (int i = 0; i < kLiteralSymbols; ++i) r.e[i] = kEntryLiteral | static_cast<DecodeEntry>(i) << 16;
  r.e[kEndOfBlock] = kEntrySpecial | kEntryEndOfBlock;
  for (int i = 0; i < kLengthSymbols; ++i) {
    const RangeSymbol s = kLengthSymbol.s[i];
    r.e[kFirstLengthSymbol + i] = static_cast<DecodeEntry>(s.base) << 16 | s.extraBits;
  }
  for (int i = kLitLenSymbols; i < kLitLenCodes; ++i) r.e[i] = kEntrySpecial;
  return r;
}
constexpr LitLenResults kLitLenResults = MakeLitLenResults();

struct DistanceResults {
  DecodeEntry e[kDistanceCodes];
};
constexpr DistanceResults MakeDistanceResults() {
  DistanceResults r{};
  for (int i = 0; i < kDistanceSymbols; ++i) {
    const RangeSymbol s = kDistanceSymbol.s[i];
    r.e[i] = static_cast<DecodeEntry>(s.base) << 16 | s.extraBits;
  }
  for (int i = kDistanceSymbols; i < kDistanceCodes; ++i) r.e[i] = kEntrySpecial;
  return r;
}
constexpr DistanceResults kDistanceResults = MakeDistanceResults();

// The entry of a symbol whose code has `bits` bits in its table.
constexpr DecodeEntry WithCode(DecodeEntry result, int bits) {
  return result + static_cast<DecodeEntry>(bits << 8 | bits);
}

// The code that follows `code`, both of `bits` bits and bit-reversed: an addition that carries downwards. The last code
// is followed by 0.
constexpr uint32_t NextReversed(uint32_t code, int bits) {
  uint32_t bit = 1u << (bits - 1);
  while (code & bit) {
    code ^= bit;
    bit >>= 1;
  }
  return code | bit;
}

// Fills the table and answers its index width, at most maxBits. Over-subscribed codes, and codes whose sub-tables do
// not fit, give a table without symbols.
template <int kSymbols>
constexpr int BuildTable(const uint8_t* lengths, int symbols, const DecodeEntry (&results)[kSymbols], int maxBits,
                         DecodeEntry* table, int capacity) {
  uint16_t count[kMaxCodeLength + 1] = {};
  for (int i = 0; i < symbols; ++i) ++count[lengths[i]];
  count[0] = 0;

  // Symbols in the order of their codes, and the code space that they take.
  uint16_t sorted[kSymbols] = {};
  uint16_t next[kMaxCodeLength + 2] = {};
  int longest = 0;
  int32_t space = 0;
  for (int len = 1; len <= kMaxCodeLength; ++len) {
    next[len + 1] = static_cast<uint16_t>(next[len] + count[len]);
    space += static_cast<int32_t>(count[len]) << (kMaxCodeLength - len);
    if (count[len]) longest = len;
  }
  table[0] = NoSymbol(0);
  if (longest == 0 || space > (1 << kMaxCodeLength)) return 0;
  for (int i = 0; i < symbols; ++i) {
    if (lengths[i]) sorted[next[lengths[i]]++] = static_cast<uint16_t>(i);
  }

  const int bits = longest < maxBits ? longest : maxBits;
  table[0] = NoSymbol(bits);
  uint32_t code = 0;
  int i = 0;
  for (int len = 1; len <= bits; ++len) {
    const int half = 1 << (len - 1);
    for (int k = 0; k < half; ++k) table[half + k] = table[k];
    for (int n = count[len]; n > 0; --n) {
      table[code] = WithCode(results[sorted[i++]], len);
      code = NextReversed(code, len);
    }
  }

  int end = 1 << bits;
  const uint32_t mask = (1u << bits) - 1;
  int subStart = 0;
  int subBits = 0;
  uint32_t subPrefix = ~0u;
  for (int len = bits + 1; len <= longest; ++len) {
    for (int n = count[len]; n > 0; --n) {
      if ((code & mask) != subPrefix) {
        // The longest code below this prefix: as in a complete code, until the codes left fill the sub-table.
        subPrefix = code & mask;
        subBits = len - bits;
        int32_t used = n;
        while (bits + subBits < longest && used < (1 << subBits)) {
          ++subBits;
          used = (used << 1) + count[bits + subBits];
        }
        subStart = end;
        end += 1 << subBits;
        if (end > capacity) {
          table[0] = NoSymbol(0);
          return 0;
        }
        for (int k = subStart; k < end; ++k) table[k] = NoSymbol(subBits);
        table[subPrefix] = kEntrySpecial | kEntryLink | static_cast<DecodeEntry>(subStart) << 16 |
                           static_cast<DecodeEntry>(subBits << 8 | bits);
      }
      const DecodeEntry entry = WithCode(results[sorted[i++]], len - bits);
      for (int k = static_cast<int>(code >> bits); k < (1 << subBits); k += 1 << (len - bits)) {
        table[subStart + k] = entry;
      }
      code = NextReversed(code, len);
    }
  }
  return bits;
}

constexpr BlockTables MakeFixedTables() {
  BlockTables t{};
  uint8_t litLen[kLitLenCodes] = {};
  uint8_t distance[kDistanceCodes] = {};
  for (int i = 0; i < kLitLenCodes; ++i) litLen[i] = FixedLitLenLength(i);
  for (int i = 0; i < kDistanceCodes; ++i) distance[i] = kFixedDistanceLength;
  t.litLenBits = BuildTable(litLen, kLitLenCodes, kLitLenResults.e, kLitLenTableBits, t.litLen, kLitLenTableSize);
  t.distanceBits =
      BuildTable(distance, kDistanceCodes, kDistanceResults.e, kDistanceTableBits, t.distance, kDistanceTableSize);
  return t;
}

}  // namespace

constinit const BlockTables kFixedTables = MakeFixedTables();

void MakeEmptyTables(BlockTables* t) {
  t->litLenBits = 0;
  t->distanceBits = 0;
  t->litLen[0] = NoSymbol(0);
  t->distance[0] = NoSymbol(0);
}

void BuildBlockTables(const uint8_t* litLenLengths, int litLenCodes, const uint8_t* distanceLengths, int distanceCodes,
                      BlockTables* t) {
  t->litLenBits =
      BuildTable(litLenLengths, litLenCodes, kLitLenResults.e, kLitLenTableBits, t->litLen, kLitLenTableSize);
  t->distanceBits = BuildTable(distanceLengths, distanceCodes, kDistanceResults.e, kDistanceTableBits, t->distance,
                               kDistanceTableSize);
}

void BuildCodeLengthTable(const uint8_t (&lengths)[kCodeLengthSymbols], CodeLengthTable* t) {
  memset(t->entries, kNoCodeLength, sizeof(t->entries));
  uint32_t code = 0;
  for (int len = 1; len <= kMaxCodeLengthCodeLength; ++len) {
    for (int symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
      if (lengths[symbol] != len) continue;
      for (uint32_t k = code; k < 128; k += 1u << len) t->entries[k] = static_cast<uint8_t>(symbol * 8 + len);
      // In an over-subscribed set the count starts again behind the last code, inside the table.
      code = NextReversed(code, len);
    }
  }
}

}  // namespace zeldc
