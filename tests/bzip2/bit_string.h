// Bits written one after another, most significant first, as text: what a stream holds can be read and compared.
#pragma once

#include <stdint.h>

#include <string>

#include "support/bytes.h"

namespace zeldc_test {

struct BitString {
  std::string bits;  // '0' and '1'

  BitString& Put(uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) bits += (value >> i & 1) != 0 ? '1' : '0';
    return *this;
  }

  BitString& Put(const std::string& text) {
    bits += text;
    return *this;
  }

  // The last byte is filled up with zeros; `more` bytes of zeros follow.
  Bytes ToBytes(size_t more = 0) const {
    Bytes bytes((bits.size() + 7) / 8 + more);
    for (size_t i = 0; i < bits.size(); ++i) {
      if (bits[i] == '1') bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 0x80 >> i % 8);
    }
    return bytes;
  }
};

// The bits of bytes and of what waits behind them in a word, the oldest bit uppermost.
inline BitString BitsOf(const uint8_t* bytes, size_t size, uint32_t waiting = 0, int waiting_count = 0) {
  BitString all;
  for (size_t i = 0; i < size; ++i) all.Put(bytes[i], 8);
  if (waiting_count > 0) all.Put(waiting >> (32 - waiting_count), waiting_count);
  return all;
}

}  // namespace zeldc_test
