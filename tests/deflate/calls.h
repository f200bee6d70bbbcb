// Single calls of the encoder on plain vectors, with guard pages around everything that a call may touch.
#pragma once

#include <stddef.h>

#include <string>

#include "deflate/block_parser.h"
#include "gtest/gtest.h"
#include "support/bytes.h"
#include "support/encode.h"
#include "zeldc.h"

namespace zeldc_test {

struct Searched {
  zelStatus status = zelOk;
  size_t consumed = 0;
  Pairs pairs;
};

// One call of the match search with room for `room` pairs.
Searched Search(zelLZ77State* record, const Bytes& input, zelLZ77FlushMode flush = zelLZ77FlushNone,
                size_t room = zelLZ77MaxPairs);

// All pairs of an input that the pairs array may hold, in calls of `piece` bytes with room for `room` pairs each.
Pairs SearchAll(zelLZ77State* record, const Bytes& input, size_t piece = SIZE_MAX, size_t room = SIZE_MAX);

struct Written {
  zelStatus status = zelOk;
  Bytes bytes;
  size_t left = 0;  // pairs or source bytes that the call did not take
};

using HuffmanWriter = decltype(&zelsEncodeLZ77FixedHuff_8u);

// One call of a Huffman block writer.
Written Write(HuffmanWriter writer, zelLZ77State* record, const Pairs& pairs, size_t room,
              zelLZ77FlushMode flush = zelLZ77FlushNone);
// The same after SetStatus(zelLZ77StatusCoding), with room enough, so that it is a whole block.
Written WriteWhole(HuffmanWriter writer, zelLZ77State* record, const Pairs& pairs,
                   zelLZ77FlushMode flush = zelLZ77FlushNone);

Written WriteStored(zelLZ77State* record, const Bytes& source, size_t room, zelLZ77FlushMode flush = zelLZ77FlushNone);

// One call of zelsEncodeLZ77Flush_8u.
Written WriteTrailer(zelLZ77State* record, size_t room);

inline void StartBlock(zelLZ77State* record) { zelsEncodeLZ77SetStatus_8u(zelLZ77StatusCoding, record); }

inline constexpr zelLZ77Level kLevels[] = {zelLZ77LevelFast, zelLZ77LevelNormal, zelLZ77LevelBest};

inline std::string LevelName(const testing::TestParamInfo<zelLZ77Level>& level) {
  constexpr const char* kNames[] = {"Fast", "Normal", "Best"};
  return kNames[level.param];
}

// Tells the record that a search with zelLZ77FlushFinal has consumed all input, so that the next block can be the last.
inline void EndInput(zelLZ77State* record) { Search(record, {}, zelLZ77FlushFinal); }

}  // namespace zeldc_test
