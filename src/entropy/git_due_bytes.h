// Which byte comes next: the leftmost position whose interval has come true.
//
// Each position has a slack: its byte's next interval, less what has occurred to its right since the byte's last
// occurrence. The byte is due when its slack is 0. The leftmost due byte comes next; it takes one from the slack of
// every position left of it, and its own becomes its next interval. No slack passes 0, for what stood at 0 further left
// would have come first. Two neighbours that change places take their slack with them.
//
// The row is cut into 32 blocks of 8. `least` holds the least slack of each block, `slack` what each position has above
// its block's, and `first` where in each block the least stands first. So the first zero of `least` names the block,
// `first` names the position, and an occurrence at position 8 B + i takes one from the first B of `least` and from the
// first i of block B, which is then levelled anew.
//
// Lanes have 16 bits. A larger slack is cut to 65535, and what was cut off waits in `beyond`: for 32768 occurrences at
// least a cut slack stays above 0, and by then Level() has brought it up again.
//
// Bound by latency: from the zero in `least` to the block, its first, its interval, the block's new least and back into
// `least` it is a chain of some 35 cycles, beside which streams are read ahead.
#pragma once

#include <stdint.h>
#include <string.h>

#include <bit>
#include <utility>

#include "core/target.h"
#include "shared/unaligned.h"

#if ZELDC_AVX2
#include <immintrin.h>
#elif ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

constexpr uint32_t kGitDueBlocks = 32;
constexpr uint32_t kGitDueLanes = 8;
constexpr uint32_t kGitMostSlack = 65535;
constexpr uint32_t kGitLevelEvery = 32768;

struct GitSlack {
  uint16_t least[kGitDueBlocks];
  uint16_t slack[256];
  uint32_t beyond[256];
  uint8_t first[kGitDueBlocks];
};

// The two parts of a slack.
constexpr uint16_t GitNearSlack(uint32_t slack) {
  return static_cast<uint16_t>(slack < kGitMostSlack ? slack : kGitMostSlack);
}

// Makes a block's least slack 0 by giving what all have in common to `least`.
inline void GitLevelBlock(GitSlack* due, uint32_t block) {
  uint16_t* const slack = due->slack + block * kGitDueLanes;
  uint32_t first = 0;
  for (uint32_t i = 1; i < kGitDueLanes; ++i) first = slack[i] < slack[first] ? i : first;
  const uint16_t least = slack[first];
  for (uint32_t i = 0; i < kGitDueLanes; ++i) slack[i] = static_cast<uint16_t>(slack[i] - least);
  due->least[block] = static_cast<uint16_t>(due->least[block] + least);
  due->first[block] = static_cast<uint8_t>(first);
}

inline void GitSetSlack(GitSlack* due, const uint32_t* slack) {
  memset(due->least, 0, sizeof(due->least));
  for (uint32_t i = 0; i < 256; ++i) {
    due->slack[i] = GitNearSlack(slack[i]);
    due->beyond[i] = slack[i] - due->slack[i];
  }
  for (uint32_t b = 0; b < kGitDueBlocks; ++b) GitLevelBlock(due, b);
}

inline uint32_t GitSlackOf(const GitSlack* due, uint32_t position) {
  return due->beyond[position] + due->slack[position] + due->least[position / kGitDueLanes];
}

// Brings up what was cut. The right end, whose byte is never due, may have lost what it never had.
inline void GitLevel(GitSlack* due) {
  uint32_t slack[256];
  for (uint32_t i = 0; i < 255; ++i) slack[i] = GitSlackOf(due, i);
  slack[255] = UINT32_MAX;
  GitSetSlack(due, slack);
}

// Exchanges the slack of a position and the next one.
inline void GitSwapSlack(GitSlack* due, uint32_t position) {
  const uint32_t block = position / kGitDueLanes;
  const uint32_t next_block = (position + 1) / kGitDueLanes;
  std::swap(due->beyond[position], due->beyond[position + 1]);
  std::swap(due->slack[position], due->slack[position + 1]);
  if (block != next_block) {
    // Both keep their near part, which the blocks' least are parts of.
    const uint16_t both[2] = {due->least[block], due->least[next_block]};
    for (uint32_t i = 0; i < kGitDueLanes; ++i) {
      uint16_t* const lane = due->slack + block * kGitDueLanes + i;
      *lane = static_cast<uint16_t>(*lane + both[i == kGitDueLanes - 1 ? 1 : 0]);
      *(lane + kGitDueLanes) = static_cast<uint16_t>(*(lane + kGitDueLanes) + both[i == 0 ? 0 : 1]);
    }
    due->least[block] = due->least[next_block] = 0;
    GitLevelBlock(due, next_block);
  }
  GitLevelBlock(due, block);
}

// Takes n from all blocks' least, none of which is smaller.
inline void GitTakeFromAll(GitSlack* due, uint32_t n) {
  for (uint16_t& least : due->least) least = static_cast<uint16_t>(least - n);
}

inline uint32_t GitLeastOfAll(const GitSlack* due) {
  uint32_t all = kGitMostSlack;
  for (uint16_t least : due->least) all = least < all ? least : all;
  return all;
}

// ---- The step, by plain code ----

class GitPlainDue {
 public:
  explicit GitPlainDue(GitSlack* due) : due_(due) {}

  // The first block with a slack of 0, or 32.
  uint32_t FirstBlock() const {
    uint32_t block = 0;
    while (block < kGitDueBlocks && due_->least[block] != 0) ++block;
    return block;
  }

  // The byte at the block's first zero occurs; `next` is its next slack.
  void Occur(uint32_t block, uint32_t lane, const uint16_t* next) {
    uint16_t* const slack = due_->slack + block * kGitDueLanes;
    for (uint32_t i = 0; i < lane; ++i) --slack[i];
    slack[lane] = *next;
    for (uint32_t i = 0; i < block; ++i) --due_->least[i];
    GitLevelBlock(due_, block);
  }

  void SwapWithNext(uint32_t position) { GitSwapSlack(due_, position); }

  // Around looks at the slack, and changes of it, by others.
  void Store() {}
  void Load() {}

 private:
  GitSlack* due_;
};

// ---- The step, by vectors ----

#if ZELDC_SSE2

// For each of n lanes: minus one in lanes before it, and minus one in the lane itself.
template <uint32_t kLanes>
struct GitLaneMasks {
  alignas(64) uint16_t before[kLanes][kLanes];
  alignas(64) uint16_t at[kLanes][kLanes];
};
template <uint32_t kLanes>
constexpr GitLaneMasks<kLanes> MakeGitLaneMasks() {
  GitLaneMasks<kLanes> masks{};
  for (uint32_t n = 0; n < kLanes; ++n) {
    for (uint32_t i = 0; i < n; ++i) masks.before[n][i] = 0xFFFF;
    masks.at[n][n] = 0xFFFF;
  }
  return masks;
}
inline constexpr GitLaneMasks<kGitDueLanes> kGitInBlock = MakeGitLaneMasks<kGitDueLanes>();
inline constexpr GitLaneMasks<kGitDueBlocks> kGitOfBlocks = MakeGitLaneMasks<kGitDueBlocks>();

// Shuffles that exchange a lane and the next one.
struct GitExchanges {
  alignas(16) uint8_t lanes[kGitDueLanes - 1][2 * kGitDueLanes];
};
constexpr GitExchanges MakeGitExchanges() {
  GitExchanges all{};
  for (uint32_t n = 0; n + 1 < kGitDueLanes; ++n) {
    for (uint32_t i = 0; i < 2 * kGitDueLanes; ++i) {
      const uint32_t lane = i / 2 == n ? n + 1 : i / 2 == n + 1 ? n : i / 2;
      all.lanes[n][i] = static_cast<uint8_t>(2 * lane + i % 2);
    }
  }
  return all;
}
inline constexpr GitExchanges kGitExchange = MakeGitExchanges();

struct GitLeast {
  __m128i value;   // in all lanes
  uint32_t first;  // the lane where it stands first
};

#if ZELDC_SSE41
ZELDC_ALWAYS_INLINE GitLeast GitFindLeast(__m128i lanes) {
  const __m128i found = _mm_minpos_epu16(lanes);
#if ZELDC_AVX2
  const __m128i value = _mm_broadcastw_epi16(found);
#else
  const __m128i low = _mm_shufflelo_epi16(found, 0);
  const __m128i value = _mm_unpacklo_epi64(low, low);
#endif
  return {value, static_cast<uint32_t>(_mm_extract_epi16(found, 1))};
}
#else
// a - max(a - b, 0) is the smaller of two unsigned numbers.
ZELDC_ALWAYS_INLINE __m128i GitSmaller(__m128i a, __m128i b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }

ZELDC_ALWAYS_INLINE GitLeast GitFindLeast(__m128i lanes) {
  __m128i value = GitSmaller(lanes, _mm_shuffle_epi32(lanes, 0x4E));
  value = GitSmaller(value, _mm_shuffle_epi32(value, 0xB1));
  value = GitSmaller(value, _mm_shufflehi_epi16(_mm_shufflelo_epi16(value, 0xB1), 0xB1));
  const uint32_t found = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi16(lanes, value)));
  return {value, static_cast<uint32_t>(std::countr_zero(found)) / 2};
}
#endif

// Registers with the least of all blocks.
#if ZELDC_AVX2
class GitLeastRow {
 public:
  ZELDC_ALWAYS_INLINE void Load(const uint16_t* least) {
    low_ = LoadNative<__m256i>(least);
    high_ = LoadNative<__m256i>(least + 16);
  }
  ZELDC_ALWAYS_INLINE void Store(uint16_t* least) const {
    StoreNative(least, low_);
    StoreNative(least + 16, high_);
  }
  ZELDC_ALWAYS_INLINE uint32_t FirstZero() const {
    const __m256i zero = _mm256_setzero_si256();
    const uint64_t low = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(low_, zero)));
    const uint64_t high = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(high_, zero)));
    return static_cast<uint32_t>(std::countr_zero(high << 32 | low)) / 2;
  }
  // Takes one from all before the lane, which is 0, and makes it the value.
  ZELDC_ALWAYS_INLINE void Step(uint32_t lane, __m128i value) {
    const __m256i wide = _mm256_broadcastw_epi16(value);
    const uint16_t* const before = kGitOfBlocks.before[lane];
    const uint16_t* const at = kGitOfBlocks.at[lane];
    low_ = _mm256_or_si256(_mm256_add_epi16(low_, LoadNative<__m256i>(before)),
                           _mm256_and_si256(wide, LoadNative<__m256i>(at)));
    high_ = _mm256_or_si256(_mm256_add_epi16(high_, LoadNative<__m256i>(before + 16)),
                            _mm256_and_si256(wide, LoadNative<__m256i>(at + 16)));
  }

 private:
  __m256i low_;
  __m256i high_;
};
#else
class GitLeastRow {
 public:
  ZELDC_ALWAYS_INLINE void Load(const uint16_t* least) {
    for (int i = 0; i < 4; ++i) parts_[i] = LoadNative<__m128i>(least + 8 * i);
  }
  ZELDC_ALWAYS_INLINE void Store(uint16_t* least) const {
    for (int i = 0; i < 4; ++i) StoreNative(least + 8 * i, parts_[i]);
  }
  ZELDC_ALWAYS_INLINE uint32_t FirstZero() const {
    const __m128i zero = _mm_setzero_si128();
    __m128i zeros[4];
    for (int i = 0; i < 4; ++i) zeros[i] = _mm_cmpeq_epi16(parts_[i], zero);
    const uint32_t low = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(zeros[0], zeros[1])));
    const uint32_t high = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(zeros[2], zeros[3])));
    return static_cast<uint32_t>(std::countr_zero(high << 16 | low));
  }
  // Takes one from all before the lane, which is 0, and makes it the value.
  ZELDC_ALWAYS_INLINE void Step(uint32_t lane, __m128i value) {
    const uint16_t* const before = kGitOfBlocks.before[lane];
    const uint16_t* const at = kGitOfBlocks.at[lane];
    for (int i = 0; i < 4; ++i) {
      parts_[i] = _mm_or_si128(_mm_add_epi16(parts_[i], LoadNative<__m128i>(before + 8 * i)),
                               _mm_and_si128(value, LoadNative<__m128i>(at + 8 * i)));
    }
  }

 private:
  __m128i parts_[4];
};
#endif

class GitVectorDue {
 public:
  ZELDC_ALWAYS_INLINE explicit GitVectorDue(GitSlack* due) : due_(due) { Load(); }

  ZELDC_ALWAYS_INLINE uint32_t FirstBlock() const { return row_.FirstZero(); }

  ZELDC_ALWAYS_INLINE void Occur(uint32_t block, uint32_t lane, const uint16_t* next) {
    uint16_t* const slack = due_->slack + block * kGitDueLanes;
    const __m128i before = _mm_add_epi16(LoadNative<__m128i>(slack), LoadNative<__m128i>(kGitInBlock.before[lane]));
    const __m128i own =
        _mm_and_si128(_mm_set1_epi16(static_cast<int16_t>(*next)), LoadNative<__m128i>(kGitInBlock.at[lane]));
    const __m128i lanes = _mm_or_si128(before, own);
    const GitLeast least = GitFindLeast(lanes);
    row_.Step(block, least.value);
    StoreNative(slack, _mm_sub_epi16(lanes, least.value));
    due_->first[block] = static_cast<uint8_t>(least.first);
  }

  ZELDC_ALWAYS_INLINE void SwapWithNext(uint32_t position) {
#if ZELDC_SSSE3
    const uint32_t lane = position % kGitDueLanes;
    if (ZELDC_LIKELY(lane != kGitDueLanes - 1)) {
      // Within a block its least stays the same, but may come to stand elsewhere.
      const uint32_t block = position / kGitDueLanes;
      uint16_t* const slack = due_->slack + block * kGitDueLanes;
      const __m128i lanes = _mm_shuffle_epi8(LoadNative<__m128i>(slack), LoadNative<__m128i>(kGitExchange.lanes[lane]));
      const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi16(lanes, _mm_setzero_si128()));
      StoreNative(slack, lanes);
      due_->first[block] = static_cast<uint8_t>(std::countr_zero(static_cast<uint32_t>(zeros)) / 2);
      std::swap(due_->beyond[position], due_->beyond[position + 1]);
      return;
    }
#endif
    Store();
    GitSwapSlack(due_, position);
    Load();
  }

  ZELDC_ALWAYS_INLINE void Store() { row_.Store(due_->least); }
  ZELDC_ALWAYS_INLINE void Load() { row_.Load(due_->least); }

 private:
  GitSlack* due_;
  GitLeastRow row_;
};
using GitDue = GitVectorDue;
#else
using GitDue = GitPlainDue;
#endif

}  // namespace zeldc
