// bzip2 files as libbz2 writes and reads them, and as nobody writes them.
#pragma once

#include <stdint.h>

#include <vector>

#include "gtest/gtest.h"
#include "support/bytes.h"

namespace zeldc_test {

// One stream by libbz2.
Bytes Bzip2File(const Bytes& data, int level = 9);

// What libbz2 makes of a file's first stream, up to what it complains about.
struct Bunzipped {
  bool complete = false;
  Bytes data;
  size_t consumed = 0;
};
Bunzipped BunzipStream(const Bytes& file);

// libbz2 reads the file, which may be several streams, to its last byte and finds `expected`.
testing::AssertionResult BunzipsTo(const Bytes& file, const Bytes& expected);

// The same stream with its first block marked as randomised; nothing else is changed.
Bytes MarkedAsRandomised(Bytes file);

// A stream of one randomised block. The data must fit into it and have no runs.
Bytes RandomisedFile(const Bytes& data);

// A stream of blocks made of symbols. They are written with eight bits each, as their number says, so that any bits can
// stand within a block: symbols are at least 2, so that there are no runs of zeros, and less than 254.
Bytes FileOfSymbols(const std::vector<Bytes>& blocks);

}  // namespace zeldc_test
