#include "zelstat/code_table.h"

#include <algorithm>
#include <array>

namespace zelstat {

namespace {

// How many codes there are of each length, longer ones counted as kLongestCode bits. `weights` are in ascending order,
// at least two.
using LengthCounts = std::array<int64_t, kLongestCode + 1>;

LengthCounts CountLengths(const std::vector<uint32_t>& weights) {
  // Huffman's algorithm with two queues: the leaves and, behind them, the inner nodes come about in ascending order.
  const size_t n = weights.size();
  std::vector<uint64_t> weight(weights.begin(), weights.end());
  std::vector<size_t> parent(2 * n - 1);
  size_t leaf = 0, inner = n;
  for (size_t node = n; node < 2 * n - 1; ++node) {
    uint64_t sum = 0;
    for (int child = 0; child < 2; ++child) {
      const bool takesLeaf = leaf < n && (inner == node || weight[leaf] <= weight[inner]);
      const size_t taken = takesLeaf ? leaf++ : inner++;
      sum += weight[taken];
      parent[taken] = node;
    }
    weight.push_back(sum);
  }
  LengthCounts counts = {};
  std::vector<int32_t> depth(2 * n - 1);
  for (size_t node = 2 * n - 2; node-- > 0;) {
    depth[node] = depth[parent[node]] + 1;
    if (node < n) ++counts[static_cast<size_t>(std::min(depth[node], kLongestCode))];
  }
  return counts;
}

// Cutting may have left more codes than there is room for. As long as that is so, a code of the greatest shorter length
// becomes one bit longer and gives away half of its room.
void MakeRoom(LengthCounts* counts) {
  constexpr size_t kLast = kLongestCode;
  int64_t taken = 0;
  for (size_t length = 1; length <= kLast; ++length) taken += (*counts)[length] << (kLast - length);
  while (taken > int64_t{1} << kLast) {
    size_t length = kLast - 1;
    while ((*counts)[length] == 0) --length;
    --(*counts)[length];
    ++(*counts)[length + 1];
    taken -= int64_t{1} << (kLast - length - 1);
  }
}

}  // namespace

std::vector<uint8_t> CodeLengths(const ValueCounts& counts) {
  std::vector<size_t> used;
  for (size_t v = 0; v < counts.size(); ++v) {
    if (counts[v] > 0) used.push_back(v);
  }
  std::vector<uint8_t> lengths(counts.size(), 0);
  if (used.size() == 1) lengths[used[0]] = 1;
  if (used.size() < 2) return lengths;

  std::stable_sort(used.begin(), used.end(), [&](size_t a, size_t b) { return counts[a] < counts[b]; });
  std::vector<uint32_t> weights;
  for (const size_t v : used) weights.push_back(counts[v]);
  LengthCounts ofLength = CountLengths(weights);
  MakeRoom(&ofLength);
  size_t next = 0;
  for (size_t length = kLongestCode; length > 0; --length) {
    for (int64_t k = 0; k < ofLength[length]; ++k) lengths[used[next++]] = static_cast<uint8_t>(length);
  }
  return lengths;
}

std::vector<zelVLCCode> CodeTable(const std::vector<uint8_t>& lengths) {
  std::vector<zelVLCCode> table;
  int32_t next = 0;
  for (int32_t length = 1; length <= kLongestCode; ++length) {
    next <<= 1;
    for (size_t v = 0; v < lengths.size(); ++v) {
      if (lengths[v] == length) table.push_back({static_cast<int32_t>(v) + kSmallestValue, next++, length});
    }
  }
  return table;
}

}  // namespace zelstat
