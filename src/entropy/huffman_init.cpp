// Codes from frequencies and from lengths, and the records that hold them.

#include <string.h>

#include "core/alloc.h"
#include "entropy/huffman_state.h"
#include "shared/code_lengths.h"
#include "shared/weight_sort.h"

using namespace zeldc;

namespace {

constexpr int32_t kStateSize = static_cast<int32_t>(sizeof(zelHuffState));

using Lengths = uint8_t[kHuffSymbols];

zelStatus MakeLengths(const int32_t* frequencies, Lengths& lengths) {
  using WeightedSymbol = uint64_t;
  WeightedSymbol symbols[kHuffSymbols];
  int n = 0;
  int64_t sum = 0;
  for (int v = 0; v < kHuffSymbols; ++v) {
    lengths[v] = 0;
    if (frequencies[v] < 0) return zelErrHuffFreq;
    sum += frequencies[v];
    if (frequencies[v] > 0) symbols[n++] = Weighted<WeightedSymbol>(static_cast<uint32_t>(frequencies[v]), v);
  }
  if (n == 0 || sum > INT32_MAX) return zelErrHuffFreq;
  if (n == 1) {
    lengths[SymbolOf(symbols[0])] = 1;
    return zelOk;
  }

  SortByWeight(symbols, n);
  uint32_t weights[kHuffSymbols];
  for (int i = 0; i < n; ++i) weights[i] = WeightOf(symbols[i]);
  int count[kDeepestCode + 1];
  CountCodeLengths(weights, n, kDeepestCode, count);
  for (int length = kLongestHuffCode + 1; length <= kDeepestCode; ++length) {
    if (count[length] > 0) return zelErrHuffCodeLen;
  }
  int i = 0;
  for (int length = kLongestHuffCode; length > 0; --length) {
    for (int k = count[length]; k > 0; --k) lengths[SymbolOf(symbols[i++])] = static_cast<uint8_t>(length);
  }
  return zelOk;
}

// How many codes there are of each length, and their first ones: the longest begin with 0. And which symbols have one:
// few, as a rule, and one without would wait for the one before it to be counted.
struct Layout {
  uint32_t count[kLongestHuffCode + 1];
  uint32_t first[kLongestHuffCode + 1];
  uint64_t space;  // that the codes take, of 2^32
  int maxLen;      // 0: there are no codes
  int used;
  uint8_t symbols[kHuffSymbols];  // the first `used`
};

Layout LayOut(const Lengths& lengths) {
  Layout layout = {};
  for (int v = 0; v < kHuffSymbols; ++v) {
    layout.symbols[layout.used] = static_cast<uint8_t>(v);
    layout.used += lengths[v] != 0;
  }
  for (int k = 0; k < layout.used; ++k) ++layout.count[lengths[layout.symbols[k]]];
  layout.maxLen = kLongestHuffCode;
  while (layout.maxLen > 0 && layout.count[layout.maxLen] == 0) --layout.maxLen;
  for (int length = 1; length <= layout.maxLen; ++length) {
    layout.space += uint64_t{layout.count[length]} << (32 - length);
  }
  for (int length = layout.maxLen; length > 1; --length) {
    layout.first[length - 1] = (layout.first[length] + layout.count[length]) >> 1;
  }
  return layout;
}

// The part that encoders and decoders have in common. Of each length the highest byte has the first code.
void MakeCodes(const Lengths& lengths, const Layout& layout, zelHuffState* s) {
  uint32_t next[kLongestHuffCode + 1];
  memcpy(next, layout.first, sizeof(next));
  memset(s->codes, 0, sizeof(s->codes));
  for (int k = layout.used - 1; k >= 0; --k) {
    const uint8_t v = layout.symbols[k];
    s->codes[v] = JoinCode(next[lengths[v]]++, lengths[v]);
  }
  s->accumulator = 0;
  s->bitCount = 0;
  s->SetZeroCount(0);
  s->maxLen = layout.maxLen;
  s->minLen = 0;
  s->isDecoder = 0;
  s->isComplete = 0;
  s->zeroSymbol = 0;
}

void MakeDecodeTables(const Lengths& lengths, const Layout& layout, zelHuffState* s) {
  HuffDecodeTables& t = s->tables;
  s->isDecoder = 1;
  if (layout.maxLen == 0) return;

  uint32_t place[kLongestHuffCode + 1];
  uint32_t places = 0;
  for (int length = layout.maxLen; length > 0; --length) {
    const uint32_t n = layout.count[length];
    place[length] = places;
    t.firstCode[length] = static_cast<uint32_t>(uint64_t{layout.first[length]} << (32 - length));
    t.firstPlace[length] = static_cast<uint8_t>(places);
    t.lastPlace[length] = static_cast<uint8_t>(places + (n ? n - 1 : 0));
    places += n;
    if (n > 0) s->minLen = length;
  }
  for (int k = layout.used - 1; k >= 0; --k) {
    const uint8_t v = layout.symbols[k];
    t.symbols[place[lengths[v]]++] = v;
  }
  s->zeroSymbol = t.symbols[0];
  s->isComplete = layout.space == uint64_t{1} << 32;
  if (!s->isComplete) return;

  // Symbols in the order of their codes fill the table from its start, behind the longer codes.
  constexpr int kBits = HuffDecodeTables::kFastBits;
  uint32_t at = 0;
  for (uint32_t p = 0; p < places; ++p) {
    const ShortCode code = s->codes[t.symbols[p]];
    const int length = static_cast<int>(LengthOf(code));
    if (length > kBits) continue;
    const uint32_t begin = CodeOf(code) << (kBits - length);
    while (at < begin) t.fast[at++] = 0;
    const uint32_t end = begin + (1u << (kBits - length));
    const uint16_t entry = static_cast<uint16_t>(t.symbols[p] << 8 | length);
    while (at < end) t.fast[at++] = entry;
  }
}

// False for lengths that are none.
bool ReadLengths(const int32_t* table, Lengths& lengths) {
  bool good = true;
  for (int v = 0; v < kHuffSymbols; ++v) {
    good &= static_cast<uint32_t>(table[v]) <= kLongestHuffCode;
    lengths[v] = static_cast<uint8_t>(table[v]);
  }
  return good;
}

}  // namespace

extern "C" {

zelStatus zelsHuffGetSize_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = kStateSize;
  return zelOk;
}

zelStatus zelsEncodeHuffInit_8u(const int32_t* pFreqTable, zelHuffState* pState) {
  if (!pFreqTable || !pState) return zelErrNullPtr;
  Lengths lengths;
  const zelStatus status = MakeLengths(pFreqTable, lengths);
  if (status != zelOk) return status;
  MakeCodes(lengths, LayOut(lengths), pState);
  return zelOk;
}

zelStatus zelsEncodeHuffInitAlloc_8u(const int32_t* pFreqTable, zelHuffState** ppState) {
  if (!ppState) return zelErrNullPtr;
  *ppState = static_cast<zelHuffState*>(zelAllocState(kStateSize));
  return zelsEncodeHuffInit_8u(pFreqTable, *ppState);
}

zelStatus zelsDecodeHuffInit_8u(const int32_t* pCodeLenTable, zelHuffState* pState) {
  if (!pCodeLenTable || !pState) return zelErrNullPtr;
  Lengths lengths;
  if (!ReadLengths(pCodeLenTable, lengths)) return zelErrHuffLenTable;
  const Layout layout = LayOut(lengths);
  if (layout.space > uint64_t{1} << 32) return zelErrHuffLenTable;
  MakeCodes(lengths, layout, pState);
  MakeDecodeTables(lengths, layout, pState);
  return zelOk;
}

zelStatus zelsDecodeHuffInitAlloc_8u(const int32_t* pCodeLenTable, zelHuffState** ppState) {
  if (!pCodeLenTable || !ppState) return zelErrNullPtr;
  *ppState = static_cast<zelHuffState*>(zelAllocState(kStateSize));
  return zelsDecodeHuffInit_8u(pCodeLenTable, *ppState);
}

zelStatus zelsHuffGetLenCodeTable_8u(const zelHuffState* pState, int32_t* pCodeLenTable) {
  if (!pState || !pCodeLenTable) return zelErrNullPtr;
  for (int v = 0; v < kHuffSymbols; ++v) pCodeLenTable[v] = static_cast<int32_t>(LengthOf(pState->codes[v]));
  return zelOk;
}

}  // extern "C"
