// Induced sorting (G. Nong, S. Zhang and W. H. Chan, Two Efficient Algorithms for Linear Time Suffix Array
// Construction, 2011). The LMS rotations stand at the ends of their buckets. Going up, each rotation tells the place of
// the one before it when that one is of type L: at the front of what is still free in its bucket. Then, going down, the
// same at the buckets' ends gives the rotations of type S.
//
// Bound by the cache misses of looking up two symbols for each rotation that is placed. Positions are known well ahead,
// so the symbols are fetched early.
#pragma once

#include "bzip2/buckets.h"
#include "bzip2/rotations.h"

namespace zeldc {

enum class Result {
  kLms,        // the LMS rotations, sorted by their LMS substrings: order[0 .. count)
  kPositions,  // all rotations: order
  kBytes,      // the last byte of each
};

template <Result kResult, typename Symbol, typename Pos>
class Induction {
  using Mark = Marked<Pos>;

 public:
  // dst: the bytes.
  explicit Induction(const Rotations<Symbol, Pos>& r, uint8_t* dst = nullptr)
      : symbols_(r.symbols), len_(r.len), order_(r.order), dst_(dst), found_(r.len) {}

  // Answers where rotation 0 came to stand.
  uint32_t Run(const ByteBuckets<Pos>& buckets) {
    uint32_t front[256], back[256];
    for (int c = 0; c < 256; ++c) front[c] = buckets.Start(c);
    for (int c = 0; c < 256; ++c) {
      for (uint32_t k = buckets.Start(c); k < front[c]; ++k) GoUp(k, front);
      for (uint32_t k = buckets.LmsStart(c); k < buckets.End(c); ++k) GoUp(k, front);
    }
    for (int c = 0; c < 256; ++c) back[c] = buckets.End(c);
    for (int c = 255; c >= 0; --c) {
      for (uint32_t k = buckets.End(c); k-- > front[c];) GoDown<true>(k, back);
      for (uint32_t k = front[c]; k-- > buckets.Start(c);) GoDown<false>(k, back);
    }
    Finish();
    return index_;
  }

  uint32_t Run(SymbolBuckets<Pos>* buckets) {
    Pos* const front = buckets->Starts();
    for (uint32_t k = 0; k < len_; ++k) {
      if (order_[k] != Mark::kNone) GoUp(k, front);
    }
    Pos* const back = buckets->Ends();
    for (uint32_t k = len_; k-- > 0;) {
      if (order_[k] != Mark::kNone) GoDown<true>(k, back);
    }
    Finish();
    return index_;
  }

 private:
  static constexpr uint32_t kFetchAhead = 24;

  ZELDC_ALWAYS_INLINE void Fetch(uint32_t k) const {
    const uintptr_t symbols = reinterpret_cast<uintptr_t>(symbols_);
    __builtin_prefetch(reinterpret_cast<const void*>(symbols + Mark::Unmark(order_[k]) * sizeof(Symbol)));
  }

  // The rotation before another, its first symbol, and the symbol before that.
  struct Before {
    uint32_t pos;
    Symbol first;
    Symbol last;
  };

  ZELDC_ALWAYS_INLINE Before BeforeOf(uint32_t pos) const {
    if (ZELDC_UNLIKELY(pos <= 1)) {
      const Symbol end = symbols_[len_ - 1];
      return pos == 1 ? Before{0, symbols_[0], end} : Before{len_ - 1, end, symbols_[len_ - 2]};
    }
    return {pos - 1, symbols_[pos - 1], symbols_[pos - 2]};
  }

  // A marked rotation follows one of type S and waits for the way down. Others have done their duty here.
  template <typename Place>
  ZELDC_ALWAYS_INLINE void GoUp(uint32_t k, Place* front) {
    if (k + kFetchAhead < len_) Fetch(k + kFetchAhead);
    const Pos entry = order_[k];
    if (entry & Mark::kMark) return;
    const Before b = BeforeOf(entry);
    if constexpr (kResult == Result::kLms) order_[k] = Mark::kNone;
    if constexpr (kResult == Result::kBytes) order_[k] = b.first;
    const uint32_t place = front[b.first]++;
    order_[place] = static_cast<Pos>(b.pos | (b.last < b.first ? Mark::kMark : 0));
    if (ZELDC_UNLIKELY(b.pos == 0)) index_ = place;
  }

  // kMayBeLms: an entry without a mark is an LMS rotation if those are wanted.
  template <bool kMayBeLms, typename Place>
  ZELDC_ALWAYS_INLINE void GoDown(uint32_t k, Place* back) {
    if (k >= kFetchAhead) Fetch(k - kFetchAhead);
    const Pos entry = order_[k];
    if (!(entry & Mark::kMark)) {
      if constexpr (kResult == Result::kLms && kMayBeLms) order_[--found_] = entry;
      if constexpr (kResult == Result::kBytes) dst_[k] = static_cast<uint8_t>(entry);
      return;
    }
    const Pos pos = Mark::Unmark(entry);
    const Before b = BeforeOf(pos);
    if constexpr (kResult == Result::kPositions) order_[k] = pos;
    if constexpr (kResult == Result::kBytes) dst_[k] = static_cast<uint8_t>(b.first);
    const uint32_t place = --back[b.first];
    // Whether the one before that is of type S, too, and waits. No branch: the next look at the entry has to guess.
    const Pos waits = static_cast<Pos>(-static_cast<Pos>(b.last <= b.first));
    const Pos done = static_cast<Pos>(kResult == Result::kBytes ? b.last : b.pos);
    order_[place] = static_cast<Pos>(((b.pos | Mark::kMark) & waits) | (done & ~waits));
    if (ZELDC_UNLIKELY(b.pos == 0)) index_ = place;
  }

  void Finish() {
    if constexpr (kResult == Result::kLms) memmove(order_, order_ + found_, (len_ - found_) * sizeof(Pos));
  }

  const Symbol* const symbols_;
  const uint32_t len_;
  Pos* const order_;
  uint8_t* const dst_;
  uint32_t found_;
  uint32_t index_ = 0;
};

}  // namespace zeldc
