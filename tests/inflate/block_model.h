// The decoding of a block's body in its plainest form: bit by bit, by counting codes of each length. It stops wherever
// a piece of a symbol lacks its bits or its room, and tells exactly where.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "support/bytes.h"

namespace zeldc_test {

class BlockModel {
 public:
  // A block of the fixed code.
  BlockModel();
  // A block of the given code lengths, literals and lengths first.
  BlockModel(const std::vector<uint16_t>& lengths, size_t lit_lens);

  // What a call makes of the stream from bit *position to bit `end`.
  struct Stop {
    bool bad = false;  // an invalid symbol or distance
    int mode = 1;      // 0 the block's end, 1 between symbols, 2 inside one
  };
  // Appends up to `room` bytes to *output, whose last `reach` bytes can be copied on entry.
  Stop Run(const Bytes& stream, size_t* position, size_t end, size_t room, size_t reach, Bytes* output);

 private:
  struct Alphabet {
    std::vector<size_t> count = std::vector<size_t>(16, 0);
    std::vector<int> symbols;  // in the order of their codes
    bool over_subscribed = false;
    int longest = 0;
    int index_bits = 0;  // of a direct look-up; 0: all that the longest code has
  };
  static Alphabet MakeAlphabet(const uint16_t* lengths, size_t count);

  // The symbol, or one of these.
  static constexpr int kLacking = -1;
  static constexpr int kInvalid = -2;
  static int Find(const Alphabet& alphabet, const Bytes& stream, size_t* position, size_t end);
  static size_t BitsBelow(const Alphabet& alphabet, const Bytes& stream, size_t position, size_t end);
  bool TakeExtra(const Bytes& stream, size_t* position, size_t end, size_t* value);

  Alphabet lit_len_, distance_codes_;
  // What is due next, as the record's resume state counts it.
  int state_ = 1;
  size_t length_ = 0, distance_ = 0;
  int extra_bits_ = 0;
  uint8_t literal_ = 0;
};

}  // namespace zeldc_test
