// The stateful decoder's tables.

#include "inflate/decode_tables.h"

#include <string.h>

#include "inflate/table_builder.h"

namespace zeldc {

namespace {

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

// The format of decode_tables.h.
template <int kBits>
struct WideFormat {
  using Entry = DecodeEntry;
  static constexpr int kIndexBits = kBits;
  static constexpr bool kFullWidth = false;
  static constexpr bool kCodeOrder = false;

  static constexpr Entry Symbol(DecodeEntry result, int bits) {
    return result + static_cast<DecodeEntry>(bits << 8 | bits);
  }
  static constexpr Entry NoSymbol(int bits) { return zeldc::NoSymbol(bits); }
  static constexpr Entry SubSymbol(DecodeEntry result, int bits) { return Symbol(result, bits - kBits); }
  static constexpr Entry SubNoSymbol(int bits) { return NoSymbol(bits - kBits); }
  static constexpr Entry Link(int start, int bits) { return LinkEntry(start, bits, kBits); }
};
using LitLenFormat = WideFormat<kLitLenTableBits>;
using DistanceFormat = WideFormat<kDistanceTableBits>;

constexpr BlockTables MakeFixedTables() {
  BlockTables t{};
  uint8_t litLen[kLitLenCodes] = {};
  uint8_t distance[kDistanceCodes] = {};
  for (int i = 0; i < kLitLenCodes; ++i) litLen[i] = FixedLitLenLength(i);
  for (int i = 0; i < kDistanceCodes; ++i) distance[i] = kFixedDistanceLength;
  t.litLenBits = BuildTable<LitLenFormat>(litLen, kLitLenCodes, kLitLenResults.e, t.litLen, kLitLenTableSize);
  t.distanceBits =
      BuildTable<DistanceFormat>(distance, kDistanceCodes, kDistanceResults.e, t.distance, kDistanceTableSize);
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
  t->litLenBits = BuildTable<LitLenFormat>(litLenLengths, litLenCodes, kLitLenResults.e, t->litLen, kLitLenTableSize);
  t->distanceBits =
      BuildTable<DistanceFormat>(distanceLengths, distanceCodes, kDistanceResults.e, t->distance, kDistanceTableSize);
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
