// The decoding tables of zelInflateState: their two forms, as include/zeldc/inflate_block.h tells them.
//
// A record is the caller's and may hold anything. So each entry is judged when it is read: what these functions answer
// is an entry of decode_tables.h that stays within the format (matches of 3..258 bytes from 1..32768 back, codes no
// longer than the table's index), or one without a symbol.
#pragma once

#include "core/target.h"
#include "inflate/decode_tables.h"
#include "shared/unaligned.h"
#include "zeldc/inflate_block.h"

namespace zeldc {

inline constexpr int kShortLitLenBits = 11;
inline constexpr int kShortDistanceBits = 10;
inline constexpr size_t kShortDistances = sizeof(uint16_t) << kShortLitLenBits;  // where the distance table starts
static_assert(kShortDistances + (sizeof(uint32_t) << kShortDistanceBits) == sizeof(zelInflateState::tables));

inline constexpr int kGeneralBits = 10;
inline constexpr int kGeneralLitLens = 1536;
inline constexpr int kGeneralDistances = 1280;
inline constexpr size_t kLitLenValues = 0;
inline constexpr size_t kLitLenInfos = kLitLenValues + kGeneralLitLens;
inline constexpr size_t kDistanceBases = kLitLenInfos + kGeneralLitLens;
inline constexpr size_t kDistanceInfos = kDistanceBases + 2 * kGeneralDistances;
inline constexpr size_t kGeneralSize = kDistanceInfos + kGeneralDistances;
static_assert(kGeneralSize == 6912);

// Information: the code's length in the low four bits, the kind of symbol above.
inline constexpr unsigned kKindLiteral = 0;
inline constexpr unsigned kKindNone = 1;    // any that is not listed
inline constexpr unsigned kKindLength = 8;  // plus the number of extra bits
inline constexpr unsigned kMostLengthExtra = 5;
inline constexpr unsigned kMostDistanceExtra = 13;
inline constexpr unsigned kShortEndOfBlock = 15;
inline constexpr unsigned kGeneralEndOfBlock = 6;

// What no code reaches that tables with an index of `bits` bits can find.
constexpr DecodeEntry NoSymbolWithin(unsigned bits) { return kEntrySpecial | bits << 8 | bits; }

// The two judges have no branches, so that loops over entries become loops over vectors.

// An entry as decode_tables.h has it, of a code that tables with an index of `bits` bits found.
template <unsigned kEndOfBlockKind>
ZELDC_ALWAYS_INLINE DecodeEntry JudgeLitLen(unsigned value, unsigned info, unsigned bits) {
  const unsigned length = info & 15;
  const unsigned kind = info >> 4;
  const unsigned extra = kind & 7;
  const DecodeEntry code = length << 8 | length;
  const bool isLength = (kind - kKindLength <= kMostLengthExtra) & (value + (1u << extra) <= 256);
  DecodeEntry e = NoSymbolWithin(bits);
  e = kind == kKindLiteral ? kEntryLiteral | value << 16 | code : e;
  e = kind == kEndOfBlockKind ? kEntrySpecial | kEntryEndOfBlock | code : e;
  e = isLength ? (value + kMinMatch) << 16 | (code + extra) : e;
  return length - 1 < bits ? e : NoSymbolWithin(bits);
}

ZELDC_ALWAYS_INLINE DecodeEntry JudgeShortLitLen(uint32_t e, unsigned bits) {
  return JudgeLitLen<kShortEndOfBlock>(e >> 8, e & 255, bits);
}

ZELDC_ALWAYS_INLINE DecodeEntry JudgeDistance(unsigned base, unsigned info, unsigned bits) {
  const unsigned length = info & 15;
  const unsigned extra = info >> 4;
  const bool isDistance =
      (length - 1 < bits) & (extra <= kMostDistanceExtra) & (base != 0) & (base - 1 + (1u << extra) <= kMaxDistance);
  return isDistance ? base << 16 | length << 8 | (length + extra) : NoSymbolWithin(bits);
}

// The tables of a record made ready for the fast loop over symbols.
struct ExpandedTables {
  DecodeEntry litLen[1 << kShortLitLenBits];  // the general form: 1024, and sub-tables of 512 entries in all
  DecodeEntry distance[kGeneralDistances];
  int32_t bits[2];

  SymbolTables View() const { return {litLen, distance, bits[0], bits[1]}; }
};
static_assert((1 << kShortLitLenBits) >= kGeneralLitLens && kGeneralDistances >= (1 << kShortDistanceBits));

// The entries that the next bits of the stream lead to, their bits counted from the first look-up on, and the expansion
// of all of them, which gives up on tables that no code lengths lead to.
struct ShortTables {
  const uint8_t* tables;
  unsigned litLenBits;
  unsigned distanceBits;

  explicit ShortTables(const zelInflateState* s)
      : tables(s->tables), litLenBits(s->maxLitBits), distanceBits(s->maxDistBits) {}

  DecodeEntry LitLen(uint64_t next) const {
    const size_t i = static_cast<size_t>(next) & ((size_t{1} << litLenBits) - 1);
    const unsigned e = LoadNative<uint16_t>(tables + 2 * i);
    const unsigned length = e & 15;
    // By a branch where the caller has one, too.
    if ((e >> 4 & 15) == kKindLiteral && length - 1 < litLenBits)
      return kEntryLiteral | e >> 8 << 16 | length << 8 | length;
    return JudgeShortLitLen(e, litLenBits);
  }
  DecodeEntry Distance(uint64_t next) const {
    return DistanceAt(static_cast<size_t>(next) & ((size_t{1} << distanceBits) - 1));
  }
  DecodeEntry DistanceAt(size_t i) const {
    const unsigned e = LoadNative<uint32_t>(tables + kShortDistances + 4 * i);
    return JudgeDistance(e >> 16, e & 255, distanceBits);
  }
  bool Expand(ExpandedTables* t) const;
};

struct GeneralTables {
  const zelInflateState* state;

  DecodeEntry LitLen(uint64_t next) const;
  DecodeEntry Distance(uint64_t next) const;
  bool Expand(ExpandedTables* t) const;
};

}  // namespace zeldc
