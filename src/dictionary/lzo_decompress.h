// Decompression of LZO1X streams.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zeldc {

// Decompresses `size` bytes, streams one after the other, into `room` bytes. Answers what was written, or kLzoBroken;
// reads and writes nothing outside, but may write behind what it answers.
inline constexpr size_t kLzoBroken = SIZE_MAX;
size_t LzoDecompress(const uint8_t* in, size_t size, uint8_t* out, size_t room);

}  // namespace zeldc
