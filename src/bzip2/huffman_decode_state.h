// The record of the bzip2 Huffman decoder.
#pragma once

#include <stdint.h>

#include "bzip2/huffman_format.h"
#include "core/redzone.h"
#include "zeldc/bzip2_huffman.h"

namespace zeldc {

// How far zelsUnpackHuffContext_BZ2_8u16u has come. The first three numbers are the contract's.
enum UnpackStage : int32_t {
  kUnpackHeader = 0,
  kUnpackSelectors = 1,
  kUnpackLengths = 2,
  kUnpackFailed = 3,  // bad data was met: only Init helps
};

// Decoding of one code. Codes of up to 8 bits take one look-up. The others are canonical numbers: those of each length
// follow those of the length before, so comparing with the ends of the lengths tells the length, and the distance from
// the first of the length tells the symbol.
struct DecodeTable {
  static constexpr int kFastBits = 8;
  static constexpr int kLevels = kMaxReadLength - kFastBits;  // lengths beyond

  uint16_t fast[1 << kFastBits];          // by the next 8 bits: a symbol above its code's length, see FastEntry
  uint16_t longSymbols[kMaxHuffSymbols];  // those of longer codes, by length, then by number
  uint32_t ends[kLevels + 1];   // [k]: where codes of 8 + k bits end, as 20-bit numbers; 2^20 for the longest ones
  uint32_t bases[kLevels + 1];  // [k]: added to a code of 8 + k bits, modulo 2^32, its place in longSymbols
  uint16_t fastEnd;             // where the codes of up to 8 bits end, as 8-bit numbers
  uint16_t lastLong;            // the last place in longSymbols

  static constexpr uint16_t FastEntry(int symbol, int length) { return static_cast<uint16_t>(symbol << 6 | length); }
  static constexpr uint16_t SymbolOf(uint16_t entry) { return static_cast<uint16_t>(entry >> 6); }
  static constexpr uint32_t LengthOf(uint16_t entry) { return entry & 63; }
};

// Tables for n symbols with codes of 1 to 20 bits. False for lengths that no prefix code has. Where codes are missing,
// what stands in their place decodes to some symbol.
bool MakeDecodeTable(const uint8_t* lengths, int n, DecodeTable* table);

}  // namespace zeldc

struct zelBZ2HuffDecodeState {
  int32_t stage;  // UnpackStage
  int32_t numTables;
  int32_t currentTable;
  int32_t numSelectors;
  int32_t position;  // Unpack: selectors read so far; DecodeHuff: the current group
  int32_t alphaSize;
  int32_t currentSymbol;    // Unpack: the next symbol whose length is read
  int32_t positionInGroup;  // DecodeHuff: symbols of the current group decoded so far
  int32_t currentLength;    // Unpack: the length that steps change
  int32_t stepTaken;        // Unpack: the kind of steps taken for the current symbol, 2 or 3 as in the stream; 0: none
  int32_t capacity;         // selectors that the record has room for
  int32_t isReady;          // selectors and tables are those of a whole description
  zeldc::TableOrder order;  // Unpack: of the selectors read so far
  zeldc::DecodeTable tables[zeldc::kMaxHuffTables];
  ZELDC_REDZONE(behindTables)
  uint8_t lengths[zeldc::kMaxHuffSymbols];  // Unpack: of the current table
  ZELDC_REDZONE(behindLengths)

  uint8_t* Selectors();  // the table of each group, behind the size of a record for none

#if ZELDC_REDZONES
  template <typename F>
  void ForEachRedzone(F f) const {
    f(behindTables, behindLengths);
  }
#endif
};

namespace zeldc {

// The size of a record is this and a byte a group.
inline constexpr int32_t kDecodeStateSize = 9300;
static_assert(sizeof(zelBZ2HuffDecodeState) <= kDecodeStateSize && alignof(zelBZ2HuffDecodeState) == 4);

}  // namespace zeldc

inline uint8_t* zelBZ2HuffDecodeState::Selectors() {
  return reinterpret_cast<uint8_t*>(this) + zeldc::kDecodeStateSize;
}
