// Induced sorting of the rotations of a string of numbers, as byte_induction.h does for bytes, but in one array: there
// are too many buckets for queues of several kinds. A mark tells a rotation that waits for the way down; the others
// have done their duty on the way up. Strings are at most half as long here.
#pragma once

#include <string.h>

#include "bzip2/rotations.h"

namespace zeldc {

template <typename Pos>
class SymbolInduction {
  using Mark = Marked<Pos>;

 public:
  // Buckets are counted once where the arena has room to keep the counts.
  SymbolInduction(const Rotations<Pos, Pos>& r, Arena arena)
      : r_(r), symbols_(r.symbols), len_(r.len), order_(r.order), places_(arena.Take<Pos>(r.alphabet)) {
    if (!arena.Has<Pos>(r.alphabet)) return;
    counts_ = arena.Take<Pos>(r.alphabet);
    Count(counts_);
  }

  // The LMS rotations to the ends of their buckets, unsorted.
  void PlaceLms() {
    Pos* const back = Ends();
    for (uint32_t k = 0; k < len_; ++k) order_[k] = Mark::kNone;
    r_.lms.ForEach([&](Pos pos) { order_[--back[symbols_[pos]]] = pos; });
  }

  // From LMS rotations in any order within their bucket: sorts them by their LMS substrings; they are the order's start
  // then.
  void SortLmsSubstrings() { Run<false>(); }

  // The LMS rotations from the order's start, where they are sorted, to the ends of their buckets.
  void MoveLms() {
    Pos* const back = Ends();
    for (uint32_t k = r_.lms.count; k < len_; ++k) order_[k] = Mark::kNone;
    for (uint32_t k = r_.lms.count; k-- > 0;) {
      const Pos pos = order_[k];
      order_[k] = Mark::kNone;
      order_[--back[symbols_[pos]]] = pos;
    }
  }

  // From sorted LMS rotations in their buckets: sorts all rotations.
  void SortAll() { Run<true>(); }

 private:
  static constexpr uint32_t kFetchAhead = 24;

  void Count(Pos* counts) const {
    memset(counts, 0, r_.alphabet * sizeof(Pos));
    for (uint32_t i = 0; i < len_; ++i) ++counts[symbols_[i]];
  }

  Pos* Starts() { return Sum(false); }
  Pos* Ends() { return Sum(true); }

  Pos* Sum(bool ends) {
    if (counts_) {
      memcpy(places_, counts_, r_.alphabet * sizeof(Pos));
    } else {
      Count(places_);
    }
    Pos sum = 0;
    for (uint32_t c = 0; c < r_.alphabet; ++c) {
      const Pos count = places_[c];
      places_[c] = static_cast<Pos>(ends ? sum + count : sum);
      sum = static_cast<Pos>(sum + count);
    }
    return places_;
  }

  ZELDC_ALWAYS_INLINE void Fetch(uint32_t k) const {
    const uintptr_t symbols = reinterpret_cast<uintptr_t>(symbols_);
    ZELDC_PREFETCH(reinterpret_cast<const void*>(symbols + Mark::Unmark(order_[k]) * sizeof(Pos)));
  }

  // The rotation before another, its first symbol, and its last.
  struct Before {
    uint32_t pos;
    Pos first;
    Pos last;
  };

  ZELDC_ALWAYS_INLINE Before BeforeOf(uint32_t pos) const {
    if (ZELDC_UNLIKELY(pos <= 1)) {
      const Pos end = symbols_[len_ - 1];
      return pos == 1 ? Before{0, symbols_[0], end} : Before{len_ - 1, end, symbols_[len_ - 2]};
    }
    return {pos - 1, symbols_[pos - 1], symbols_[pos - 2]};
  }

  // kKeeps: all rotations stay in the order; else the LMS rotations alone.
  template <bool kKeeps>
  void Run() {
    Pos* const front = Starts();
    for (uint32_t k = 0; k < len_; ++k) {
      if (k + kFetchAhead < len_) Fetch(k + kFetchAhead);
      const Pos entry = order_[k];
      if (entry >= Mark::kNone) continue;
      const Before b = BeforeOf(entry);
      if constexpr (!kKeeps) order_[k] = Mark::kNone;
      order_[front[b.first]++] = static_cast<Pos>(b.pos | (b.last < b.first ? Mark::kMark : 0));
    }
    Pos* const back = Ends();
    uint32_t found = len_;
    for (uint32_t k = len_; k-- > 0;) {
      if (k >= kFetchAhead) Fetch(k - kFetchAhead);
      const Pos entry = order_[k];
      if (!(entry & Mark::kMark)) {
        if constexpr (!kKeeps) {
          if (entry != Mark::kNone) order_[--found] = entry;
        }
        continue;
      }
      const Pos pos = Mark::Unmark(entry);
      const Before b = BeforeOf(pos);
      if constexpr (kKeeps) order_[k] = pos;
      // Without a branch: the next look at the entry has to guess already.
      order_[--back[b.first]] = static_cast<Pos>(b.pos | (Mark::kMark & -static_cast<Pos>(b.last <= b.first)));
    }
    if constexpr (!kKeeps) memmove(order_, order_ + found, (len_ - found) * sizeof(Pos));
  }

  const Rotations<Pos, Pos>& r_;
  const Pos* const symbols_;
  const uint32_t len_;
  Pos* const order_;
  Pos* const places_;
  Pos* counts_ = nullptr;
};

}  // namespace zeldc
