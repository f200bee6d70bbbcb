// The buckets of a sorted order of rotations: those that begin with the same symbol stand side by side, the ones of
// type L before the ones of type S.
#pragma once

#include <string.h>

#include "bzip2/rotations.h"

namespace zeldc {

// For bytes. What stands in the order beside the LMS rotations does not matter.
template <typename Pos>
class ByteBuckets {
 public:
  explicit ByteBuckets(const Rotations<uint8_t, Pos>& r) : r_(r), lmsCounts_{} {
    // Four tables, since an entry that was just written is slow to read, and bytes repeat.
    uint32_t counts[4][256] = {};
    uint32_t i = 0;
    for (; i + 4 <= r.len; i += 4) {
      for (uint32_t t = 0; t < 4; ++t) ++counts[t][r.symbols[i + t]];
    }
    for (; i < r.len; ++i) ++counts[0][r.symbols[i]];
    starts_[0] = 0;
    for (int c = 0; c < 256; ++c) {
      starts_[c + 1] = starts_[c] + counts[0][c] + counts[1][c] + counts[2][c] + counts[3][c];
    }
  }

  uint32_t Start(int c) const { return starts_[c]; }
  uint32_t End(int c) const { return starts_[c + 1]; }
  // Where the LMS rotations begin that end the bucket.
  uint32_t LmsStart(int c) const { return starts_[c + 1] - lmsCounts_[c]; }

  // LMS rotations to the ends of their buckets, unsorted.
  void PlaceLms() {
    uint32_t back[256];
    memcpy(back, starts_ + 1, sizeof(back));
    r_.lms.ForEach([&](Pos pos) { r_.order[--back[r_.symbols[pos]]] = pos; });
    for (int c = 0; c < 256; ++c) lmsCounts_[c] = starts_[c + 1] - back[c];
  }

  // From the order's start, where they are sorted.
  void MoveLms() {
    uint32_t end = r_.lms.count;
    for (int c = 255; c >= 0; --c) {
      end -= lmsCounts_[c];
      memmove(r_.order + LmsStart(c), r_.order + end, lmsCounts_[c] * sizeof(Pos));
    }
  }

 private:
  const Rotations<uint8_t, Pos>& r_;
  uint32_t starts_[257];
  uint32_t lmsCounts_[256];
};

// For any symbols. Places in the order that hold no rotation are marked as empty.
template <typename Pos>
class SymbolBuckets {
 public:
  // Counts once where there is room to keep the counts.
  SymbolBuckets(const Rotations<Pos, Pos>& r, Arena arena)
      : r_(r), places_(arena.Take<Pos>(r.alphabet)), counts_(nullptr) {
    if (!arena.Has<Pos>(r.alphabet)) return;
    counts_ = arena.Take<Pos>(r.alphabet);
    Count(counts_);
  }

  Pos* Starts() { return Sum(false); }
  Pos* Ends() { return Sum(true); }

  void PlaceLms() {
    Pos* const back = Ends();
    for (uint32_t k = 0; k < r_.len; ++k) r_.order[k] = Marked<Pos>::kNone;
    r_.lms.ForEach([&](Pos pos) { r_.order[--back[r_.symbols[pos]]] = pos; });
  }

  void MoveLms() {
    Pos* const back = Ends();
    for (uint32_t k = r_.lms.count; k < r_.len; ++k) r_.order[k] = Marked<Pos>::kNone;
    for (uint32_t k = r_.lms.count; k-- > 0;) {
      const Pos pos = r_.order[k];
      r_.order[k] = Marked<Pos>::kNone;
      r_.order[--back[r_.symbols[pos]]] = pos;
    }
  }

 private:
  void Count(Pos* counts) const {
    memset(counts, 0, r_.alphabet * sizeof(Pos));
    for (uint32_t i = 0; i < r_.len; ++i) ++counts[r_.symbols[i]];
  }

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

  const Rotations<Pos, Pos>& r_;
  Pos* const places_;
  Pos* counts_;
};

}  // namespace zeldc
