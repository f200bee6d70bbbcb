// The record of the bzip2 Huffman encoder.
#pragma once

#include <stdint.h>

#include "bzip2/huffman_format.h"
#include "zeldc/bzip2_huffman.h"

namespace zeldc {

// A code with its length in one word: the code, right-aligned, from bit 8 upward, its length below.
using JoinedCode = uint32_t;
constexpr JoinedCode JoinCode(uint32_t code, uint32_t length) { return code << 8 | length; }
constexpr uint32_t CodeOf(JoinedCode joined) { return joined >> 8; }
constexpr uint32_t LengthOf(JoinedCode joined) { return joined & 0xFF; }

// Whether all symbols are below the bound, of which there is at least 1.
inline bool AllBelow(const uint16_t* src, int32_t srcLen, int32_t bound) {
  uint16_t most = 0;
  for (int32_t i = 0; i < srcLen; ++i) most = src[i] > most ? src[i] : most;
  return most < bound;
}

}  // namespace zeldc

struct zelBZ2HuffEncodeState {
  int32_t alphaSize;
  int32_t numSelectors;
  int32_t numTables;
  int32_t unused[3];
  zeldc::JoinedCode codes[zeldc::kMaxHuffTables][zeldc::kMaxHuffSymbols];
  uint8_t lengths[zeldc::kMaxHuffTables][zeldc::kMaxHuffSymbols];

  // The table of each group, right behind this struct. The size leaves as many bytes again, which nobody needs.
  uint8_t* Selectors() { return reinterpret_cast<uint8_t*>(this + 1); }
};
static_assert(sizeof(zelBZ2HuffEncodeState) == 7764 && alignof(zelBZ2HuffEncodeState) == 4);
