// The chained and the thorough one-call search: lazy, for the longest match among many candidates.
//
// The caller's tables chain positions by a hash of three bytes. In such a chain most candidates match three bytes and
// no more, so only matches of three bytes come from there, the newest candidate's. Longer ones are looked for in side
// tables on the stack, which chain the positions of this call and of the window by a hash of four bytes, in the way
// that longest_link.h describes. A position of the window only counts when the caller's tables hold it.
//
// Positions are entered ahead of the search, a batch at a time. So a position has its links when matches are looked for
// there, and it is the same whether the walk goes on from a candidate or starts at the position itself: the first
// link followed is the longest of those of the bytes that a better match must cover.
//
// Bound by the cache misses of the walk, and the mispredicted ends of its steps.

#include "deflate/one_call_chained.h"

#if ZELDC_AVX2
#include <immintrin.h>
#endif

#include <string.h>

#include "deflate/longest_link.h"
#include "shared/match_call.h"

namespace zeldc {

namespace {

constexpr uint32_t kSlotMask = kWindowSize - 1;
// Between two sweeps, at the start of batches, an entry that looks a window old must not come to look new.
constexpr uint32_t kSweepEvery = 31000;
static_assert(kWindowSize + kSweepEvery + PositionBatch::kSize + kMaxMatch < 0x10000);

// Enters n positions into the caller's tables, and keeps what the chain held.
void EnterInCallersTables(OneCall* c, ChainedBatch* b, const uint8_t* p, uint32_t position, ptrdiff_t n) {
  ZELDC_ASSERT(n <= PositionBatch::kSize);
  const uint32_t mask = c->t.hashMask;
  int32_t* const head = c->t.head;
  uint32_t slot = position % c->t.winSize;
  // With room enough for all of them as literals, none is taken out again.
  const bool mayRemove = c->room <= 2 * PositionBatch::kSize;
  for (ptrdiff_t from = 0; from < n;) {
    const ptrdiff_t toEnd = static_cast<ptrdiff_t>(c->t.winSize - slot);
    const ptrdiff_t count = toEnd < n - from ? toEnd : n - from;
    int32_t* const chain = c->t.chain + slot;
    if (mayRemove) memcpy(b->saved + from, chain, static_cast<size_t>(count) * sizeof(int32_t));
    const uint8_t* const bytes = p + from;
    const uint32_t first = position + static_cast<uint32_t>(from);
    auto enter = [&](ptrdiff_t k, uint32_t h) ZELDC_LAMBDA_INLINE {
      int32_t* const entry = head + (h & mask);
      chain[k] = *entry;
      *entry = static_cast<int32_t>(first + static_cast<uint32_t>(k));
    };
    ptrdiff_t k = 0;
    for (; k + 4 <= count; k += 4) {
      const uint64_t h = FourSaltedHashes(bytes + k);
      enter(k, static_cast<uint16_t>(h));
      enter(k + 1, static_cast<uint16_t>(h >> 16));
      enter(k + 2, static_cast<uint16_t>(h >> 32));
      enter(k + 3, static_cast<uint16_t>(h >> 48));
    }
    for (; k < count; ++k) enter(k, SaltedHash(bytes + k));
    uint16_t* const newest = b->newest3 + from;
    auto reduce = [&](ptrdiff_t j, uint32_t farthest) ZELDC_LAMBDA_INLINE {
      const uint32_t distance = EntryDistance(first + static_cast<uint32_t>(j), chain[j]);
      newest[j] = static_cast<uint16_t>(IsGood(distance, farthest) ? distance : 0);
    };
    const uint32_t most = c->t.winSize - 1 < kMaxDistanceOf3 ? c->t.winSize - 1 : kMaxDistanceOf3;
    if (static_cast<int32_t>(first) >= static_cast<int32_t>(kMaxDistanceOf3)) {
      for (k = 0; k < count; ++k) reduce(k, most);
    } else {
      for (k = 0; k < count; ++k) {
        const uint32_t farthest = FarthestDistance(c->t, first + static_cast<uint32_t>(k));
        reduce(k, farthest < most ? farthest : most);
      }
    }
    from += count;
    slot = 0;
  }
  for (ptrdiff_t from = 0; from < n;) {
    const uint32_t at = (position + static_cast<uint32_t>(from)) & ChainedBatch::kNearMask;
    const ptrdiff_t toEnd = static_cast<ptrdiff_t>(ChainedBatch::kNearMask + 1 - at);
    const ptrdiff_t count = toEnd < n - from ? toEnd : n - from;
    memcpy(b->near3 + at, b->newest3 + from, static_cast<size_t>(count) * sizeof(uint16_t));
    from += count;
  }
}

void RemoveFromCallersTables(OneCall* c, const ChainedBatch* b, const uint8_t* p, uint32_t position, ptrdiff_t n,
                             ptrdiff_t kept) {
  for (ptrdiff_t k = n; k-- > kept;) {
    int32_t* const entry = c->t.chain + (position + static_cast<uint32_t>(k)) % c->t.winSize;
    c->t.head[SaltedHash(p + k) & c->t.hashMask] = *entry;
    *entry = b->saved[k];
  }
}

// The hashes of four bytes of the n positions from p on, of whose bytes `readable` >= n + 3 may be read.
void ComputeHashes4(const uint8_t* p, ptrdiff_t n, ptrdiff_t readable, uint16_t* hashes) {
  ptrdiff_t k = 0;
#if ZELDC_AVX2
  // Four positions' strings from seven bytes, in both halves; sixteen hashes make a store.
  const __m256i strings = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 1, 2, 3, 4, 2, 3, 4, 5, 3, 4, 5, 6));
  const __m256i factor = _mm256_set1_epi32(static_cast<int32_t>(kHash4Factor));
  for (; k + 16 <= n && k + 24 <= readable; k += 16) {
    auto hash = [&](ptrdiff_t low, ptrdiff_t high) ZELDC_LAMBDA_INLINE {
      const __m256i bytes = _mm256_set_m128i(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k + high)),
                                             _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k + low)));
      return _mm256_srli_epi32(_mm256_mullo_epi32(_mm256_shuffle_epi8(bytes, strings), factor), 32 - kHashBits);
    };
    // Packing goes by halves: 0-3, 4-7 low, 8-11, 12-15 high.
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hashes + k), _mm256_packus_epi32(hash(0, 8), hash(4, 12)));
  }
#else
  (void)readable;
#endif
  for (; k < n; ++k) hashes[k] = static_cast<uint16_t>(Hash4(p + k));
}

// Enters n positions into the side tables, of whose bytes `readable` may be read.
void EnterInSideTables(SideTables* t, ChainedBatch* b, const uint8_t* p, uint32_t pos, ptrdiff_t n,
                       ptrdiff_t readable) {
  if (static_cast<int32_t>(t->nextSweep - pos) <= 0) {
    SweepTable(t->head, pos);
    t->nextSweep = pos + kSweepEvery;
  }
  if (n > readable - 3) n = readable - 3;
  if (n <= 0) return;
  uint16_t* const hashes = b->hashes;
  ComputeHashes4(p, n, readable, hashes);
  b->batch.Insert(
      t->head, pos, n, [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return LoadNative<uint64_t>(hashes + k); },
      [&](ptrdiff_t k) ZELDC_LAMBDA_INLINE { return hashes[k]; });
  for (ptrdiff_t from = 0; from < n;) {
    const uint32_t slot = (pos + static_cast<uint32_t>(from)) & kSlotMask;
    const ptrdiff_t toEnd = kWindowSize - static_cast<ptrdiff_t>(slot);
    const ptrdiff_t count = toEnd < n - from ? toEnd : n - from;
    uint16_t* const link = t->link + slot;
    const uint16_t* const newest = b->batch.newest + from;
    const uint16_t at = static_cast<uint16_t>(pos + static_cast<uint32_t>(from));
    for (ptrdiff_t k = 0; k < count; ++k) link[k] = static_cast<uint16_t>(at + k - newest[k]);
    from += count;
  }
  t->end = pos + static_cast<uint32_t>(n);
}

// Marks the positions of the window that the caller's tables hold: those that heads hold, then, from the newest to the
// oldest, those that marked ones link to.
void MarkLivePositions(const OneCall* c, SideTables* t) {
  const uint32_t start = c->x.posBase;
  const uint32_t farthest = FarthestDistance(c->t, start);
  // Whether an entry is good is a toss, so it is arithmetic: what is not marked marks a place behind the end.
  auto mark = [&](int32_t entry, uint32_t good) ZELDC_LAMBDA_INLINE {
    const uint32_t mask = 0u - good;
    t->live[(static_cast<uint32_t>(entry) & kSlotMask & mask) | (kWindowSize & ~mask)] = 1;
  };
  memset(t->live, 0, sizeof(t->live));
  const uint32_t heads = c->t.hashMask < kHashSize ? c->t.hashMask + 1 : kHashSize;  // that the hash can reach
  for (uint32_t h = 0; h < heads; ++h) {
    const int32_t entry = c->t.head[h];
    mark(entry, IsGood(EntryDistance(start, entry), farthest) ? 1 : 0);
  }
  uint32_t slot = start % c->t.winSize;
  for (uint32_t distance = 1; distance < farthest; ++distance) {
    slot = (slot == 0 ? c->t.winSize : slot) - 1;
    const uint32_t position = start - distance;
    const int32_t entry = c->t.chain[slot];
    const uint32_t good = IsGood(EntryDistance(position, entry), farthest - distance) ? 1 : 0;
    mark(entry, t->live[position & kSlotMask] & good);
  }
}

// A call's search, as far as it does not change from byte to byte.
struct Walker {
  const uint16_t* link;
  const uint8_t* live;
  const uint8_t* base;
  uint32_t posBase;
  uint32_t end;  // positions before this one have links
  ptrdiff_t size;
  ptrdiff_t history;
  uint32_t farthest;
};

// The longest match at byte i that is longer than `known`, which is 3 at least; of length 2 if there is none.
template <bool kFollow>
ZELDC_NOINLINE Match Walk(const Walker& w, ptrdiff_t i, uint32_t known, uint32_t maxDistance, uint32_t limit,
                          uint32_t steps) {
  const uint8_t* const p = w.base + i;
  const uint32_t pos = w.posBase + static_cast<uint32_t>(i);
  const uint16_t* const link = w.link;
  auto longest = [&](uint32_t distance, uint32_t links) ZELDC_LAMBDA_INLINE {
    const uint32_t at = pos - distance;
    const uint32_t slot = at & kSlotMask;
    if (links > kWindowSize - slot) links = kWindowSize - slot;
    if (links > w.end - at) links = w.end - at;
    return LongestLink(link + slot, links);
  };
  Match best{known, 0};
  uint32_t k = kFollow && known > 3 ? longest(0, known - 2) : 0;
  uint32_t distance = link[(pos + k) & kSlotMask];
  for (;;) {
    const uint8_t* const tail = p + best.length - 3;
    const uint32_t last = LoadLE<uint32_t>(tail);
    uint32_t at = pos + k - distance;
    for (;;) {
      if (distance > maxDistance) return best;
      if (LoadLE<uint32_t>(tail - distance) == last) break;
      if (--steps == 0) return best;
      const uint32_t step = link[at & kSlotMask];
      distance += step;
      at -= step;
    }
    const uint8_t* const candidate = p - distance;
    if (LoadLE<uint32_t>(candidate) == LoadLE<uint32_t>(p)) {
      const uint32_t length = MatchLength(p, candidate, 4, limit);
      if (length > best.length &&
          (static_cast<ptrdiff_t>(distance) <= i || w.live[(pos - distance) & kSlotMask] != 0)) {
        best = {length, distance};
        if (length >= limit) return best;
        if (kFollow) k = longest(distance, length - 3);
      }
    }
    if (--steps == 0) return best;
    distance += link[(pos + k - distance) & kSlotMask];
  }
}

// Searches up to `inserted`, or not quite, where later batches may tell more.
template <bool kFollow, bool kTwoAhead>
void RunBatch(OneCall* c, const SideTables* t, const ChainedBatch& b, const uint8_t* base, ptrdiff_t inserted,
              ptrdiff_t stop, const Effort& effort) {
  Search* const x = &c->x;
  Walker w{t->link, t->live, base, x->posBase, t->end, c->size, c->history, c->t.winSize - 1};
  zelLZ77Pair* pair = x->pair;
  zelLZ77Pair* const pairEnd = x->pairEnd;
  ptrdiff_t i = x->i;

  // The best match at byte `at` that is longer than `known`.
  auto find = [&](ptrdiff_t at, uint32_t known, uint32_t steps) ZELDC_LAMBDA_INLINE {
    const bool shortToo = known < 3;
    const uint32_t limit = Smaller(kMaxMatch, w.size - at);
    const uint32_t reach = at >= kWindowSize ? w.farthest : Smaller(static_cast<ptrdiff_t>(w.farthest), at + w.history);
    if (known < 3) known = 3;
    if (limit > known && (known > 3 || w.link[(w.posBase + static_cast<uint32_t>(at)) & kSlotMask] <= reach)) {
      const Match m = Walk<kFollow>(w, at, known, reach, limit, steps);
      if (m.distance != 0) return m;
    }
    if (shortToo && limit >= 3) {
      const uint32_t distance = b.near3[(w.posBase + static_cast<uint32_t>(at)) & ChainedBatch::kNearMask];
      if (distance != 0 && LoadThree(base + at) == LoadThree(base + at - distance)) return Match{3, distance};
    }
    return Match{2, 0};
  };

  while (i < inserted && pair < pairEnd) {
    if (i + 2 >= inserted && inserted < stop && pairEnd - pair > 4) break;
    Match m = find(i, 2, effort.candidates);
    if (m.length < kMinMatch) {
      *pair++ = {base[i++], 0};
      continue;
    }
    while (m.length < effort.niceLength && i + 1 < inserted && pairEnd - pair > 3) {
      const uint32_t known = m.length > 3 ? m.length - 1 : 3;
      Match next = find(i + 1, known, effort.candidatesLazy);
      if (next.distance != 0 && IsWorthWaiting(m, next, 1)) {
        *pair++ = {base[i++], 0};
        m = next;
        continue;
      }
      if (!kTwoAhead || i + 2 >= inserted) break;
      next = find(i + 2, known, effort.candidatesLazy);
      if (next.distance == 0 || !IsWorthWaiting(m, next, 2)) break;
      *pair++ = {base[i++], 0};
      *pair++ = {base[i++], 0};
      m = next;
    }
    *pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
    i += m.length;
  }
  x->pair = pair;
  x->i = i;
}

}  // namespace

void StartSideTables(const OneCall* c, SideTables* t, const uint8_t* base, ptrdiff_t readEnd) {
  const uint32_t history = FarthestDistance(c->t, c->x.posBase);
  const uint32_t first = c->x.posBase - history;
  const uint16_t dead = static_cast<uint16_t>(first - kWindowSize);
  for (uint16_t& entry : t->head) entry = dead;
  memset(t->link + kWindowSize, 0, sizeof(t->link) - kWindowSize * sizeof(t->link[0]));
  t->nextSweep = first + kSweepEvery;
  t->end = first;
  if (history == 0) return;
  MarkLivePositions(c, t);
  ChainedBatch b;
  for (uint32_t from = 0; from < history; from += PositionBatch::kSize) {
    const ptrdiff_t left = static_cast<ptrdiff_t>(history - from);
    EnterInSideTables(t, &b, base - left, first + from, left < PositionBatch::kSize ? left : PositionBatch::kSize,
                      readEnd + left);
  }
}

void SearchOneCallChained(OneCall* c, SideTables* t, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd,
                          int32_t level) {
  const Effort effort = EffortOf(level);
  ChainedBatch b;
  SearchInBatches(
      &c->x, stop, stop, PositionBatch::kSize,
      [&](ptrdiff_t i, ptrdiff_t n) {
        // A match at the end may run on over positions without three bytes.
        if (n > c->hashed - i) n = c->hashed - i;
        if (n <= 0) return;
        const uint32_t position = c->x.posBase + static_cast<uint32_t>(i);
        EnterInCallersTables(c, &b, base + i, position, n);
        EnterInSideTables(t, &b, base + i, position, n, readEnd - i);
      },
      [&](ptrdiff_t, ptrdiff_t end) {
        if (level < kFirstThoroughLevel) {
          RunBatch<true, false>(c, t, b, base, end, stop, effort);
        } else {
          RunBatch<true, true>(c, t, b, base, end, stop, effort);
        }
        c->PutItems();
      },
      [&](ptrdiff_t i, ptrdiff_t n, ptrdiff_t kept) {
        RemoveFromCallersTables(c, &b, base + i, c->x.posBase + static_cast<uint32_t>(i), n, kept);
      });
}

}  // namespace zeldc
