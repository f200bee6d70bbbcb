#include "zelzlib/code_lengths.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <utility>

namespace zelzlib {

namespace {

constexpr size_t kMaxLength = 15;

// The depth of each symbol in a Huffman tree; 0 for those of weight 0. At least two have another.
std::vector<size_t> Depths(const std::vector<uint64_t>& weights) {
  // Nodes by weight. A node's number grows with its age, so the tree does not depend on the queue's taste.
  using Node = std::pair<uint64_t, size_t>;
  std::priority_queue<Node, std::vector<Node>, std::greater<>> queue;
  for (size_t i = 0; i < weights.size(); ++i) {
    if (weights[i] > 0) queue.emplace(weights[i], i);
  }
  std::vector<size_t> parents(2 * weights.size(), 0);
  size_t next = weights.size();
  while (queue.size() > 1) {
    uint64_t sum = 0;
    for (int child = 0; child < 2; ++child) {
      sum += queue.top().first;
      parents[queue.top().second] = next;
      queue.pop();
    }
    queue.emplace(sum, next++);
  }
  std::vector<size_t> depths(next, 0);
  for (size_t i = next - 1; i-- > 0;) {
    if (parents[i] > 0) depths[i] = depths[parents[i]] + 1;
  }
  depths.resize(weights.size());
  return depths;
}

}  // namespace

std::vector<uint8_t> MakeCodeLengths(std::span<const int32_t> frequencies, int limit) {
  std::vector<uint64_t> weights(frequencies.begin(), frequencies.end());
  const auto isUsed = [](uint64_t weight) { return weight > 0; };
  for (uint64_t& weight : weights) {
    if (std::count_if(weights.begin(), weights.end(), isUsed) >= 2) break;
    if (weight == 0) weight = 1;
  }
  // Where the tree is too deep, weights that lie closer together make a flatter one; with equal weights it is flat.
  std::vector<size_t> depths = Depths(weights);
  while (*std::max_element(depths.begin(), depths.end()) > static_cast<size_t>(limit)) {
    for (uint64_t& weight : weights) weight = (weight + 1) / 2;
    depths = Depths(weights);
  }
  std::vector<uint8_t> lengths;
  for (const size_t depth : depths) lengths.push_back(static_cast<uint8_t>(depth));
  return lengths;
}

std::vector<zelDeflateHuffCode> MakeCode(std::span<const uint8_t> lengths) {
  std::vector<zelDeflateHuffCode> codes(lengths.size());
  uint32_t code = 0;
  for (size_t length = 1; length <= kMaxLength; ++length, code <<= 1) {
    for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
      if (lengths[symbol] != length) continue;
      uint32_t reversed = 0;
      for (size_t i = 0; i < length; ++i) reversed |= (code >> i & 1) << (length - 1 - i);
      codes[symbol] = {static_cast<uint16_t>(reversed), static_cast<uint16_t>(length)};
      ++code;
    }
  }
  return codes;
}

}  // namespace zelzlib
