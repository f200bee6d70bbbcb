// Samples by variable-length codes of their differences.
#pragma once

#include "zelstat/measure.h"
#include "zelstat/sample_file.h"

namespace zelstat {

// Each sample as its difference from the one before of the same channel, modulo 2^16; and back, in place.
std::vector<int16_t> Differences(const Samples& samples);
void Integrate(int32_t channels, std::vector<int16_t>* values);

// The floor for the differences, the VLC coder on them, and byte Huffman on the samples' bytes beside it. There is at
// least one sample.
std::vector<Result> CodeSamples(const Samples& samples);

}  // namespace zelstat
