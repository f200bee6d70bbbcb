// The one-call decoder as a caller drives it, who reads the block structure: with any split of input and room, history
// in the window or before the output, and any number of bits held back in the bit buffer.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "support/bytes.h"
#include "support/data.h"
#include "zeldc.h"

namespace zeldc_test {

// Where the history is at a call.
enum class History {
  kOutput,  // all before *ppDst
  kWindow,  // all in the window, as far as there is any
  kMixed,   // some in either, at random
};

struct OneCallOptions {
  // What one call gets at most: bytes of input, bytes of room.
  size_t source_piece = SIZE_MAX;
  size_t room = SIZE_MAX;
  uint64_t seed = 1;
  bool random = false;  // pieces and rooms are random, from 0 to the numbers above
  History history = History::kOutput;
  size_t held_bytes = 0;  // whole bytes of input that are in the bit buffer at most before a call
  size_t max_output = size_t{1} << 20;
  Bytes dictionary;
};

struct OneCallResult {
  // zelOk at the end of the last block; zelWarnSrcShort when the stream breaks off; zelWarnDstFull when it makes
  // max_output bytes or more; zelErrBadData when the library or the caller's part meets malformed data.
  zelStatus status = zelOk;
  Bytes data;
  size_t consumed = 0;  // input bytes taken
  size_t calls = 0;
  bool lacks_distances = false;    // ended at a block without a distance code, which others accept
  std::vector<uint32_t> forms;     // tableForm of each Huffman block
  std::vector<uint32_t> suspends;  // how often a call stopped in each resume state, by number
};

// Decodes a raw Deflate stream. Every call of the library gets buffers of its own that end at guard pages, and its
// results are held against BlockModel: what does not agree throws std::runtime_error.
OneCallResult DecodeOneCall(const Bytes& stream, const OneCallOptions& options = {});

// The splits that tests try.
std::vector<OneCallOptions> OneCallSplits(uint64_t seed = 1);

// A record of random content with an empty window.
zelInflateState RandomRecord(Random& random);

}  // namespace zeldc_test
