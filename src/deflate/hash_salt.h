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

}  // namespace zeldc
