// The hash of three bytes that the match search uses.
#pragma once

#include <stdint.h>

namespace zeldc {

inline constexpr int kHashBits = 15;
inline constexpr int kHashSize = 1 << kHashBits;

// One row of values in 0..32767 for each of the three bytes.
struct HashSalt {
  int16_t row[3][256];
};
extern const HashSalt zelLZ77HashSalt;

inline uint32_t SaltedHash(const uint8_t* p) {
  return static_cast<uint32_t>(zelLZ77HashSalt.row[0][p[0]] ^ zelLZ77HashSalt.row[1][p[1]] ^
                               zelLZ77HashSalt.row[2][p[2]]);
}

// A byte's values for all three places, side by side: what it adds to the hashes of the position two before it, one
// before it, and its own.
struct HashLanes {
  uint64_t of[256];
};
extern const HashLanes kHashLanes;

// The hashes of the four positions from p on side by side, the first one lowest.
inline uint64_t FourSaltedHashes(const uint8_t* p) {
  const uint64_t* const lanes = kHashLanes.of;
  return lanes[p[0]] >> 32 ^ lanes[p[1]] >> 16 ^ lanes[p[2]] ^ lanes[p[3]] << 16 ^ lanes[p[4]] << 32 ^
         lanes[p[5]] << 48;
}

}  // namespace zeldc
