// Valid streams of random blocks, codes and symbols: most of what an encoder might write, and much that none does.
#pragma once

#include "inflate/stream_builder.h"
#include "support/data.h"

namespace zeldc_test {

// A complete code for `used` of `count` symbols, with lengths up to 15 and often very uneven ones. `must` is among the
// used. With one used symbol its code has one bit, and one is left over.
Lengths RandomCode(Random& random, size_t count, size_t used, size_t must);

// A stream of up to `blocks` blocks that makes at least one byte; `symbols` is about what a Huffman block has at most.
StreamBuilder RandomStream(uint64_t seed, size_t blocks = 6, size_t symbols = 300, const Bytes& dictionary = {});

}  // namespace zeldc_test
