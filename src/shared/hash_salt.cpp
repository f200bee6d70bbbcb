// The salt of the match search's hash. Its first values are fixed by the contract; the others come from a generator.

#include "shared/hash_salt.h"

namespace zeldc {

namespace {

// The upper bits of x' = 6364136223846793005 x + 1442695040888963407 mod 2^64, started at 1.
constexpr HashSalt MakeSalt() {
  HashSalt s{};
  uint64_t x = 1;
  for (auto& row : s.row) {
    for (int16_t& v : row) {
      x = x * 6364136223846793005u + 1442695040888963407u;
      v = static_cast<int16_t>(x >> 49);
    }
  }
  constexpr int16_t kRow0[] = {18845, 15810, 11527, 28763, 31350, 13417};
  constexpr int16_t kRow1[] = {23403, 25964, 7330, 5756};
  constexpr int16_t kRow2[] = {23616, 7640, 29028, 30668};
  for (int i = 0; i < 6; ++i) s.row[0][i] = kRow0[i];
  for (int i = 0; i < 4; ++i) s.row[1][i] = kRow1[i];
  for (int i = 0; i < 4; ++i) s.row[2][i] = kRow2[i];
  return s;
}

constexpr HashLanes MakeLanes(const HashSalt& salt) {
  HashLanes t{};
  for (int i = 0; i < 256; ++i) {
    for (int place = 0; place < 3; ++place) {
      t.of[i] |= static_cast<uint64_t>(salt.row[place][i]) << (16 * (2 - place));
    }
  }
  return t;
}

constexpr HashSalt kSalt = MakeSalt();

}  // namespace

constinit const HashSalt zelLZ77HashSalt = kSalt;
constinit const HashLanes kHashLanes = MakeLanes(kSalt);

}  // namespace zeldc
