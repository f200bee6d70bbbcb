// zelLZ77LevelFast: one candidate a position, the newest with the same rolling hash of three bytes.
//
// Positions are entered ahead of the search (position_batch.h), so each one's candidate stands in an array. Bound by
// one hard-to-predict branch a position, whether its candidate matches, and by the misses of the candidates in the
// first-level cache. So whether a candidate is near enough is not a branch of its own, and the next position's
// candidate is fetched before the branch for this one, where its misses pass while the branch is being resolved.

#include "deflate/position_batch.h"
#include "deflate/rolling_hash.h"

namespace zeldc {

namespace {

constexpr uint32_t kHashMask = kHashSize - 1;

// What is known of a position's candidate.
struct Candidate {
  uint32_t distance;
  uint32_t differs;  // 0: agrees in three bytes, and is near enough
};

// The candidate for p, position `pos`. kWide: four bytes may be read. kFar: every distance that the head table can hold
// reaches bytes that are there; else they begin `reach` before p.
template <bool kWide, bool kFar>
ZELDC_ALWAYS_INLINE Candidate LookAt(const uint8_t* p, uint32_t pos, uint16_t newest, ptrdiff_t reach) {
  const uint32_t distance = DistanceTo(pos, newest);
  // Whether the candidate is too far back, as a mask: a branch would be a coin toss. Such a candidate is replaced by
  // the position itself, which may be read, and marked.
  int32_t tooFar = static_cast<int32_t>(distance << 16) >> 31;
  if constexpr (!kFar) tooFar |= static_cast<int32_t>(reach - static_cast<ptrdiff_t>(distance)) >> 31;
  const uint8_t* const c = p - (distance & ~static_cast<uint32_t>(tooFar));
  const uint32_t differs = kWide ? (LoadLE<uint32_t>(p) ^ LoadLE<uint32_t>(c)) << 8 : LoadThree(p) ^ LoadThree(c);
  return {distance, differs | (static_cast<uint32_t>(tooFar) & 1)};
}

// Searches up to `end`, in a batch that starts at `first`.
template <bool kWide, bool kFar>
ZELDC_NOINLINE void RunBatch(Search* x, const PositionBatch& batch, const uint8_t* base, ptrdiff_t first,
                             ptrdiff_t end) {
  zelLZ77Pair* pair = x->pair;
  zelLZ77Pair* const pairEnd = x->pairEnd;
  const uint8_t* const start = base + first;
  const uint32_t pos = x->posBase + static_cast<uint32_t>(first);
  const ptrdiff_t reach = Reach(x, first);
  const ptrdiff_t toMatchEnd = x->matchEnd - first;
  const ptrdiff_t n = end - first;
  ptrdiff_t k = x->i - first;
  auto lookAt = [&](ptrdiff_t at) ZELDC_LAMBDA_INLINE {
    return LookAt<kWide, kFar>(start + at, pos + static_cast<uint32_t>(at), batch.newest[at], reach + at);
  };
  while (k < n && pair < pairEnd) {
    Candidate now = lookAt(k);
    if constexpr (kWide) {
      // Literals, as long as they last, with the next position's candidate fetched before the branch.
      for (;;) {
        Candidate next = lookAt(k + 1);
        __asm__ volatile("" : "+r"(next.distance), "+r"(next.differs));
        if (now.differs == 0) break;
        *pair++ = {start[k++], 0};
        if (k >= n || pair == pairEnd) break;
        now = next;
      }
      if (now.differs != 0) break;
    }
    const uint32_t limit = toMatchEnd - k < kMaxMatch ? static_cast<uint32_t>(toMatchEnd - k) : kMaxMatch;
    if (now.differs != 0 || limit < kMinMatch) {
      *pair++ = {start[k++], 0};
      continue;
    }
    const uint8_t* const p = start + k;
    const uint32_t length = MatchLength(p, p - now.distance, kMinMatch, limit);
    *pair++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(now.distance)};
    k += length;
  }
  x->pair = pair;
  x->i = first + k;
}

}  // namespace

void RunFastBatch(Search* x, const PositionBatch& batch, const uint8_t* base, ptrdiff_t first, ptrdiff_t end,
                  ptrdiff_t readEnd) {
  const ptrdiff_t wideEnd = end < readEnd - 8 ? end : readEnd - 8;
  if (Reach(x, first) >= kMaxDistance) {
    RunBatch<true, true>(x, batch, base, first, wideEnd);
  } else {
    RunBatch<true, false>(x, batch, base, first, wideEnd);
  }
  // The last few positions of a call, without reading behind it.
  if (x->i < end) RunBatch<false, false>(x, batch, base, first, end);
}

void SearchFast(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
  uint16_t* const head = x->state->tables.fast.head;
  PositionBatch batch;
  uint16_t hashes[PositionBatch::kSize];
  auto hash = [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return hashes[k]; };
  SearchInBatches(
      x, stop,
      [&](ptrdiff_t i, ptrdiff_t n) {
        ComputeRollingHashes<false>(base + i, n, readEnd - i, kHashMask, hashes);
        batch.Insert(
            head, x->posBase + static_cast<uint32_t>(i), n,
            [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return LoadNative<uint64_t>(hashes + k); }, hash);
      },
      [&](ptrdiff_t i, ptrdiff_t end) { RunFastBatch(x, batch, base, i, end, readEnd); },
      [&](ptrdiff_t, ptrdiff_t n, ptrdiff_t kept) { batch.Remove(head, n, kept, hash); });
}

void InsertDictionaryFast(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  for (int32_t i = 0; i + kMinMatch <= len; ++i) {
    s->tables.fast.head[RollingHash(dictionary + i, kHashMask)] =
        static_cast<uint16_t>(s->tablePos + static_cast<uint32_t>(i));
  }
}

}  // namespace zeldc
