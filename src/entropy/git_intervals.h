// Bytes to intervals: the row of positions, and how many occurrences lie to the right of each.
//
// The occurrences right of position p are a sum over all positions right of it. Sums are kept, not counts, at two
// levels: `inner` counts for each position what occurs right of it within its block of 16, `outer` for each block what
// occurs in blocks right of it. An occurrence at position 16 B + i adds one to the first i sums of block B and to the
// first B outer ones: two additions of sixteen lanes, of 16 bits each, and a position's sum is that of two numbers.
//
// A byte's interval is what its position's sum has grown by since its snapshot. When two neighbours change places, both
// keep that difference, for what has occurred since is the same. So sums and snapshots count modulo 2^16 and 2^32 from
// an origin that may be moved, as long as it is done before 2^16 occurrences.
//
// Bound by the latency of the sums of one block: a store, forwarded to a load, and an addition, some nine cycles.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/target.h"
#include "entropy/git_format.h"
#include "shared/unaligned.h"

namespace zeldc {

constexpr uint32_t kGitBlock = 16;

struct GitIntervals {
  uint16_t inner[256];
  uint16_t outer[16];
  uint32_t snapshots[256];  // by byte
  uint32_t counts[256];     // by position: how often the byte that stands there has occurred
  uint8_t symbols[256];     // by position: the byte that stands there
  uint8_t positions[256];   // by byte
  uint32_t since_origin;    // occurrences
};

inline void GitReset(GitIntervals* row) {
  memset(row, 0, sizeof(*row));
  for (uint32_t i = 0; i < 256; ++i) row->symbols[i] = row->positions[i] = static_cast<uint8_t>(255 - i);
}

// An interval and the stream it goes to.
struct GitOutput {
  uint32_t* intervals;
  uint8_t* streams;
};

// Sixteen sums at once, by plain code.
struct GitPlainSums {
  explicit GitPlainSums(GitIntervals* row) : row_(row) {}

  void Add(uint32_t position) {
    for (uint32_t i = position / kGitBlock * kGitBlock; i < position; ++i) ++row_->inner[i];
    for (uint32_t i = 0; i < position / kGitBlock; ++i) ++row_->outer[i];
  }

 private:
  GitIntervals* row_;
};

#if defined(__GNUC__)
// Sixteen lanes from 16 - n on are ones in the first n of them, and zeros.
struct GitOnesThenZeros {
  uint16_t lanes[2 * kGitBlock];
};
constexpr GitOnesThenZeros MakeGitOnesThenZeros() {
  GitOnesThenZeros all{};
  for (uint32_t i = 0; i < kGitBlock; ++i) all.lanes[i] = 1;
  return all;
}
inline constexpr GitOnesThenZeros kGitOnesThenZeros = MakeGitOnesThenZeros();

// The same by vectors, of whatever size the target has. The outer sums stay in registers.
struct GitVectorSums {
  typedef uint16_t Lanes __attribute__((vector_size(32)));

  explicit GitVectorSums(GitIntervals* row) : row_(row) { memcpy(&outer_, row->outer, sizeof(outer_)); }

  ZELDC_ALWAYS_INLINE void Add(uint32_t position) {
    uint16_t* const block = row_->inner + position / kGitBlock * kGitBlock;
    Lanes inner;
    memcpy(&inner, block, sizeof(inner));
    Lanes below;
    memcpy(&below, kGitOnesThenZeros.lanes + kGitBlock - position % kGitBlock, sizeof(below));
    inner += below;
    memcpy(block, &inner, sizeof(inner));
    memcpy(&below, kGitOnesThenZeros.lanes + kGitBlock - position / kGitBlock, sizeof(below));
    outer_ += below;
    memcpy(row_->outer, &outer_, sizeof(outer_));
  }

 private:
  GitIntervals* row_;
  Lanes outer_;
};
using GitSums = GitVectorSums;
#else
using GitSums = GitPlainSums;
#endif

ZELDC_ALWAYS_INLINE uint32_t GitRightSum(const GitIntervals* row, uint32_t position) {
  return uint32_t{row->inner[position]} + row->outer[position / kGitBlock];
}

// Lets all sums begin at 0 again.
inline void GitMoveOrigin(GitIntervals* row) {
  for (uint32_t i = 0; i < 256; ++i) row->snapshots[row->symbols[i]] -= GitRightSum(row, i);
  memset(row->inner, 0, sizeof(row->inner));
  memset(row->outer, 0, sizeof(row->outer));
  row->since_origin = 0;
}

// The byte at `position` changes places with its neighbour. Its interval is 0, and the other one keeps its own.
ZELDC_ALWAYS_INLINE void GitSwap(GitIntervals* row, uint32_t position, uint32_t neighbour) {
  const uint8_t byte = row->symbols[position];
  const uint8_t other = row->symbols[neighbour];
  const uint32_t here = GitRightSum(row, position);
  const uint32_t there = GitRightSum(row, neighbour);
  row->snapshots[byte] = there;
  row->snapshots[other] += here - there;
  row->symbols[position] = other;
  row->symbols[neighbour] = byte;
  row->positions[byte] = static_cast<uint8_t>(neighbour);
  row->positions[other] = static_cast<uint8_t>(position);
  const uint32_t count = row->counts[position];
  row->counts[position] = row->counts[neighbour];
  row->counts[neighbour] = count;
}

// Takes in n bytes, n at most 65535 with those since the origin. Writes an interval and a stream for each that has one,
// and perhaps something behind the last: there is room for n of both. Returns how many.
template <GitMove kMove, typename Sums>
inline size_t GitTakeBytes(GitIntervals* row, const uint8_t* src, size_t n, GitOutput out) {
  Sums sums(row);
  size_t taken = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint8_t byte = src[i];
    const uint32_t position = row->positions[byte];
    const uint32_t sum = GitRightSum(row, position);
    out.intervals[taken] = sum - row->snapshots[byte];
    out.streams[taken] = static_cast<uint8_t>(255 - byte);
    taken += position != kGitRightEnd ? 1 : 0;
    row->snapshots[byte] = sum;
    ++row->counts[position];
    sums.Add(position);
    if (ZELDC_UNLIKELY(GitMoves<kMove>(position, row->counts))) {
      GitSwap(row, position, kMove == GitMove::kLeft ? position - 1 : position + 1);
    }
  }
  row->since_origin += static_cast<uint32_t>(n);
  return taken;
}

}  // namespace zeldc
