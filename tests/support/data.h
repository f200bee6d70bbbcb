// Seeded input of many kinds. The same arguments give the same bytes on every machine.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <random>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace zeldc_test {

using Random = std::mt19937_64;

// A number from low to high, both included.
inline size_t Uniform(Random& random, size_t low, size_t high) {
  return low + static_cast<size_t>(random() % (uint64_t{high - low} + 1));
}

Bytes RandomBytes(size_t size, uint64_t seed);
// Uniform over the bytes 0 .. symbols-1.
Bytes SmallAlphabet(size_t size, unsigned symbols, uint64_t seed);
// Runs of random bytes, from 1 to max_run long; short runs are more frequent.
Bytes Runs(size_t size, size_t max_run, uint64_t seed);
// Words of a small made-up language, the frequent ones often, with punctuation and lines.
Bytes Text(size_t size, uint64_t seed);
// A random block of `period` bytes, repeated.
Bytes Periodic(size_t size, size_t period, uint64_t seed);
// The word that abaababa... grows into: few repeats are as long as they look.
Bytes FibonacciWord(size_t size);
// Random bytes over `symbols` values, into which copies of what stands `distance` bytes before are scattered.
Bytes RepeatsAt(size_t size, size_t distance, unsigned symbols, uint64_t seed);
// Pieces of all the kinds above in turn.
Bytes Mixed(size_t size, uint64_t seed);

struct NamedData {
  std::string name;
  Bytes data;
};

// One of each kind, of about `size` bytes, and the smallest inputs: 0, 1, 2, 3, 4 and 10 bytes.
std::vector<NamedData> AllKinds(size_t size);

}  // namespace zeldc_test
