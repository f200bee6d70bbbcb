// Building of decoding tables from code lengths, for any format of entries.
//
// Canonical codes (RFC 1951 section 3.2.2) come in the order of length, then symbol, and count up; in the stream they
// stand bit-reversed. So the table for codes of up to n bits is the one for n - 1 bits twice over, with the codes of
// length n written into it: the table grows by doubling, each entry is written about once, and a short code's table is
// short. The cost of a block with few symbols is small, however many such blocks a stream chains.
#pragma once

#include <stdint.h>

#include "shared/deflate_format.h"

namespace zeldc {

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

// Fills the table and answers its index width. Over-subscribed codes, and codes whose sub-tables do not fit, give a
// table without symbols and the width 0. Codes have at most kMaxCodeLength bits.
//
// A Format says what the entries look like:
//
//   Entry
//   kIndexBits             width of the first look-up; longer codes go on in sub-tables
//   kFullWidth             whether the first table has that width even when no code needs it
//   kCodeOrder             whether a sub-table is indexed by the rest of the code as written, first bit highest, rather
//                          than by the bits of the stream
//   Symbol(result, bits)   the entry of a symbol whose code has so many bits
//   NoSymbol(bits)         the entry that no code reaches, in a table indexed by so many bits
//   SubSymbol, SubNoSymbol the same in a sub-table; bits are those of the first look-up, too
//   Link(start, bits)      the entry that leads to a sub-table of 2^bits entries
template <typename Format, typename Length, typename Result, int kSymbols>
constexpr int BuildTable(const Length* lengths, int symbols, const Result (&results)[kSymbols],
                         typename Format::Entry* table, int capacity) {
  // Few symbols have codes, as a rule, and one without would wait for the one before it to be counted.
  uint16_t used[kSymbols] = {};
  int codes = 0;
  for (int i = 0; i < symbols; ++i) {
    used[codes] = static_cast<uint16_t>(i);
    codes += lengths[i] != 0;
  }
  uint16_t count[kMaxCodeLength + 1] = {};
  for (int k = 0; k < codes; ++k) ++count[lengths[used[k]]];

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
  table[0] = Format::NoSymbol(0);
  if (longest == 0 || space > (1 << kMaxCodeLength)) return 0;
  for (int k = 0; k < codes; ++k) sorted[next[lengths[used[k]]]++] = used[k];

  const int bits = Format::kFullWidth || longest > Format::kIndexBits ? Format::kIndexBits : longest;
  table[0] = Format::NoSymbol(bits);
  uint32_t code = 0;
  int i = 0;
  for (int len = 1; len <= bits; ++len) {
    const int half = 1 << (len - 1);
    for (int k = 0; k < half; ++k) table[half + k] = table[k];
    for (int n = count[len]; n > 0; --n) {
      table[code] = Format::Symbol(results[sorted[i++]], len);
      code = NextReversed(code, len);
    }
  }

  int end = 1 << bits;
  const uint32_t mask = (1u << bits) - 1;
  int subStart = 0;
  [[maybe_unused]] int subNext = 0;
  int subBits = 0;
  uint32_t subPrefix = ~0u;
  for (int len = bits + 1; len <= longest; ++len) {
    for (int n = count[len]; n > 0; --n) {
      if ((code & mask) != subPrefix) {
        // The longest code below this prefix: as in a complete code, until the codes left fill the sub-table.
        subPrefix = code & mask;
        subBits = len - bits;
        int32_t filled = n;
        while (bits + subBits < longest && filled < (1 << subBits)) {
          ++subBits;
          filled = (filled << 1) + count[bits + subBits];
        }
        subStart = subNext = end;
        end += 1 << subBits;
        if (end > capacity) {
          table[0] = Format::NoSymbol(0);
          return 0;
        }
        for (int k = subStart; k < end; ++k) table[k] = Format::SubNoSymbol(bits + subBits);
        table[subPrefix] = Format::Link(subStart, subBits);
      }
      const typename Format::Entry entry = Format::SubSymbol(results[sorted[i++]], len);
      if constexpr (Format::kCodeOrder) {
        // Codes count up, so they follow one another.
        for (int k = 1 << (bits + subBits - len); k > 0; --k) table[subNext++] = entry;
      } else {
        for (int k = static_cast<int>(code >> bits); k < (1 << subBits); k += 1 << (len - bits)) {
          table[subStart + k] = entry;
        }
      }
      code = NextReversed(code, len);
    }
  }
  return bits;
}

}  // namespace zeldc
