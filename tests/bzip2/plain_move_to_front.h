// Move-to-front in its plainest form, on the tables that the library keeps.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "support/bytes.h"

namespace zeldc_test {

using MTFTable = std::array<uint8_t, 256>;

inline MTFTable FreshMTFTable() {
  MTFTable table;
  std::iota(table.begin(), table.end(), uint8_t{0});
  return table;
}

// ranks[v] is the rank of the byte value v.
inline Bytes PlainMTFFwd(const Bytes& bytes, MTFTable& ranks) {
  Bytes out;
  for (uint8_t byte : bytes) {
    const uint8_t rank = ranks[byte];
    out.push_back(rank);
    for (uint8_t& other : ranks) other = static_cast<uint8_t>(other + (other < rank));
    ranks[byte] = 0;
  }
  return out;
}

// list[r] is the byte value at rank r.
inline Bytes PlainMTFInv(const Bytes& ranks, MTFTable& list) {
  Bytes out;
  for (uint8_t rank : ranks) {
    std::rotate(list.begin(), list.begin() + rank, list.begin() + rank + 1);
    out.push_back(list[0]);
  }
  return out;
}

}  // namespace zeldc_test
