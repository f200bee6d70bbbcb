#include "dictionary/lzo_hash.h"

namespace zeldc {

namespace {

// Bits 16 to 30 of x' = 214013 x + 2531011 mod 2^32, started at 1.
constexpr LzoHashSalt MakeSalt() {
  LzoHashSalt s{};
  uint32_t x = 1;
  for (auto& row : s.row) {
    for (uint16_t& v : row) {
      x = x * 214013u + 2531011u;
      v = static_cast<uint16_t>(x >> 16 & 0x7FFF);
    }
  }
  return s;
}

constexpr LzoHashLanes MakeLanes(const LzoHashSalt& salt) {
  LzoHashLanes t{};
  for (int byte = 0; byte < 256; ++byte) {
    for (int place = 0; place < 4; ++place) {
      t.of[byte] |= static_cast<uint64_t>(salt.row[place][byte] & kLzoHashMask) << (16 * (3 - place));
    }
  }
  return t;
}

constexpr LzoHashSalt kSalt = MakeSalt();

}  // namespace

constinit const LzoHashSalt zelLZOHashSalt = kSalt;
constinit const LzoHashLanes kLzoHashLanes = MakeLanes(kSalt);

}  // namespace zeldc
