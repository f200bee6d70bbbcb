// Compressing: a stream's blocks, filled one after the other, coded side by side, written in their order.
#pragma once

#include "common/file_streams.h"

namespace zelbzip2 {

// Writes the whole input as one stream and flushes the output. level: 1 to 9, hundreds of thousands of bytes a block.
// The output does not depend on the number of threads.
void Compress(example::Input& input, int level, unsigned threads, example::Output& output);

}  // namespace zelbzip2
