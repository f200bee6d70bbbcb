// Building of the record's tables, and their expansion into those of the fast loop over symbols.
//
// The forms of the record are narrow; the fast loop wants all that a symbol needs in one entry. A call with much to do
// makes such entries of the record's on its stack: some hundred vector steps, of which tens of kilobytes of output feel
// nothing.

#include "inflate/record_tables.h"

#include <string.h>

#include "inflate/table_builder.h"

namespace zeldc {

namespace {

// A symbol's value above its information, the length of its code still to be added.
template <unsigned kEndOfBlockKind>
struct LitLenResults {
  uint16_t e[kLitLenSymbols];

  constexpr LitLenResults() : e{} {
    for (unsigned i = 0; i < kLiteralSymbols; ++i) e[i] = static_cast<uint16_t>(i << 8 | kKindLiteral << 4);
    e[kEndOfBlock] = kEndOfBlockKind << 4;
    for (int i = 0; i < kLengthSymbols; ++i) {
      const RangeSymbol s = kLengthSymbol.s[i];
      const unsigned value = static_cast<unsigned>(s.base - kMinMatch);
      e[kFirstLengthSymbol + i] = static_cast<uint16_t>(value << 8 | (kKindLength + s.extraBits) << 4);
    }
  }
};
constexpr LitLenResults<kShortEndOfBlock> kShortResults;
constexpr LitLenResults<kGeneralEndOfBlock> kGeneralResults;

struct DistanceResults {
  uint32_t e[kDistanceSymbols];

  constexpr DistanceResults() : e{} {
    for (int i = 0; i < kDistanceSymbols; ++i) {
      e[i] = static_cast<uint32_t>(kDistanceSymbol.s[i].base << 16 | kDistanceSymbol.s[i].extraBits << 4);
    }
  }
};
constexpr DistanceResults kDistanceResults;

// The formats of both forms; that of the general one is split into values and information when it is complete.
template <typename E, int kBits, unsigned kNoSymbolKind>
struct ShortFormat {
  using Entry = E;
  static constexpr int kIndexBits = kBits;
  static constexpr bool kFullWidth = false;
  static constexpr bool kCodeOrder = true;

  static constexpr Entry Symbol(E result, int bits) { return static_cast<E>(result + static_cast<unsigned>(bits)); }
  static constexpr Entry NoSymbol(int bits) { return static_cast<E>(kNoSymbolKind << 4 | static_cast<unsigned>(bits)); }
  static constexpr Entry SubSymbol(E result, int bits) { return Symbol(result, bits); }
  static constexpr Entry SubNoSymbol(int bits) { return NoSymbol(bits); }
  static constexpr Entry Link(int start, int bits) {
    constexpr int kValueShift = 8 * (sizeof(E) / 2);
    return static_cast<E>((start - (1 << kBits)) / 2 << kValueShift | (kBits + bits));
  }
};
template <typename E, unsigned kNoSymbolKind>
struct GeneralFormat : ShortFormat<E, kGeneralBits, kNoSymbolKind> {
  static constexpr bool kFullWidth = true;
};
inline constexpr unsigned kNoDistanceKind = 15;  // more extra bits than there are

// Makes a table and answers the longest code that it is for.
template <typename Format, typename Result, int kSymbols>
void Build(const uint16_t* lengths, uint32_t symbols, const Result (&results)[kSymbols], int longest,
           typename Format::Entry* table, int capacity) {
  if (BuildTable<Format>(lengths, static_cast<int>(symbols), results, table, capacity) > 0) return;
  const int bits = Format::kFullWidth ? Format::kIndexBits : longest;
  for (int i = 0; i < (1 << bits); ++i) table[i] = Format::NoSymbol(bits);
}

void BuildShort(const uint16_t* lengths, uint32_t litLens, uint32_t distances, zelInflateState* s) {
  uint16_t litLen[1 << kShortLitLenBits];
  uint32_t distance[1 << kShortDistanceBits];
  const int litLenBits = static_cast<int>(s->maxLitBits);
  const int distanceBits = static_cast<int>(s->maxDistBits);
  Build<ShortFormat<uint16_t, kShortLitLenBits, kKindNone>>(lengths, litLens, kShortResults.e, litLenBits, litLen,
                                                            1 << kShortLitLenBits);
  Build<ShortFormat<uint32_t, kShortDistanceBits, kNoDistanceKind>>(lengths + litLens, distances, kDistanceResults.e,
                                                                    distanceBits, distance, 1 << kShortDistanceBits);
  memcpy(s->tables, litLen, sizeof(uint16_t) << litLenBits);
  memcpy(s->tables + kShortDistances, distance, sizeof(uint32_t) << distanceBits);
}

void BuildGeneral(const uint16_t* lengths, uint32_t litLens, uint32_t distances, zelInflateState* s) {
  uint16_t litLen[kGeneralLitLens] = {};
  uint32_t distance[kGeneralDistances] = {};
  Build<GeneralFormat<uint16_t, kKindNone>>(lengths, litLens, kGeneralResults.e, 0, litLen, kGeneralLitLens);
  Build<GeneralFormat<uint32_t, kNoDistanceKind>>(lengths + litLens, distances, kDistanceResults.e, 0, distance,
                                                  kGeneralDistances);
  for (size_t i = 0; i < kGeneralLitLens; ++i) s->tables[kLitLenValues + i] = static_cast<uint8_t>(litLen[i] >> 8);
  for (size_t i = 0; i < kGeneralLitLens; ++i) s->tables[kLitLenInfos + i] = static_cast<uint8_t>(litLen[i]);
  for (size_t i = 0; i < kGeneralDistances; ++i) {
    StoreNative(s->tables + kDistanceBases + 2 * i, static_cast<uint16_t>(distance[i] >> 16));
  }
  for (size_t i = 0; i < kGeneralDistances; ++i) s->tables[kDistanceInfos + i] = static_cast<uint8_t>(distance[i]);
}

// The longest length, 0 when there is none; above kMaxCodeLength, some length is.
uint32_t Longest(const uint16_t* lengths, uint32_t n) {
  uint32_t longest = 0;
  for (uint32_t i = 0; i < n; ++i) longest = lengths[i] > longest ? lengths[i] : longest;
  return longest;
}

// The two alphabets of the general form.
struct LitLens {
  const zelInflateState* state;
  static constexpr unsigned kEntries = kGeneralLitLens;

  const uint8_t* Infos() const { return state->tables + kLitLenInfos; }
  unsigned Value(size_t i) const { return state->tables[kLitLenValues + i]; }
  DecodeEntry At(size_t i, unsigned bits) const { return JudgeLitLen<kGeneralEndOfBlock>(Value(i), Infos()[i], bits); }
};

struct Distances {
  const zelInflateState* state;
  static constexpr unsigned kEntries = kGeneralDistances;

  const uint8_t* Infos() const { return state->tables + kDistanceInfos; }
  unsigned Value(size_t i) const { return LoadNative<uint16_t>(state->tables + kDistanceBases + 2 * i); }
  DecodeEntry At(size_t i, unsigned bits) const { return JudgeDistance(Value(i), Infos()[i], bits); }
};

constexpr unsigned kFirstLevel = 1u << kGeneralBits;

// An entry of the sub-table that entry i links to: `rest` are the bits of the stream behind the first look-up.
template <typename Alphabet>
DecodeEntry SubEntry(Alphabet a, size_t i, unsigned longest, unsigned rest) {
  const unsigned subBits = longest - kGeneralBits;
  unsigned index = 2 * a.Value(i);
  if (kFirstLevel + index + (1u << subBits) > Alphabet::kEntries) return NoSymbolWithin(longest);
  for (unsigned k = 0; k < subBits; ++k) index += (rest >> k & 1) << (subBits - 1 - k);
  const DecodeEntry e = a.At(kFirstLevel + index, longest);
  return EntryCodeBits(e) > kGeneralBits ? e : NoSymbolWithin(longest);
}

template <typename Alphabet>
DecodeEntry LookUpGeneral(Alphabet a, uint64_t next) {
  const size_t i = static_cast<size_t>(next) & (kFirstLevel - 1);
  const unsigned longest = a.Infos()[i] & 15u;
  if (longest <= kGeneralBits) return a.At(i, kGeneralBits);
  return SubEntry(a, i, longest, static_cast<unsigned>(next >> kGeneralBits));
}

template <typename Alphabet>
bool ExpandGeneral(Alphabet a, DecodeEntry* table) {
  for (size_t i = 0; i < kFirstLevel; ++i) table[i] = a.At(i, kGeneralBits);
  // The links, as a rule among the last of the codes, by eights: lengths above 10 carry into bit 4.
  unsigned end = kFirstLevel;
  for (size_t eight = 0; eight < kFirstLevel; eight += 8) {
    const uint64_t lengths = LoadNative<uint64_t>(a.Infos() + eight) & 0x0F0F0F0F0F0F0F0Fu;
    if (((lengths + 0x0505050505050505u) & 0x1010101010101010u) == 0) continue;
    for (size_t i = eight; i < eight + 8; ++i) {
      const unsigned longest = a.Infos()[i] & 15u;
      if (longest <= kGeneralBits) continue;
      const unsigned subBits = longest - kGeneralBits;
      if (end + (1u << subBits) > Alphabet::kEntries) return false;
      table[i] = LinkEntry(static_cast<int>(end), static_cast<int>(subBits), kGeneralBits);
      for (unsigned rest = 0; rest < (1u << subBits); ++rest) {
        table[end++] = SubEntry(a, i, longest, rest) - (kGeneralBits << 8 | kGeneralBits);
      }
    }
  }
  return true;
}

}  // namespace

bool ShortTables::Expand(ExpandedTables* t) const {
  // The first loop only makes the entries wide: GCC 12 makes no vectors of both steps in one.
  for (size_t i = 0; i < (size_t{1} << litLenBits); ++i) t->litLen[i] = LoadNative<uint16_t>(tables + 2 * i);
  for (size_t i = 0; i < (size_t{1} << litLenBits); ++i) t->litLen[i] = JudgeShortLitLen(t->litLen[i], litLenBits);
  for (size_t i = 0; i < (size_t{1} << distanceBits); ++i) t->distance[i] = DistanceAt(i);
  t->bits[0] = static_cast<int32_t>(litLenBits);
  t->bits[1] = static_cast<int32_t>(distanceBits);
  return true;
}

DecodeEntry GeneralTables::LitLen(uint64_t next) const { return LookUpGeneral(LitLens{state}, next); }
DecodeEntry GeneralTables::Distance(uint64_t next) const { return LookUpGeneral(Distances{state}, next); }

bool GeneralTables::Expand(ExpandedTables* t) const {
  t->bits[0] = t->bits[1] = kGeneralBits;
  return ExpandGeneral(LitLens{state}, t->litLen) && ExpandGeneral(Distances{state}, t->distance);
}

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsInflateBuildHuffTable(const uint16_t* pCodeLens, uint32_t litLensNum, uint32_t distLensNum,
                                               zelInflateState* pInflateState) {
  if (!pCodeLens || !pInflateState) return zelErrNullPtr;
  if (litLensNum > kLitLenSymbols || distLensNum > kDistanceSymbols) return zelErrSize;
  const uint32_t litLenBits = Longest(pCodeLens, litLensNum);
  const uint32_t distanceBits = Longest(pCodeLens + litLensNum, distLensNum);
  if (litLenBits == 0 || litLenBits > kMaxCodeLength) return zelErrBadData;
  if (distanceBits == 0 || distanceBits > kMaxCodeLength) return zelErrBadData;

  if (litLenBits > kShortLitLenBits || distanceBits > kShortDistanceBits) {
    BuildGeneral(pCodeLens, litLensNum, distLensNum, pInflateState);
    pInflateState->tableForm = zelInflateGeneral;
    return zelOk;
  }
  pInflateState->maxLitBits = litLenBits;
  pInflateState->maxDistBits = distanceBits;
  if (litLensNum <= kEndOfBlock || pCodeLens[kEndOfBlock] == 0) return zelErrBadData;
  BuildShort(pCodeLens, litLensNum, distLensNum, pInflateState);
  pInflateState->tableForm = zelInflateShort;
  return zelOk;
}
