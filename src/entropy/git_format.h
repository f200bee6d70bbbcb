// What encoder and decoder of the interval coder share: its numbers, and the adaptation of the Rice parameter.
#pragma once

#include <stdint.h>

#include <bit>

#include "core/target.h"
#include "zeldc/git.h"

namespace zeldc {

constexpr uint32_t kGitStreams = 256;
constexpr uint32_t kGitLengthBytes = 4;  // in front of each stream
constexpr uint32_t kGitHeaderBytes = kGitStreams * kGitLengthBytes;
constexpr uint32_t kGitRightEnd = 255;  // the position of byte 0, whose occurrences are not coded
constexpr uint32_t kGitEscapeOnes = 8;  // as many ones say that the parameter is too small
constexpr uint32_t kGitFirstK = 10;     // the Rice parameter of a stream's first interval

// How the row changes.
enum class GitMove { kNone, kLeft, kRight };
constexpr GitMove GitMoveOf(int32_t strategy) {
  return strategy == 0 || strategy == zelGITMoveLeft ? GitMove::kLeft
         : strategy == zelGITMoveRight               ? GitMove::kRight
                                                     : GitMove::kNone;
}
constexpr bool GitIsPrimed(int32_t strategy) { return strategy != zelGITStatic; }

// Whether a byte that has just occurred at the position, `counts` telling how often each position's byte has, changes
// places with its neighbour. The right end takes no part, and moves to the right stop one position before the last.
template <GitMove kMove>
ZELDC_ALWAYS_INLINE bool GitMoves(uint32_t position, const uint32_t* counts) {
  if constexpr (kMove == GitMove::kLeft) {
    return position >= 1 && position <= 254 && counts[position] > counts[position - 1];
  } else if constexpr (kMove == GitMove::kRight) {
    return position <= 253 && counts[position] > counts[position + 1];
  } else {
    return false;
  }
}

// The statistics of a stream. Sum and number of intervals are halved when 8 intervals have passed since the last time.
// As each interval adds one to the number, it goes through the same values in every stream: 1 to 8, 5 to 12, 7 to 14,
// and 8 to 15 ever after. So one counter of 32 phases stands for the number and for when to halve.
constexpr uint32_t kGitPhases = 32;
constexpr uint32_t kGitLastCycle = 24;  // where phase 31 leads

struct GitPhaseNumbers {
  // Of the phase's number of intervals, once its own has been counted: the leading zeros of the number, and the number
  // without them.
  uint8_t zeros[kGitPhases];
  uint32_t normalised[kGitPhases];
};
constexpr uint32_t GitCountOf(uint32_t phase) {
  uint32_t count = 0;
  for (uint32_t i = 0; i <= phase; ++i) count = (i % 8 == 0 ? count / 2 : count) + 1;
  return count;
}
static_assert(GitCountOf(7) == 8 && GitCountOf(8) == 5 && GitCountOf(16) == 7 && GitCountOf(24) == 8);
static_assert(GitCountOf(31) == 15 && GitCountOf(32) == GitCountOf(kGitLastCycle));
constexpr GitPhaseNumbers MakeGitPhaseNumbers() {
  GitPhaseNumbers numbers{};
  for (uint32_t phase = 0; phase < kGitPhases; ++phase) {
    const uint32_t count = GitCountOf(phase);
    numbers.zeros[phase] = static_cast<uint8_t>(std::countl_zero(count));
    numbers.normalised[phase] = count << std::countl_zero(count);
  }
  return numbers;
}
constexpr GitPhaseNumbers kGitPhaseNumbers = MakeGitPhaseNumbers();

// Takes in an interval that was not escaped; afterwards `k` is the smallest parameter from 1 on with count << k >= sum,
// at most 32. With a = sum - 1 and both without leading zeros it is the difference of their widths, and one more unless
// count is then the larger. The lowest bit of a does not matter, as count << k is even.
//
// Sums of 32 bits are enough: the intervals of a stream that have come true add up to no more than a block and 256.
ZELDC_ALWAYS_INLINE void GitAdapt(uint32_t interval, uint32_t* sum_of, uint8_t* phase_of, uint8_t* k_of) {
  const uint32_t phase = *phase_of;
  const uint32_t sum = (*sum_of >> (phase % 8 == 0 ? 1 : 0)) + interval;
  const uint32_t a = (sum - (sum != 0 ? 1u : 0u)) | 1;
  const int32_t zeros = std::countl_zero(a);
  const int32_t k = kGitPhaseNumbers.zeros[phase] - zeros + (a << zeros >= kGitPhaseNumbers.normalised[phase] ? 1 : 0);
  *k_of = static_cast<uint8_t>(k > 1 ? k : 1);
  *sum_of = sum;
  const uint32_t next = phase + 1;
  *phase_of = static_cast<uint8_t>(next - (next & kGitPhases) / 4);
}
static_assert(kGitPhases - kGitPhases / 4 == kGitLastCycle);

}  // namespace zeldc
