// The fast one-call search: one candidate a position, the newest with the same rolling hash.
//
// The kernel is that of zelLZ77LevelFast. Only how positions are entered differs: into 32-bit tables of any size, and
// what was there is turned into what the kernel reads, 16 bits of a position, or of one too far back.

#include "deflate/one_call.h"
#include "deflate/rolling_hash.h"

namespace zeldc {

namespace {

struct FastBatch {
  PositionBatch batch;
  uint16_t hashes[PositionBatch::kSize];
  int32_t before[PositionBatch::kSize];  // what the heads held
};

void ComputeHashes(const uint8_t* base, ptrdiff_t i, ptrdiff_t n, ptrdiff_t readEnd, uint32_t mask, uint16_t* hashes) {
  if (mask < kHashSize) {
    ComputeRollingHashes<false>(base + i, n, readEnd - i, mask, hashes);
    return;
  }
  // The hash starts anew with each call.
  const ptrdiff_t first = i == 0 && n > 0 ? 1 : 0;
  if (first == 1) hashes[0] = RollingHash(base, mask);
  ComputeRollingHashes<true>(base + i + first, n - first, readEnd - i - first, mask, hashes + first);
}

// Enters the n positions of the bytes from i on.
void Insert(OneCall* c, FastBatch* b, const uint8_t* base, ptrdiff_t i, ptrdiff_t n, ptrdiff_t readEnd) {
  ZELDC_ASSERT(n <= PositionBatch::kSize);
  ComputeHashes(base, i, n, readEnd, c->t.hashMask, b->hashes);
  const uint32_t position = c->x.posBase + static_cast<uint32_t>(i);
  int32_t* const head = c->t.head;
  for (ptrdiff_t k = 0; k < n; ++k) {
    int32_t* const entry = head + b->hashes[k];
    b->before[k] = *entry;
    *entry = static_cast<int32_t>(position + static_cast<uint32_t>(k));
  }
  uint16_t* const newest = b->batch.newest;
  auto reduce = [&](ptrdiff_t k, uint32_t farthest) ZELDC_LAMBDA_INLINE {
    const uint32_t at = position + static_cast<uint32_t>(k);
    const uint32_t distance = EntryDistance(at, b->before[k]);
    newest[k] = static_cast<uint16_t>(at - (IsGood(distance, farthest) ? distance : kMaxDistance));
  };
  if (static_cast<int32_t>(position) >= static_cast<int32_t>(c->t.winSize)) {
    for (ptrdiff_t k = 0; k < n; ++k) reduce(k, c->t.winSize - 1);
  } else {
    for (ptrdiff_t k = 0; k < n; ++k) reduce(k, FarthestDistance(c->t, position + static_cast<uint32_t>(k)));
  }
  newest[n] = static_cast<uint16_t>(position + static_cast<uint32_t>(n));
}

}  // namespace

void SearchOneCallFast(OneCall* c, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
  FastBatch b;
  SearchInBatches(
      &c->x, stop, stop, PositionBatch::kSize,
      [&](ptrdiff_t i, ptrdiff_t n) {
        // A match at the end may run on over positions without three bytes.
        if (n > c->hashed - i) n = c->hashed - i;
        if (n > 0) Insert(c, &b, base, i, n, readEnd);
      },
      [&](ptrdiff_t i, ptrdiff_t end) {
        RunFastBatch(&c->x, b.batch, base, i, end, readEnd);
        c->PutItems();
      },
      [&](ptrdiff_t, ptrdiff_t n, ptrdiff_t kept) {
        for (ptrdiff_t k = n; k-- > kept;) c->t.head[b.hashes[k]] = b.before[k];
      });
}

}  // namespace zeldc
