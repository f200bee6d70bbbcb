// Files of --parallel, which only this program reads. The library compresses a frame with all processors, into a
// container of as many LZO streams.
//
//   9 bytes  89 5A 4C 5A 4F 0D 0A 1A 0A
//   1        version: 1
//   frames:
//     4 bytes  size of the data, at least 1; 0 ends the file
//     4        size of what it is compressed to; the same as the data's: the data stands there as it is
//     4        CRC-32 of the data
//     n        the compressed data
//
// All numbers have the most significant byte first.
#pragma once

#include "common/file_streams.h"
#include "zellzop/blocks.h"

namespace zellzop {

inline constexpr const char* kParallelSuffix = ".zlzo";
extern const uint8_t kParallelMagic[kMagicBytes];

// Compresses the whole input.
void CompressParallel(example::Input& input, example::Output& output);

// Reads what follows the magic bytes. Damage is a Failure that names the file; what was good before it is in the
// output, which is flushed.
BlockSums ReadParallel(example::InputCursor& input, Blocks what, example::Output& output);

}  // namespace zellzop
