// Decoding tables of a Deflate block: one look-up tells what a code stands for and how many bits it takes.
//
// An entry holds, from the lowest bit up
//
//   bits 0..5    bits to consume: the code and its extra bits (a link: the bits of the first look-up)
//   bits 8..12   bits of the code alone (a link: index bits of the sub-table)
//   bits 13..15  what is special: kEntryLink, kEntryEndOfBlock; neither, but kEntrySpecial: no symbol
//   bits 16..30  the literal, or the base of the length or distance, or the sub-table's first entry
//   bit 31       kEntryLiteral
//
// Codes up to the table's width are found by one look-up; longer ones by a link to a sub-table, whose entries count
// the bits behind the first look-up. Entries that no code reaches are special without being a link or the end of the
// block, and say to consume as many bits as it took to see that.
#pragma once

#include <stdint.h>

#include "core/redzone.h"
#include "shared/deflate_format.h"

namespace zeldc {

using DecodeEntry = uint32_t;

inline constexpr DecodeEntry kEntryLiteral = 1u << 31;
inline constexpr DecodeEntry kEntrySpecial = 1u << 15;
inline constexpr DecodeEntry kEntryLink = 1u << 14;
inline constexpr DecodeEntry kEntryEndOfBlock = 1u << 13;

constexpr unsigned EntryBits(DecodeEntry e) { return e & 63; }
constexpr unsigned EntryCodeBits(DecodeEntry e) { return (e >> 8) & 31; }
constexpr unsigned EntryValue(DecodeEntry e) { return (e >> 16) & 0x7FFF; }

// A link behind indexBits bits to a sub-table of 2^bits entries, and the entry that no code reaches.
constexpr DecodeEntry LinkEntry(int start, int bits, int indexBits) {
  return kEntrySpecial | kEntryLink | static_cast<DecodeEntry>(start << 16 | bits << 8 | indexBits);
}
constexpr DecodeEntry NoSymbol(int bits) { return kEntrySpecial | static_cast<DecodeEntry>(bits); }

// Index widths, and the entries that complete codes of these widths need at most: the first table, and sub-tables for
// codes of up to 15 bits over 288 and 32 symbols. An incomplete code needs no more; the builder checks.
inline constexpr int kLitLenTableBits = 11;
inline constexpr int kLitLenTableSize = 2342;
inline constexpr int kDistanceTableBits = 8;
inline constexpr int kDistanceTableSize = 402;

struct BlockTables {
  int32_t litLenBits;  // index width in use, at most kLitLenTableBits
  int32_t distanceBits;
  DecodeEntry litLen[kLitLenTableSize];
  ZELDC_REDZONE(behindLitLen)
  DecodeEntry distance[kDistanceTableSize];
};

// What the loop over symbols sees of tables, wherever they are.
struct SymbolTables {
  const DecodeEntry* litLen;
  const DecodeEntry* distance;
  int32_t litLenBits;
  int32_t distanceBits;
};
inline SymbolTables View(const BlockTables& t) { return {t.litLen, t.distance, t.litLenBits, t.distanceBits}; }

// Tables in which no code has a meaning.
void MakeEmptyTables(BlockTables* t);

// The tables for the code lengths, 0..15 each, of a block. A code may be incomplete; an over-subscribed one gives no
// code a meaning.
void BuildBlockTables(const uint8_t* litLenLengths, int litLenCodes, const uint8_t* distanceLengths, int distanceCodes,
                      BlockTables* t);

// The tables of the fixed code.
extern const BlockTables kFixedTables;

// The code-length code: by the next 7 bits, the symbol times 8 plus the bits of its code; kNoCodeLength where no code
// is reached.
inline constexpr uint8_t kNoCodeLength = 255;
struct CodeLengthTable {
  uint8_t entries[128];
};
void BuildCodeLengthTable(const uint8_t (&lengths)[kCodeLengthSymbols], CodeLengthTable* t);

}  // namespace zeldc
