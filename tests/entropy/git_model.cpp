#include "entropy/git_model.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zeldc_test {
namespace {

constexpr int kRightEnd = 510;  // the leaf

// The positions of the row are the leaves 255 to 510 of a complete binary tree.
struct Row {
  std::array<uint32_t, 511> snapshot{};
  std::array<uint32_t, 511> count{};
  std::array<uint8_t, 256> byte{};          // of each position
  std::array<uint32_t, 256> occurrences{};  // of the byte at each position
  std::array<int, 256> rank{};              // the leaf of each byte

  Row() {
    for (int j = 0; j < 256; ++j) {
      byte[j] = static_cast<uint8_t>(255 - j);
      rank[255 - j] = 255 + j;
    }
  }

  uint32_t RightCount(int node) const {
    uint32_t sum = 0;
    for (; node > 0; node = (node - 1) / 2) {
      const int parent = (node - 1) / 2;
      if (node == 2 * parent + 1) sum += count[2 * parent + 2];
    }
    return sum;
  }

  void Count(int leaf) {
    ++occurrences[leaf - 255];
    for (int node = leaf;; node = (node - 1) / 2) {
      ++count[node];
      if (node == 0) break;
    }
  }

  // The byte occurs; returns its interval.
  uint32_t See(uint8_t b) {
    const int leaf = rank[b];
    Count(leaf);
    const uint32_t right = RightCount(leaf);
    if (leaf == kRightEnd) return 0;
    return right - std::exchange(snapshot[leaf], right);
  }

  void Exchange(int a, int b) {
    std::swap(byte[a - 255], byte[b - 255]);
    std::swap(occurrences[a - 255], occurrences[b - 255]);
    std::swap(rank[byte[a - 255]], rank[byte[b - 255]]);
  }

  void Reorder(int leaf, int strategy) {
    if (strategy == 2 && leaf <= 508 && occurrences[leaf - 255] > occurrences[leaf - 254]) {
      snapshot[leaf] = snapshot[leaf + 1] + count[leaf + 1];
      snapshot[leaf + 1] = RightCount(leaf + 1);
      Exchange(leaf, leaf + 1);
    }
    if (strategy == 1 && leaf >= 256 && leaf <= 509 && occurrences[leaf - 255] > occurrences[leaf - 256]) {
      snapshot[leaf] = snapshot[leaf - 1] - count[leaf];
      snapshot[leaf - 1] = RightCount(leaf - 1);
      Exchange(leaf - 1, leaf);
    }
  }
};

void PutOnes(uint64_t n, Bits* bits) { bits->insert(bits->end(), static_cast<size_t>(n), true); }

void PutLow(uint64_t value, uint64_t n, Bits* bits) {
  for (uint64_t i = n; i-- > 0;) bits->push_back(i < 64 && (value >> i & 1) != 0);
}

}  // namespace

void PlainGitStatistics::Update(uint64_t interval) {
  if (counter >= 8) {
    sum /= 2;
    count /= 2;
    counter = 0;
  }
  counter += 1;
  sum += interval;
  count += 1;
  k = 0;
  while (count << k < sum) ++k;
  if (k < 1) k = 1;
}

void PlainGitPut(uint64_t interval, PlainGitStatistics* statistics, Bits* bits) {
  const uint64_t k = statistics->k;
  const uint64_t quotient = interval >> k;
  if (quotient < 8) {
    PutOnes(quotient, bits);
    bits->push_back(false);
    PutLow(interval, k, bits);
    statistics->Update(interval);
    return;
  }
  PutOnes(8, bits);
  uint64_t m = k;
  uint64_t v = interval;
  for (;;) {
    v -= uint64_t{8} << m;
    m *= 2;
    if (v >> m < 8) break;
    bits->push_back(true);
  }
  bits->push_back(false);
  PutOnes(v >> m, bits);
  bits->push_back(false);
  PutLow(v, m, bits);
}

Bytes PlainGitStream(const Bits& bits, size_t capacity) {
  Bits filled = bits;
  filled.push_back(true);
  while (filled.size() % 8 != 0) filled.push_back(true);
  Bytes stream;
  for (size_t i = 0; i < filled.size(); i += 8) {
    unsigned byte = 0;
    for (size_t j = 0; j < 8; ++j) byte = 2 * byte + (filled[i + j] ? 1u : 0u);
    stream.push_back(static_cast<uint8_t>(byte));
  }
  stream.resize(std::min(stream.size(), capacity));
  return stream;
}

bool PlainGitGet(const Bits& bits, size_t* at, PlainGitStatistics* statistics, uint64_t* interval) {
  // Larger numbers than this are of no interest, and no sum may pass 64 bits.
  constexpr uint64_t kHuge = uint64_t{1} << 40;
  bool ran_out = false;
  const auto get = [&] {
    if (*at < bits.size()) return static_cast<bool>(bits[(*at)++]);
    ran_out = true;
    return false;
  };
  uint64_t ones = 0;
  while (ones < 8 && get()) ++ones;
  uint64_t m = statistics->k;
  uint64_t sum = 0;
  const bool escaped = ones == 8;
  if (escaped) {
    do {
      if (m >= 37) return false;
      sum += uint64_t{8} << m;
      m *= 2;
    } while (get());
    ones = 0;
    while (get()) ++ones;
  }
  uint64_t low = 0;
  for (uint64_t i = 0; i < m; ++i) {
    low = 2 * low + (get() ? 1 : 0);
    if (low >= kHuge) return false;
  }
  if (ran_out || (m >= 40 && ones > 0) || (m < 40 && ones >= kHuge >> m)) return false;
  *interval = sum + (m < 40 ? ones << m : 0) + low;
  if (!escaped) statistics->Update(*interval);
  return *interval < uint64_t{1} << 32;
}

Bytes PlainGitEncode(const Bytes& block, int strategy) {
  Row row;
  std::array<PlainGitStatistics, 256> statistics;
  std::array<Bits, 256> streams;
  if (strategy == 0) strategy = 1;
  const auto see = [&](uint8_t byte) {
    const bool is_coded = row.rank[byte] != kRightEnd;
    const uint32_t interval = row.See(byte);
    if (is_coded) PlainGitPut(interval, &statistics[255 - byte], &streams[255 - byte]);
  };
  if (strategy != 3) {
    for (int j = 255; j >= 0; --j) see(row.byte[j]);
  }
  for (uint8_t byte : block) {
    const int leaf = row.rank[byte];
    see(byte);
    row.Reorder(leaf, strategy);
  }
  PlainGitPut(row.count[kRightEnd], &statistics[255], &streams[255]);

  std::vector<Bytes> finished;
  for (const Bits& bits : streams) finished.push_back(PlainGitStream(bits));
  return GitContainer(finished);
}

PlainGitDecoded PlainGitDecode(const Bytes& container, int strategy, size_t max_size) {
  Row row;
  std::array<PlainGitStatistics, 256> statistics;
  std::array<Bits, 256> streams;
  std::array<size_t, 256> at{};
  std::array<uint64_t, 256> interval{};
  std::array<bool, 256> goes_on{};
  if (strategy == 0) strategy = 1;

  size_t read = 0;
  for (size_t s = 0; s < 256; ++s) {
    uint64_t size = 0;
    if (container.size() - read >= 4) {
      for (int i = 0; i < 4; ++i) size = size << 8 | container[read++];
    } else {
      read = container.size();
    }
    for (; size > 0 && read < container.size(); --size) PutLow(container[read++], 8, &streams[s]);
    goes_on[s] = PlainGitGet(streams[s], &at[s], &statistics[s], &interval[s]);
  }

  PlainGitDecoded result;
  size_t primed = strategy == 3 ? 0 : 256;
  for (;;) {
    // From the left end on: right of a leaf is everything but what is up to it.
    int leaf = 255;
    uint32_t right = row.count[0];
    for (; leaf < kRightEnd; ++leaf) {
      right -= row.count[leaf];
      const size_t s = 255u - row.byte[leaf - 255];
      if (goes_on[s] && right - row.snapshot[leaf] == interval[s]) break;
    }
    if (leaf == kRightEnd) {
      if (!goes_on[255] || interval[255] == 0) break;
      --interval[255];
    }
    const uint8_t byte = row.byte[leaf - 255];
    if (primed == 0 && result.block.size() == max_size) {
      result.too_long = true;
      break;
    }
    row.See(byte);
    if (primed == 0) {
      result.block.push_back(byte);
      row.Reorder(leaf, strategy);
    } else {
      --primed;
    }
    if (leaf != kRightEnd) {
      const size_t s = 255u - byte;
      goes_on[s] = PlainGitGet(streams[s], &at[s], &statistics[s], &interval[s]);
    }
  }
  return result;
}

Bytes GitContainer(const std::vector<Bytes>& streams) {
  Bytes container;
  for (size_t s = 0; s < 256; ++s) {
    const Bytes stream = s < streams.size() ? streams[s] : Bytes{0xFF};
    for (int shift = 24; shift >= 0; shift -= 8) container.push_back(static_cast<uint8_t>(stream.size() >> shift));
    Append(container, stream);
  }
  return container;
}

}  // namespace zeldc_test
