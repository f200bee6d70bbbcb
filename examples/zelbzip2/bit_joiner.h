// Joins pieces of any number of bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelbzip2 {

class BitJoiner {
 public:
  // Appends the first so many bits of `bytes`, as far as they fill bytes; the others wait for more.
  void Put(const std::vector<uint8_t>& bytes, uint64_t bits, std::vector<uint8_t>& to);

  // Appends a number's lowest bits, a multiple of eight.
  void Put(uint64_t value, int bits, std::vector<uint8_t>& to);

  // Fills the last byte with zeros.
  void Finish(std::vector<uint8_t>& to);

 private:
  uint8_t last_ = 0;  // the bits that wait, left-aligned
  int lastBits_ = 0;
};

}  // namespace zelbzip2
