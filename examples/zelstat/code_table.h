// A code for 16-bit values by how often each occurs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zeldc.h"

namespace zelstat {

// No code is longer, so that a few small tables decode all of them; 2^16 values have room in 20 bits.
inline constexpr int32_t kLongestCode = 20;

// Counts of the values from -32768 to 32767.
using ValueCounts = std::vector<uint32_t>;
inline constexpr int32_t kSmallestValue = -32768;
inline constexpr size_t kNumValues = 65536;

// The lengths of a Huffman code of at most kLongestCode bits, 0 for values that do not occur. A value that is the only
// one has length 1.
std::vector<uint8_t> CodeLengths(const ValueCounts& counts);

// The canonical code of such lengths: shorter codes first, and by value.
std::vector<zelVLCCode> CodeTable(const std::vector<uint8_t>& lengths);

}  // namespace zelstat
