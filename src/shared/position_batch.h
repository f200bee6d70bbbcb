// Positions entered ahead of a search.
//
// Which position stands before which with the same hash depends on the data alone, not on the matches chosen, as every
// position is entered. So it is done a batch at a time, by a loop without a branch, and the search finds each
// position's newest candidate in an array. Should a call end within a batch, the positions that it did not reach are
// taken out.
#pragma once

#include "core/assert.h"
#include "shared/match_kernel.h"

#if ZELDC_SSE2
#include <emmintrin.h>
#endif

namespace zeldc {

struct PositionBatch {
  static constexpr ptrdiff_t kSize = 1024;
  static_assert(kSize > kMaxMatch);

  uint16_t newest[kSize + 1];  // what each position's head held before; the last one is only ever looked at

  // Enters n <= kSize positions from `pos` on. fourHashes(k) are those of four positions side by side, the first one lowest;
  // hash(k) that of one.
  template <typename FourHashes, typename Hash>
  ZELDC_ALWAYS_INLINE void Insert(uint16_t* head, uint32_t pos, ptrdiff_t n, FourHashes fourHashes, Hash hash) {
    ZELDC_ASSERT(0 <= n && n <= kSize);
    ptrdiff_t k = 0;
    auto enter = [&](ptrdiff_t j, uint32_t h) ZELDC_LAMBDA_INLINE {
      const uint16_t before = head[h];
      head[h] = static_cast<uint16_t>(pos + static_cast<uint32_t>(k + j));
      return before;
    };
#if ZELDC_SSE2
    // Bound by the number of stores: eight positions share one.
    for (; n - k >= 8; k += 8) {
      const uint64_t h0 = fourHashes(k);
      const uint64_t h1 = fourHashes(k + 4);
      __m128i before = _mm_cvtsi32_si128(enter(0, static_cast<uint16_t>(h0)));
      before = _mm_insert_epi16(before, enter(1, static_cast<uint16_t>(h0 >> 16)), 1);
      before = _mm_insert_epi16(before, enter(2, static_cast<uint16_t>(h0 >> 32)), 2);
      before = _mm_insert_epi16(before, enter(3, static_cast<uint16_t>(h0 >> 48)), 3);
      before = _mm_insert_epi16(before, enter(4, static_cast<uint16_t>(h1)), 4);
      before = _mm_insert_epi16(before, enter(5, static_cast<uint16_t>(h1 >> 16)), 5);
      before = _mm_insert_epi16(before, enter(6, static_cast<uint16_t>(h1 >> 32)), 6);
      before = _mm_insert_epi16(before, enter(7, static_cast<uint16_t>(h1 >> 48)), 7);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(newest + k), before);
    }
#else
    (void)fourHashes;
#endif
    for (; k < n; ++k) newest[k] = enter(0, hash(k));
    newest[n] = 0;
  }

  // Takes out all but the first `kept` of the n positions.
  template <typename Hash>
  void Remove(uint16_t* head, ptrdiff_t n, ptrdiff_t kept, Hash hash) const {
    ZELDC_ASSERT(0 <= kept && kept <= n && n <= kSize);
    for (ptrdiff_t k = n; k-- > kept;) head[hash(k)] = newest[k];
  }
};

// Searches up to `stop`, entering positions up to `enterEnd` >= stop, at most `size` at a time: insert(i, n) enters n
// positions from byte i on, run(i, end) searches the batch that ends at `end`, or all but its last position unless that
// is enterEnd, remove(i, n, kept) takes back what the last call of insert did behind the first `kept` positions.
template <typename Insert, typename Run, typename Remove>
ZELDC_ALWAYS_INLINE void SearchInBatches(Search* x, ptrdiff_t stop, ptrdiff_t enterEnd, ptrdiff_t size, Insert insert,
                                         Run run, Remove remove) {
  ptrdiff_t n = 0;
  ptrdiff_t inserted = x->i;  // positions before this one are in the tables
  while (x->i < stop && x->pair < x->pairEnd) {
    // Not much more than what the pairs that there is room for may stand for.
    const ptrdiff_t room = x->pairEnd - x->pair;
    n = room < size / 4 - 4 ? 4 * room + 16 : size;
    if (n > enterEnd - inserted) n = enterEnd - inserted;
    ZELDC_ASSERT(0 <= n && n <= size);
    insert(inserted, n);
    run(inserted, inserted + n);
    inserted += n;
  }
  if (x->i < inserted) {
    remove(inserted - n, n, n - (inserted - x->i));
  } else if (x->i > inserted) {
    insert(inserted, x->i - inserted);
  }
}

}  // namespace zeldc
