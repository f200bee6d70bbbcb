// Eight bytes by eight flags: bringing those that are flagged together, and putting them back to their places.
//
// Each table holds, for every value of the flags (bit i flags byte i), the indices of a byte shuffle.
#pragma once

#include <stdint.h>

namespace zeldc {

struct ByteShuffles {
  alignas(64) uint8_t of[256][8];
};

constexpr uint8_t kShuffleZero = 0x80;  // as an index: makes the byte 0

// Flagged bytes to the front, in their order.
constexpr ByteShuffles MakeGatherShuffles() {
  ByteShuffles table{};
  for (int flags = 0; flags < 256; ++flags) {
    int count = 0;
    for (int i = 0; i < 8; ++i) {
      if ((flags >> i & 1) != 0) table.of[flags][count++] = static_cast<uint8_t>(i);
    }
    while (count < 8) table.of[flags][count++] = kShuffleZero;
  }
  return table;
}

// Bytes to the flagged places, zeros to the others.
constexpr ByteShuffles MakeScatterShuffles() {
  ByteShuffles table{};
  for (int flags = 0; flags < 256; ++flags) {
    uint8_t count = 0;
    for (int i = 0; i < 8; ++i) table.of[flags][i] = (flags >> i & 1) != 0 ? count++ : kShuffleZero;
  }
  return table;
}

// Bytes from the second on to the flagged places, each repeated up to the next; the first is what comes before them.
constexpr ByteShuffles MakeHoldShuffles() {
  ByteShuffles table{};
  for (int flags = 0; flags < 256; ++flags) {
    uint8_t count = 0;
    for (int i = 0; i < 8; ++i) table.of[flags][i] = (flags >> i & 1) != 0 ? ++count : count;
  }
  return table;
}

inline constexpr ByteShuffles kGatherShuffles = MakeGatherShuffles();
inline constexpr ByteShuffles kScatterShuffles = MakeScatterShuffles();
inline constexpr ByteShuffles kHoldShuffles = MakeHoldShuffles();

}  // namespace zeldc
