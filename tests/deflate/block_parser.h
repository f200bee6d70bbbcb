// A plain reader of Deflate streams (RFC 1951) that keeps what a decoder throws away: the blocks, their codes and their
// pairs.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <utility>
#include <vector>

#include "support/bytes.h"
#include "zeldc.h"

namespace zeldc_test {

// (byte, 0) or (length, distance).
using Pair = std::pair<int, int>;
using Pairs = std::vector<Pair>;

struct Block {
  bool is_final = false;
  zelLZ77HuffMode kind = zelLZ77HuffStored;
  size_t start_bit = 0;  // of the block's header
  size_t end_bit = 0;
  Pairs pairs;  // of a Huffman block
  Bytes bytes;  // of a stored block
  // Of a dynamic block, as far as they are sent.
  size_t tree_bits = 0;  // from behind the three header bits to the first symbol
  size_t code_lengths_sent = 0;
  std::vector<int> code_length_lengths;  // all 19
  std::vector<int> litlen_lengths;
  std::vector<int> distance_lengths;
  std::vector<int> length_symbols;  // the symbols that describe the two tables
};

// The whole blocks that `stream` holds from bit `start_bit` on, up to and including a final one. Throws
// std::runtime_error at anything malformed, and when the stream ends within a block unless `may_end_early`.
std::vector<Block> ParseBlocks(const Bytes& stream, size_t start_bit = 0, bool may_end_early = false);

// The sum of 2^-length over all lengths but 0, in units of 2^-15.
int KraftSum(const std::vector<int>& lengths);

// What the fixed code takes for a pair, in bits.
int FixedBits(const Pair& pair);
// The length symbol, 257..285, with its number of extra bits; the distance symbol, 0..29, likewise.
std::pair<int, int> LengthSymbol(int length);
std::pair<int, int> DistanceSymbol(int distance);

std::vector<zelLZ77Pair> ToRecords(const Pairs& pairs);
Pairs FromRecords(const zelLZ77Pair* begin, const zelLZ77Pair* end);

// The bytes that pairs stand for, behind `history`.
Bytes Expand(const Pairs& pairs, const Bytes& history = {});

}  // namespace zeldc_test
