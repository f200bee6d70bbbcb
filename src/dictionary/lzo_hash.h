// The hash of four bytes by which the LZO encoder finds earlier positions.
#pragma once

#include <stdint.h>

namespace zeldc {

// One row of values in 0..32767 for each of the four bytes.
struct LzoHashSalt {
  uint16_t row[4][256];
};
extern const LzoHashSalt zelLZOHashSalt;

// A byte's values for all four places, side by side: lowest what it adds to the hash of the position three before it,
// highest what it adds to its own.
struct LzoHashLanes {
  uint64_t of[256];
};
extern const LzoHashLanes kLzoHashLanes;

inline constexpr uint32_t kLzoHashMask = 0x3FFF;

// The dictionary's second place for a hash.
constexpr uint32_t SecondSlot(uint32_t hash) { return (hash & 0x7FF) ^ 0x201F; }

}  // namespace zeldc
