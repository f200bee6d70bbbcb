// Symbols in the order of their weights, for Huffman's algorithm.
#pragma once

#include <stdint.h>
#include <string.h>

#include <utility>

#include "core/assert.h"

namespace zeldc {

// A weight above its symbol's number, which takes 9 bits. In a word of 32 bits weights stay below 2^23.
template <typename Word>
constexpr Word Weighted(uint32_t weight, int symbol) {
  return Word{weight} << 9 | static_cast<Word>(symbol);
}
template <typename Word>
constexpr uint32_t WeightOf(Word w) {
  return static_cast<uint32_t>(w >> 9);
}
template <typename Word>
constexpr int SymbolOf(Word w) {
  return static_cast<int>(w & 511);
}

// Sorts n symbols, at most 512, by ascending weight. Equal weights keep the order in which they come, except in small
// alphabets, where they come in the order of a plain selection sort from the end.
template <typename Word>
void SortByWeight(Word* symbols, int n) {
  ZELDC_ASSERT(n <= 512);
  if (n <= 9) {
    for (int end = n - 1; end > 0; --end) {
      int heaviest = 0;
      for (int i = 1; i <= end; ++i) {
        if (WeightOf(symbols[i]) > WeightOf(symbols[heaviest])) heaviest = i;
      }
      std::swap(symbols[heaviest], symbols[end]);
    }
    return;
  }
  // By digits of eight bits, the lowest first.
  Word all = 0;
  for (int i = 0; i < n; ++i) all |= symbols[i];
  Word other[512];
  for (uint32_t shift = 9; shift < 8 * sizeof(Word) && all >> shift != 0; shift += 8) {
    uint16_t places[256] = {};
    for (int i = 0; i < n; ++i) ++places[symbols[i] >> shift & 255];
    uint16_t place = 0;
    for (uint16_t& p : places) place = static_cast<uint16_t>(place + std::exchange(p, place));
    for (int i = 0; i < n; ++i) other[places[symbols[i] >> shift & 255]++] = symbols[i];
    memcpy(symbols, other, sizeof(*symbols) * static_cast<size_t>(n));
  }
}

}  // namespace zeldc
