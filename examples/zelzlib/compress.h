// Compressing with the library's one-call helpers: what is left to do for their caller.
#pragma once

#include <cstdint>
#include <vector>

#include "common/file_streams.h"

namespace zelzlib {

// Compresses the input to a zlib stream. Matches reach back up to 2^windowBits - 1 bytes, into the dictionary, too,
// which may be empty.
void Compress(example::Input& input, int level, int windowBits, const std::vector<uint8_t>& dictionary,
              example::Output& output);

}  // namespace zelzlib
