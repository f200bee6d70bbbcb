// The families of encoders, each of which puts all that it writes for the fixed inputs into a run's digest.
#pragma once

#include "run.h"

namespace zeldc_digest {

void DigestChecksums(Run& run);
void DigestRunLength(Run& run);
void DigestMoveToFront(Run& run);
void DigestBurrowsWheeler(Run& run);
void DigestBzip2Huffman(Run& run);
void DigestDeflate(Run& run);
void DigestOneCallDeflate(Run& run);
void DigestHuffman(Run& run);
void DigestIntervals(Run& run);
void DigestVariableLength(Run& run);
void DigestLzss(Run& run);
void DigestLzo(Run& run);
void DigestParallelLzo(Run& run);
void DigestReduction(Run& run);

struct Family {
  const char* name;
  void (*digest)(Run& run);
  int32_t threads;  // the number that the output names and depends on; 0 for none
};

inline constexpr Family kFamilies[] = {
    {"checksum", DigestChecksums, 0},
    {"bzip2-run-length", DigestRunLength, 0},
    {"bzip2-move-to-front", DigestMoveToFront, 0},
    {"bzip2-burrows-wheeler", DigestBurrowsWheeler, 0},
    {"bzip2-huffman", DigestBzip2Huffman, 0},
    {"deflate", DigestDeflate, 0},
    {"deflate-one-call", DigestOneCallDeflate, 0},
    {"huffman", DigestHuffman, 0},
    {"interval", DigestIntervals, 0},
    {"variable-length", DigestVariableLength, 0},
    {"lzss", DigestLzss, 0},
    {"lzo", DigestLzo, 0},
    {"lzo-parallel-1", DigestParallelLzo, 1},
    {"lzo-parallel-2", DigestParallelLzo, 2},
    {"lzo-parallel-3", DigestParallelLzo, 3},
    {"lzo-parallel-8", DigestParallelLzo, 8},
    {"dictionary-reduction", DigestReduction, 0},
};

}  // namespace zeldc_digest
