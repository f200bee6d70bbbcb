// Deflate blocks (RFC 1951 section 3.2.3) of what the library's match search found.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "zelzlib/bit_writer.h"

namespace zelzlib {

inline constexpr size_t kLitLenSymbols = 286;
inline constexpr size_t kDistanceSymbols = 30;
inline constexpr size_t kEndOfBlock = 256;

// How often each symbol occurs.
struct Frequencies {
  std::array<int32_t, kLitLenSymbols> litLen{};
  std::array<int32_t, kDistanceSymbols> distance{};
};

// Writes the smallest of the three kinds of blocks. `bytes` is what the items stand for, or nothing where it has not
// been kept; then the block is not stored.
void WriteBlock(const Items& items, Frequencies frequencies, std::span<const uint8_t> bytes, bool last,
                BitWriter& writer);

}  // namespace zelzlib
