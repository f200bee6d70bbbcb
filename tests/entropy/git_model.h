// The interval coder in its plainest form: a tree of 511 nodes, one bit after the other, and a search of the whole row
// for the byte that comes next.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "support/bytes.h"

namespace zeldc_test {

using Bits = std::vector<bool>;

// Sum, number and Rice parameter of a stream's intervals.
struct PlainGitStatistics {
  uint64_t sum = 0;
  uint64_t count = 0;
  uint64_t counter = 0;
  uint64_t k = 10;

  void Update(uint64_t interval);
};

// Appends the interval's code.
void PlainGitPut(uint64_t interval, PlainGitStatistics* statistics, Bits* bits);

// The stream that ends with ones, of at most `capacity` bytes.
Bytes PlainGitStream(const Bits& bits, size_t capacity = SIZE_MAX);

// Reads one interval from `*at` on. False: the bits run out, or no block is long enough for the interval.
bool PlainGitGet(const Bits& bits, size_t* at, PlainGitStatistics* statistics, uint64_t* interval);

Bytes PlainGitEncode(const Bytes& block, int strategy);

struct PlainGitDecoded {
  bool too_long = false;  // there are more than max_size bytes; the block holds the first of them
  Bytes block;
};
PlainGitDecoded PlainGitDecode(const Bytes& container, int strategy, size_t max_size);

// A container of these streams; of those that are missing each is one byte of ones.
Bytes GitContainer(const std::vector<Bytes>& streams);

}  // namespace zeldc_test
