// Huffman's algorithm over sorted frequencies, with a length limit.
//
// With the symbols in the order of frequency, the tree's inner nodes come about in the order of frequency too, so two
// queues serve in place of a heap. Only the depth of each leaf matters. When a leaf lies too deep, the number of leaves
// at each depth is repaired to the nearest that obey the limit, and the depths are dealt out again, the deepest to the
// rarest symbols.

#include "shared/code_lengths.h"

#include <algorithm>

#include "core/assert.h"

namespace zeldc {

namespace {

// A used symbol: its frequency above its number, so that leaves in numeric order are in the order of frequency.
using Leaf = uint64_t;
constexpr Leaf MakeLeaf(uint32_t frequency, int symbol) { return Leaf{frequency} << 16 | static_cast<Leaf>(symbol); }
constexpr uint32_t FrequencyOf(Leaf leaf) { return static_cast<uint32_t>(leaf >> 16); }
constexpr int SymbolOf(Leaf leaf) { return static_cast<int>(leaf & 0xFFFF); }

}  // namespace

void CountCodeLengths(const uint32_t* weights, int n, int limit, int* count) {
  ZELDC_ASSERT(2 <= n && n <= kMaxCodeSymbols && n <= int64_t{1} << limit);
  // Nodes 0 .. n-1 are the leaves, n .. 2n-2 the inner nodes as they come about.
  uint32_t weight[2 * kMaxCodeSymbols];
  uint16_t parent[2 * kMaxCodeSymbols];
  for (int i = 0; i < n; ++i) weight[i] = weights[i];
  std::fill_n(count, limit + 1, 0);
  int leaf = 0;
  int inner = n;
  for (int node = n; node < 2 * n - 1; ++node) {
    uint32_t sum = 0;
    for (int child = 0; child < 2; ++child) {
      const bool takeLeaf = leaf < n && (inner == node || weight[leaf] <= weight[inner]);
      const int taken = takeLeaf ? leaf++ : inner++;
      sum += weight[taken];
      parent[taken] = static_cast<uint16_t>(node);
    }
    weight[node] = sum;
  }

  // Depths from the root down; over-long ones are counted at the limit.
  uint16_t depth[2 * kMaxCodeSymbols];
  depth[2 * n - 2] = 0;
  int over = 0;
  for (int node = 2 * n - 3; node >= 0; --node) {
    int d = depth[parent[node]] + 1;
    if (d > limit) {
      d = limit;
      ++over;
    }
    depth[node] = static_cast<uint16_t>(d);
    if (node < n) ++count[d];
  }

  // Cutting made the code over-full. Two cut nodes fit in again when a leaf above the limit moves one level down and
  // one leaf of the deepest level becomes its sibling.
  for (; over > 0; over -= 2) {
    int d = limit - 1;
    while (count[d] == 0) --d;
    --count[d];
    count[d + 1] += 2;
    --count[limit];
  }
}

void BuildCodeLengths(const uint32_t* frequencies, int symbols, int limit, uint8_t* lengths) {
  ZELDC_ASSERT(2 <= symbols && symbols <= kMaxCodeSymbols && limit <= kMaxCodeLimit);
  Leaf leaves[kMaxCodeSymbols];
  int n = 0;
  for (int i = 0; i < symbols; ++i) {
    lengths[i] = 0;
    leaves[n] = MakeLeaf(frequencies[i], i);
    n += frequencies[i] != 0;
  }
  for (int i = 0; n < 2; ++i) {
    if (!frequencies[i]) leaves[n++] = MakeLeaf(1, i);
  }
  std::sort(leaves, leaves + n);

  uint32_t weights[kMaxCodeSymbols];
  for (int k = 0; k < n; ++k) weights[k] = FrequencyOf(leaves[k]);
  int count[kMaxCodeLimit + 1];
  CountCodeLengths(weights, n, limit, count);
  int i = 0;
  for (int length = limit; length > 0; --length) {
    for (int k = count[length]; k > 0; --k) lengths[SymbolOf(leaves[i++])] = static_cast<uint8_t>(length);
  }
}

}  // namespace zeldc
