// Codes and selectors of a block, by iteration: each group takes the table that codes it in the fewest bits, then each
// table is made anew for the groups that have taken it.
//
// The time goes into the sums. A row of the cost matrix holds what a symbol costs in each of the six tables, ten bits
// a table in one 64-bit word: 50 symbols of at most 20 bits stay below 1024, so one addition a symbol sums all six.
// Counts are kept from pass to pass, since most groups stay with their table: only those that change it are recounted.

#include <string.h>

#include <algorithm>

#include "bzip2/group_cost.h"
#include "bzip2/huffman_encode_state.h"
#include "core/alloc.h"
#include "core/target.h"
#include "shared/code_lengths.h"
#include "shared/weight_sort.h"

using namespace zeldc;

namespace {

constexpr int kPasses = 5;

constexpr int NumTablesFor(int32_t srcLen) {
  return srcLen >= 2400 ? 6 : srcLen >= 1200 ? 5 : srcLen >= 600 ? 4 : srcLen >= 200 ? 3 : 2;
}

struct Symbols {
  // Two sets of counts, for the even and the odd symbols of a group: equal neighbours do not wait for each other.
  uint32_t counts[kMaxHuffTables][2][kMaxHuffSymbols];
  GroupCosts::Row costs[kMaxHuffSymbols];
};

// A function of its own: inlined, it makes the compiler keep all symbols of the group from their sum to here.
ZELDC_NOINLINE void CountGroup(uint32_t (*counts)[kMaxHuffSymbols], const uint16_t* group, int n, uint32_t by) {
  ForEachInGroup(n, [&](int i) ZELDC_LAMBDA_INLINE { counts[i % 2][group[i]] += by; });
}

// Chooses a group's table. In the first pass there was no choice before.
template <bool kFirst>
ZELDC_ALWAYS_INLINE void SelectForGroup(Symbols* s, const uint16_t* group, int n, uint8_t* selector) {
  const uint32_t table = GroupCosts::Cheapest(s->costs, group, n);
  if (!kFirst) {
    if (table == *selector) return;
    CountGroup(s->counts[*selector], group, n, ~0u);
  }
  CountGroup(s->counts[table], group, n, 1);
  *selector = static_cast<uint8_t>(table);
}

template <bool kFirst>
void SelectTables(Symbols* s, const uint16_t* src, int32_t srcLen, uint8_t* selectors) {
  for (; srcLen >= kGroupSize; srcLen -= kGroupSize, src += kGroupSize, ++selectors) {
    SelectForGroup<kFirst>(s, src, kGroupSize, selectors);
  }
  if (srcLen > 0) SelectForGroup<kFirst>(s, src, srcLen, selectors);
}

// There are at most 2^21 symbols in a block.
using WeightedSymbol = uint32_t;

// Code lengths for a table's counts. Symbols that do not occur count once, so that each has a code.
void MakeLengths(const uint32_t (*counts)[kMaxHuffSymbols], int n, uint8_t* lengths) {
  if (n == 1) {
    lengths[0] = 1;
    return;
  }
  WeightedSymbol symbols[kMaxHuffSymbols];
  for (int v = 0; v < n; ++v) {
    const uint32_t count = counts[0][v] + counts[1][v];
    symbols[v] = Weighted<WeightedSymbol>(count ? count : 1, v);
  }
  SortByWeight(symbols, n);
  uint32_t weights[kMaxHuffSymbols];
  for (int i = 0; i < n; ++i) weights[i] = WeightOf(symbols[i]);
  int count[kMaxCodeLimit + 1];
  CountCodeLengths(weights, n, kMaxWrittenLength, count);
  int i = 0;
  for (int length = kMaxWrittenLength; length > 0; --length) {
    for (int k = count[length]; k > 0; --k) lengths[SymbolOf(symbols[i++])] = static_cast<uint8_t>(length);
  }
}

void MakeCosts(const zelBZ2HuffEncodeState* s, GroupCosts::Row* costs) {
  for (int v = 0; v < s->alphaSize; ++v) {
    uint8_t cost[kMaxHuffTables];
    for (int t = 0; t < kMaxHuffTables; ++t) cost[t] = t < s->numTables ? s->lengths[t][v] : kCostOfNoTable;
    costs[v] = GroupCosts::MakeRow(cost);
  }
}

// The first costs: each table takes an equal share of the symbols' range for nothing, and the rest for 15 bits each. An
// answer of false means that the frequencies, which are more than the source has symbols, would need more tables.
bool ShareOutRange(const uint32_t* frequencies, int alphaSize, int32_t srcLen, int numTables, GroupCosts::Row* costs) {
  const uint64_t step = static_cast<uint64_t>((srcLen + 4024) / numTables);
  uint64_t threshold = step, sum = 0;
  int table = 0;
  for (int v = 0; v < alphaSize; ++v) {
    if (table == numTables) return false;
    uint8_t cost[kMaxHuffTables];
    for (int t = 0; t < kMaxHuffTables; ++t) cost[t] = t == table ? 0 : t < numTables ? 15 : kCostOfNoTable;
    costs[v] = GroupCosts::MakeRow(cost);
    sum += frequencies[v];
    if (sum > threshold) {
      ++table;
      threshold += step;
    }
  }
  return true;
}

void MakeCodes(zelBZ2HuffEncodeState* s) {
  for (int t = 0; t < s->numTables; ++t) {
    uint32_t count[kMaxWrittenLength + 1] = {};
    uint32_t next[kMaxWrittenLength + 1];
    for (int v = 0; v < s->alphaSize; ++v) ++count[s->lengths[t][v]];
    FirstCodes(count, kMaxWrittenLength, next);
    ZELDC_STEP_BY_STEP
    for (int v = 0; v < s->alphaSize; ++v) {
      const uint8_t length = s->lengths[t][v];
      s->codes[t][v] = JoinCode(next[length]++, length);
    }
  }
}

// Init for a record with room for `capacity` selectors.
zelStatus ownInitEncoder(int32_t alphaSize, const uint32_t* frequencies, const uint16_t* src, int32_t srcLen,
                         int32_t capacity, zelBZ2HuffEncodeState* state) {
  if (!frequencies || !src || !state) return zelErrNullPtr;
  if (alphaSize < 1 || srcLen < 1 || alphaSize > kMaxHuffSymbols || GroupsOf(srcLen) > capacity) return zelErrSize;
  if (!AllBelow(src, srcLen, alphaSize)) return zelErrBadArg;
  const int numTables = NumTablesFor(srcLen);
  Symbols symbols;
  if (!ShareOutRange(frequencies, alphaSize, srcLen, numTables, symbols.costs)) return zelErrBadArg;

  state->alphaSize = alphaSize;
  state->numSelectors = GroupsOf(srcLen);
  state->numTables = numTables;
  memset(symbols.counts, 0, sizeof(symbols.counts));
  for (int pass = 0; pass < kPasses; ++pass) {
    if (pass == 0) {
      SelectTables<true>(&symbols, src, srcLen, state->Selectors());
    } else {
      MakeCosts(state, symbols.costs);
      SelectTables<false>(&symbols, src, srcLen, state->Selectors());
    }
    for (int t = 0; t < numTables; ++t) MakeLengths(symbols.counts[t], alphaSize, state->lengths[t]);
  }
  MakeCodes(state);
  return zelOk;
}

}  // namespace

extern "C" {

zelStatus zelsEncodeHuffGetSize_BZ2_16u8u(int32_t maxSrcLen, int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  if (maxSrcLen < 1) return zelErrSize;
  *pSize = static_cast<int32_t>(sizeof(zelBZ2HuffEncodeState)) + 2 * GroupsOf(maxSrcLen);
  return zelOk;
}

zelStatus zelsEncodeHuffInitAlloc_BZ2_16u8u(int32_t maxSrcLen, int32_t alphaSize, const uint32_t* pFreqTable,
                                            const uint16_t* pSrc, int32_t srcLen, zelBZ2HuffEncodeState** ppState) {
  if (!ppState) return zelErrNullPtr;
  int32_t size = 0;
  const zelStatus status = zelsEncodeHuffGetSize_BZ2_16u8u(maxSrcLen, &size);
  if (status != zelOk) return status;
  *ppState = static_cast<zelBZ2HuffEncodeState*>(zelAllocState(size));
  const int32_t capacity = std::min(GroupsOf(maxSrcLen), kMaxSelectors);
  return ownInitEncoder(alphaSize, pFreqTable, pSrc, srcLen, capacity, *ppState);
}

zelStatus zelsEncodeHuffInit_BZ2_16u8u(int32_t alphaSize, const uint32_t* pFreqTable, const uint16_t* pSrc,
                                       int32_t srcLen, zelBZ2HuffEncodeState* pState) {
  return ownInitEncoder(alphaSize, pFreqTable, pSrc, srcLen, kMaxSelectors, pState);
}

}  // extern "C"
