// The numbers of the bzip2 format, and what goes wrong with the library's calls.
//
// A file is one stream or several. A stream is "BZh" and a digit, its blocks, and an end mark with the CRC of all
// blocks; within it nothing is aligned to bytes, bits are read from the most significant on. A block is a mark, its
// CRC, a bit that says that it is randomised, the row of its first rotation (24 bits), the map of the bytes in use, the
// Huffman tables and the symbols.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

#include "common/messages.h"
#include "zeldc.h"

namespace zelbzip2 {

inline constexpr uint64_t kBlockMark = 0x314159265359;  // pi
inline constexpr uint64_t kStreamEnd = 0x177245385090;  // its square root
inline constexpr int kMarkBits = 48;

// Of the block before its transform, and behind its run-length code.
constexpr int32_t BlockBytes(int level) { return 100000 * level; }
inline constexpr int32_t kLargestBlock = BlockBytes(9);

inline constexpr int32_t kLargestAlphabet = 258;

// A stream's CRC after one more block.
constexpr uint32_t CombinedCrc(uint32_t combined, uint32_t blockCrc) { return std::rotl(combined, 1) ^ blockCrc; }

// Exit statuses besides 0 and 1.
inline constexpr int kExitDamaged = 2;
inline constexpr int kExitInternal = 3;

// For calls that fail only if the program is wrong.
inline void Expect(zelStatus status, const char* function) {
  if (status == zelOk) return;
  throw example::Failure(std::string("internal error: ") + function + " answers " + std::to_string(status),
                         kExitInternal);
}

}  // namespace zelbzip2
