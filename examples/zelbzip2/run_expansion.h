// The last stage of decompression: the run-length code of a block.
#pragma once

#include <cstdint>
#include <vector>

#include "common/file_streams.h"

namespace zelbzip2 {

// Writes what the block stands for, up to 52 times as much as it holds, through the output's buffer. Returns its CRC.
uint32_t ExpandRuns(std::vector<uint8_t>& block, example::Output& output);

// The output's buffer needs as much.
inline constexpr size_t kExpansionBufferBytes = 1 << 20;

}  // namespace zelbzip2
