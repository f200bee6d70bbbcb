// Induced sorting of a block's rotations from its LMS rotations (G. Nong, S. Zhang and W. H. Chan, Two Efficient
// Algorithms for Linear Time Suffix Array Construction, 2011).
//
// Going up through the rotations in order, each tells the place of the one before it, if that is of type L: the first
// that is still free in its bucket, the rotations with the same first byte. Going down, the same for type S, from the
// buckets' ends. To a branch predictor it is a coin toss whether a rotation has one of the right type before it. So
// rotations stand in queues by their type and that of the one before, in order within their bucket, and each way visits
// only queues whose rotations all have something to tell:
//
//   going up     L behind L, then LMS, which is S behind L
//   going down   S behind S, then L behind S
//
// All queues together have as many places as the block has bytes. The last byte of a rotation, which is the output, is
// known when its place is found. In the last run, which has to tell the row of each rotation, that byte shares a word
// with the position where positions fit 23 bits; one array in the order of rows then takes the place of the queues,
// since to write both costs more than the coin tosses.
//
// Bound by the cache misses of looking up two bytes of text for each rotation, and of its place. Positions are known
// well ahead, so the text is fetched early.
#pragma once

#include <string.h>

#include "bzip2/rotations.h"

namespace zeldc {

template <typename Pos>
class ByteInduction {
 public:
  // larger: a bit for each rotation of type L.
  ByteInduction(const Rotations<uint8_t, Pos>& r, const uint64_t* larger)
      : symbols_(r.symbols), len_(r.len), order_(r.order) {
    uint32_t counts[4][256] = {};
    CountKinds(larger, counts);
    uint32_t bucket = 0, lms = 0;
    for (int c = 0; c < 256; ++c) {
      buckets_[c] = bucket;
      lms_[c] = lms;
      lms += counts[kLms][c];
      for (const auto& kind : counts) bucket += kind[c];
    }
    buckets_[256] = bucket;
    lms_[256] = lms;
    uint32_t place = lms;
    auto lay = [&](uint32_t* starts, const uint32_t* kind) {
      for (int c = 0; c < 256; ++c) {
        starts[c] = place;
        place += kind[c];
      }
      starts[256] = place;
    };
    lay(largerBehindLarger_, counts[kLargerBehindLarger]);
    lay(largerBehindSmaller_, counts[kLargerBehindSmaller]);
    lay(smallerBehindSmaller_, counts[kSmallerBehindSmaller]);
  }

  // The LMS rotations to their queues, unsorted.
  void PlaceLms(const PositionSet<Pos>& lms) {
    uint32_t next[256];
    memcpy(next, lms_, sizeof(next));
    lms.ForEach([&](Pos pos) { order_[next[symbols_[pos]]++] = pos; });
  }

  // From LMS rotations in their queues: sorts them by their LMS substrings; they are the order's start then.
  void SortLmsSubstrings() { Run<false>(nullptr); }

  // From sorted LMS rotations at the order's start: writes the last byte of each rotation; answers the row of
  // rotation 0. The text may have moved.
  uint32_t Transform(const uint8_t* text, uint8_t* dst) {
    symbols_ = text;
    if constexpr (sizeof(Pos) == sizeof(uint32_t)) {
      if (len_ <= kMaxPacked) return TransformPacked(dst);
    }
    return Run<true>(dst);
  }

 private:
  static constexpr uint32_t kFetchAhead = 24;

  // The rotation's own type L is the upper bit, that of the one before the lower.
  enum Kind { kSmallerBehindSmaller, kLms, kLargerBehindSmaller, kLargerBehindLarger };

  void CountKinds(const uint64_t* larger, uint32_t (*counts)[256]) const {
    uint64_t before = larger[(len_ - 1) / 64] >> (len_ - 1) % 64 & 1;
    for (uint32_t i = 0; i < len_; i += 32) {
      // The types of 33 rotations, the one before them lowest.
      const uint64_t word = larger[i / 64] >> i % 64;
      uint64_t types = (word & 0xFFFFFFFF) << 1 | before;
      before = word >> 31 & 1;
      const uint32_t end = len_ - i < 32 ? len_ : i + 32;
      for (uint32_t k = i; k < end; ++k, types >>= 1) ++counts[types & 3][symbols_[k]];
    }
  }

  ZELDC_ALWAYS_INLINE void Fetch(uint32_t k) const {
    const uintptr_t text = reinterpret_cast<uintptr_t>(symbols_);
    ZELDC_PREFETCH(reinterpret_cast<const void*>(text + order_[k]));
  }

  // The rotation before another, its first byte, and its last.
  struct Before {
    uint32_t pos;
    uint8_t first;
    uint8_t last;
  };

  ZELDC_ALWAYS_INLINE Before BeforeOf(uint32_t pos) const {
    if (ZELDC_UNLIKELY(pos <= 1)) {
      const uint8_t end = symbols_[len_ - 1];
      return pos == 1 ? Before{0, symbols_[0], end} : Before{len_ - 1, end, symbols_[len_ - 2]};
    }
    return {pos - 1, symbols_[pos - 1], symbols_[pos - 2]};
  }

  template <bool kTransforms>
  uint32_t Run(uint8_t* dst) {
    uint32_t index = 0;
    uint32_t row[256];
    // Two queues a byte side by side, so that the choice is arithmetic.
    uint32_t queue[2 * 256];

    memcpy(row, buckets_, sizeof(row));
    for (int c = 0; c < 256; ++c) {
      queue[2 * c] = largerBehindLarger_[c];
      queue[2 * c + 1] = largerBehindSmaller_[c];
    }
    auto goUp = [&](uint32_t k) ZELDC_LAMBDA_INLINE {
      if (k + kFetchAhead < len_) Fetch(k + kFetchAhead);
      const Before b = BeforeOf(order_[k]);
      order_[queue[2 * b.first + (b.last < b.first)]++] = static_cast<Pos>(b.pos);
      if constexpr (kTransforms) {
        const uint32_t place = row[b.first]++;
        dst[place] = b.last;
        if (ZELDC_UNLIKELY(b.pos == 0)) index = place;
      }
    };
    for (int c = 0; c < 256; ++c) {
      for (uint32_t k = largerBehindLarger_[c]; k < queue[2 * c]; ++k) goUp(k);
      for (uint32_t k = lms_[c]; k < lms_[c + 1]; ++k) goUp(k);
    }

    memcpy(row, buckets_ + 1, sizeof(row));
    for (int c = 0; c < 256; ++c) {
      queue[2 * c] = smallerBehindSmaller_[c + 1];
      queue[2 * c + 1] = lms_[c + 1];
    }
    auto goDown = [&](uint32_t k) ZELDC_LAMBDA_INLINE {
      if (k >= kFetchAhead) Fetch(k - kFetchAhead);
      const Before b = BeforeOf(order_[k]);
      order_[--queue[2 * b.first + (b.last > b.first)]] = static_cast<Pos>(b.pos);
      if constexpr (kTransforms) {
        const uint32_t place = --row[b.first];
        dst[place] = b.last;
        if (ZELDC_UNLIKELY(b.pos == 0)) index = place;
      }
    };
    for (int c = 255; c >= 0; --c) {
      for (uint32_t k = smallerBehindSmaller_[c + 1]; k-- > queue[2 * c];) goDown(k);
      for (uint32_t k = largerBehindSmaller_[c + 1]; k-- > largerBehindSmaller_[c];) goDown(k);
    }
    return index;
  }

  // A word of a position below 2^23, a mark and the rotation's last byte.
  static constexpr uint32_t kMaxPacked = 1u << 23;
  static constexpr uint32_t kMark = kMaxPacked;

  ZELDC_ALWAYS_INLINE void FetchPacked(uint32_t k) const {
    const uintptr_t text = reinterpret_cast<uintptr_t>(symbols_);
    ZELDC_PREFETCH(reinterpret_cast<const void*>(text + (order_[k] & (kMaxPacked - 1))));
  }

  // On the way up a mark says that the rotation before is of type S, and waits for the way down.
  uint32_t TransformPacked(uint8_t* dst) {
    uint32_t index = 0;
    uint32_t row[256];
    // The rotation before pos, which begins with `first`. takeRow(first) is its row; isMarked(last, first).
    auto put = [&](uint32_t pos, uint8_t first, auto takeRow, auto isMarked) ZELDC_LAMBDA_INLINE {
      uint32_t before = pos - 1;
      uint8_t last;
      if (ZELDC_LIKELY(pos > 1)) {
        last = symbols_[pos - 2];
      } else {
        last = symbols_[len_ - 2 + pos];
        if (pos == 0) before = len_ - 1;
      }
      const uint32_t place = takeRow(first);
      order_[place] = uint32_t{last} << 24 | (isMarked(last, first) ? kMark : 0) | before;
      if (ZELDC_UNLIKELY(before == 0)) index = place;
    };

    // The sorted LMS rotations go to the ends of their buckets.
    for (int c = 255; c >= 0; --c) {
      const uint32_t count = lms_[c + 1] - lms_[c];
      memmove(order_ + (buckets_[c + 1] - count), order_ + lms_[c], count * sizeof(Pos));
    }
    memcpy(row, buckets_, sizeof(row));
    auto goUp = [&](uint32_t pos, uint8_t first) ZELDC_LAMBDA_INLINE {
      put(
          pos, first, [&](uint8_t c) ZELDC_LAMBDA_INLINE { return row[c]++; },
          [](uint8_t last, uint8_t c) ZELDC_LAMBDA_INLINE { return last < c; });
    };
    for (int c = 0; c < 256; ++c) {
      for (uint32_t k = buckets_[c]; k < row[c]; ++k) {
        if (k + kFetchAhead < len_) FetchPacked(k + kFetchAhead);
        const uint32_t entry = order_[k];
        if (!(entry & kMark)) goUp(entry & (kMaxPacked - 1), static_cast<uint8_t>(entry >> 24));
      }
      for (uint32_t k = buckets_[c + 1] - (lms_[c + 1] - lms_[c]); k < buckets_[c + 1]; ++k) {
        if (k + kFetchAhead < len_) FetchPacked(k + kFetchAhead);
        const uint32_t pos = order_[k];
        goUp(pos, symbols_[pos == 0 ? len_ - 1 : pos - 1]);
      }
    }

    memcpy(row, buckets_ + 1, sizeof(row));
    for (uint32_t k = len_; k-- > 0;) {
      if (k >= kFetchAhead) FetchPacked(k - kFetchAhead);
      const uint32_t entry = order_[k];
      if (!(entry & kMark)) continue;
      put(
          entry & (kMaxPacked - 1), static_cast<uint8_t>(entry >> 24),
          [&](uint8_t c) ZELDC_LAMBDA_INLINE { return --row[c]; },
          [](uint8_t last, uint8_t c) ZELDC_LAMBDA_INLINE { return last <= c; });
    }
    for (uint32_t k = 0; k < len_; ++k) dst[k] = static_cast<uint8_t>(order_[k] >> 24);
    return index;
  }

  const uint8_t* symbols_;
  const uint32_t len_;
  Pos* const order_;
  uint32_t buckets_[257];  // rows where they begin
  // Places where each bucket's queue begins.
  uint32_t lms_[257];
  uint32_t largerBehindLarger_[257];
  uint32_t largerBehindSmaller_[257];
  uint32_t smallerBehindSmaller_[257];
};

}  // namespace zeldc
