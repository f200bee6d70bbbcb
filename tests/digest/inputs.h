// The fixed inputs of the digest, made by a generator of their own: the same bytes on every machine.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

namespace zeldc_digest {

using Data = std::vector<uint8_t>;

// A sequence of numbers (splitmix64), told by its seed.
class Numbers {
 public:
  explicit Numbers(uint64_t seed) : state_(seed) {}

  uint64_t Next();
  // From 0 to limit - 1.
  uint32_t Below(uint32_t limit) { return static_cast<uint32_t>((Next() >> 32) % limit); }

 private:
  uint64_t state_;
};

enum class Kind { kZeros, kPeriodic, kText, kRecords, kRandom, kMixture };
constexpr uint32_t kKinds = 6;

Data Make(Kind kind, size_t size, uint64_t seed);

// Nothing, and up to some 4 KiB: sizes around those at which kernels change their way, two kinds of each.
const std::vector<Data>& SmallInputs();
// From 8 to 300 KiB: sizes around those of windows, blocks and arrays.
const std::vector<Data>& LargeInputs();
// Both, the small ones first.
std::vector<const Data*> AllInputs();

}  // namespace zeldc_digest
