// The numbers of the bzip2 format's last stage.
#pragma once

#include <stdint.h>

namespace zeldc {

inline constexpr int kGroupSize = 50;  // symbols that share a choice of table
inline constexpr int kMinHuffTables = 2;
inline constexpr int kMaxHuffTables = 6;
inline constexpr int kMaxHuffSymbols = 258;   // two run symbols, 255 bytes' ranks, the end of the block
inline constexpr int kMaxSelectors = 32767;   // what 15 bits can say
inline constexpr int kMaxWrittenLength = 17;  // of a code that we write
inline constexpr int kMaxReadLength = 20;     // of a code that others may have written

// Groups of n symbols.
constexpr int32_t GroupsOf(int32_t n) { return n / kGroupSize + (n % kGroupSize != 0); }

// The order of the tables by their last use, for the move-to-front code of the selectors: four bits each, the last used
// one lowest.
struct TableOrder {
  uint32_t order = 0x543210;

  // The table at a place, which it leaves for the front.
  uint32_t TakeFrom(uint32_t place) {
    const uint32_t table = order >> (4 * place) & 15;
    MoveToFront(table, place);
    return table;
  }

  // The place of a table, which it leaves for the front.
  uint32_t PlaceOf(uint32_t table) {
    uint32_t place = 0;
    while ((order >> (4 * place) & 15) != table) ++place;
    MoveToFront(table, place);
    return place;
  }

 private:
  void MoveToFront(uint32_t table, uint32_t place) {
    const uint32_t before = order & ((1u << (4 * place)) - 1);
    const uint32_t behind = order & ~((16u << (4 * place)) - 1);
    order = behind | before << 4 | table;
  }
};

}  // namespace zeldc
