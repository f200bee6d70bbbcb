#include "zelbzip2/bit_joiner.h"

namespace zelbzip2 {

void BitJoiner::Put(const std::vector<uint8_t>& bytes, uint64_t bits, std::vector<uint8_t>& to) {
  const size_t whole = static_cast<size_t>(bits / 8);
  const size_t begin = to.size();
  to.resize(begin + whole);
  uint8_t* next = to.data() + begin;
  for (size_t i = 0; i < whole; ++i) {
    *next++ = static_cast<uint8_t>(last_ | bytes[i] >> lastBits_);
    last_ = static_cast<uint8_t>(bytes[i] << (8 - lastBits_));
  }
  if (const int rest = static_cast<int>(bits % 8); rest > 0) {
    last_ = static_cast<uint8_t>(last_ | bytes[whole] >> lastBits_);
    if (lastBits_ + rest >= 8) {
      to.push_back(last_);
      last_ = static_cast<uint8_t>(bytes[whole] << (8 - lastBits_));
    }
    lastBits_ = (lastBits_ + rest) % 8;
  }
}

void BitJoiner::Put(uint64_t value, int bits, std::vector<uint8_t>& to) {
  std::vector<uint8_t> bytes;
  for (int shift = bits - 8; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
  Put(bytes, static_cast<uint64_t>(bits), to);
}

void BitJoiner::Finish(std::vector<uint8_t>& to) {
  if (lastBits_ > 0) to.push_back(last_);
  last_ = 0;
  lastBits_ = 0;
}

}  // namespace zelbzip2
