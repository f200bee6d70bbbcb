// Randomised blocks, which encoders wrote before they could sort repetitive ones.
#pragma once

#include <cstdint>
#include <vector>

namespace zelbzip2 {

// Takes the randomisation from a block, or gives it to one: some bytes, at intervals that a table of the format says,
// have their lowest bit changed.
void Derandomise(std::vector<uint8_t>& data);

}  // namespace zelbzip2
