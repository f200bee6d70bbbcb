// zelLZ77LevelNormal: greedy, the longest match among the newest 16 positions with the same salted hash of three bytes.
//
// Which position stands before which in a chain depends on the data alone, not on the matches chosen. So positions are
// entered a batch at a time, ahead of the search, by loops without a branch. Should a call end within a batch, the
// positions that it did not reach are taken out again.
//
// Bound by the walk along the chain, where each link is loaded from where the one before points to, often past the
// first-level cache, and the search cannot go on before the walk is at its end. Links are therefore positions and not
// distances, so that nothing but the load stands between one and the next. Whatever is more than a window back when it
// is linked to is replaced by a position exactly a window back: so the first link of a walk that is too old looks old,
// and no walk goes beyond it.

#include "deflate/match_kernel.h"

namespace zeldc {

namespace {

constexpr int kCandidates = 16;
constexpr ptrdiff_t kBatch = 1024;

struct Batch {
  uint16_t newest[kBatch];  // what the heads held before

  // Enters the n positions of the bytes from p on, the first one `pos`.
  void Insert(NormalTables* t, const uint8_t* p, uint32_t pos, ptrdiff_t n);
  // Takes out all but the first `kept` of the n positions.
  void Remove(NormalTables* t, const uint8_t* p, ptrdiff_t n, ptrdiff_t kept) const;
};

// Makes the links of positions from `pos` on.
ZELDC_ALWAYS_INLINE void Link(const uint16_t* newest, uint16_t pos, ptrdiff_t n, uint16_t* previous) {
  uint16_t at = pos;
  for (ptrdiff_t k = 0; k < n; ++k, ++at) {
    const uint16_t distance = static_cast<uint16_t>(at - newest[k]);
    previous[k] = distance < kMaxDistance ? newest[k] : static_cast<uint16_t>(at - kMaxDistance);
  }
}

void Batch::Insert(NormalTables* t, const uint8_t* p, uint32_t pos, ptrdiff_t n) {
  uint16_t* const head = t->head;
  const uint16_t first = static_cast<uint16_t>(pos);
  auto enter = [&](ptrdiff_t k, uint64_t hash) ZELDC_LAMBDA_INLINE {
    newest[k] = head[hash];
    head[hash] = static_cast<uint16_t>(first + k);
  };
  ptrdiff_t k = 0;
  for (; n - k >= 4; k += 4) {
    const uint64_t hashes = FourSaltedHashes(p + k);
    enter(k, hashes & 0xFFFF);
    enter(k + 1, hashes >> 16 & 0xFFFF);
    enter(k + 2, hashes >> 32 & 0xFFFF);
    enter(k + 3, hashes >> 48);
  }
  for (; k < n; ++k) enter(k, SaltedHash(p + k));

  // The ring of links may end within the batch.
  for (ptrdiff_t from = 0; from < n;) {
    const uint16_t slot = static_cast<uint16_t>(first + from);
    const ptrdiff_t count = 0x10000 - slot < n - from ? 0x10000 - slot : n - from;
    Link(newest + from, slot, count, t->previous + slot);
    from += count;
  }
}

void Batch::Remove(NormalTables* t, const uint8_t* p, ptrdiff_t n, ptrdiff_t kept) const {
  for (ptrdiff_t k = n; k-- > kept;) t->head[SaltedHash(p + k)] = newest[k];
}

// The longest match at p, position `pos`, of length 2 if there is none.
ZELDC_ALWAYS_INLINE Match LongestMatch(const uint16_t* previous, const uint8_t* p, uint16_t pos, uint32_t maxDistance,
                                       uint32_t limit) {
  uint32_t left = kCandidates;
  __asm__("" : "+r"(left));  // or else the first loop is unrolled
  uint16_t candidate = previous[pos];
  uint32_t distance = static_cast<uint16_t>(pos - candidate);
  // Up to the first that agrees in three bytes.
  const uint32_t first = LoadLE<uint32_t>(p);
  uint32_t differs;
  for (;;) {
    if (distance > maxDistance) return {2, 0};
    differs = LoadLE<uint32_t>(p - distance) ^ first;
    if (differs << 8 == 0) break;
    if (--left == 0) return {2, 0};
    candidate = previous[candidate];
    distance = static_cast<uint16_t>(pos - candidate);
  }
  Match best{3, distance};
  if (ZELDC_LIKELY(limit >= 8)) {
    const uint64_t x = LoadLE<uint64_t>(p) ^ LoadLE<uint64_t>(p - distance);
    best.length = x ? static_cast<uint32_t>(__builtin_ctzll(x) >> 3) : MatchLength(p, p - distance, 8, limit);
  } else {
    best.length = MatchLength(p, p - distance, 3, limit);
  }
  // Longer ones agree in four bytes at the front and at the end.
  while (best.length < limit) {
    const uint8_t* const tail = p + best.length - 3;
    const uint32_t last = LoadLE<uint32_t>(tail);
    do {
      if (--left == 0) return best;
      candidate = previous[candidate];
      distance = static_cast<uint16_t>(pos - candidate);
      if (distance > maxDistance) return best;
    } while (LoadLE<uint32_t>(tail - distance) != last);
    if (LoadLE<uint32_t>(p - distance) == first) {
      const uint32_t length = MatchLength(p, p - distance, 4, limit);
      if (length > best.length) best = {length, distance};
    }
  }
  return best;
}

// Searches up to `end`. kInside: a window lies before all of it, and a longest match behind. Not inlined, so that what
// the walk needs stays in registers.
template <bool kInside>
ZELDC_NOINLINE void RunBatch(Search* x, const uint8_t* base, ptrdiff_t end) {
  const uint16_t* const previous = x->state->tables.normal.previous;
  zelLZ77Pair* pair = x->pair;
  zelLZ77Pair* const pairEnd = x->pairEnd;
  const uint8_t* const start = base + x->i;
  const uint8_t* const stop = base + end;
  const uint16_t pos = static_cast<uint16_t>(x->posBase + static_cast<uint32_t>(x->i));
  const uint8_t* p = start;
  while (p < stop && pair < pairEnd) {
    const ptrdiff_t i = x->i + (p - start);
    const uint32_t limit = kInside ? kMaxMatch : MaxLength(x, i);
    Match m{2, 0};
    if (kInside || limit >= kMinMatch) {
      m = LongestMatch(previous, p, static_cast<uint16_t>(pos + (p - start)),
                       kInside ? kMaxDistance - 1 : MaxDistance(x, i), limit);
    }
    if (m.length < kMinMatch) {
      *pair++ = {*p++, 0};
      continue;
    }
    *pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
    p += m.length;
  }
  x->pair = pair;
  x->i += p - start;
}

}  // namespace

void SearchNormal(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t /*readEnd*/) {
  NormalTables* const t = &x->state->tables.normal;
  Batch batch;
  ptrdiff_t inserted = x->i;  // positions before this one are in the tables
  ptrdiff_t n = 0;
  auto insert = [&](ptrdiff_t count) {
    n = count < kBatch ? count : kBatch;
    batch.Insert(t, base + inserted, x->posBase + static_cast<uint32_t>(inserted), n);
    inserted += n;
  };
  while (x->i < stop && x->pair < x->pairEnd) {
    // Not much more than what the pairs that there is room for may stand for.
    const ptrdiff_t room = x->pairEnd - x->pair;
    const ptrdiff_t enough = room < kBatch ? 16 + 4 * room : kBatch;
    insert(enough < stop - inserted ? enough : stop - inserted);
    if (Reach(x, x->i) >= kMaxDistance && x->matchEnd - inserted >= kMaxMatch) {
      RunBatch<true>(x, base, inserted);
    } else {
      RunBatch<false>(x, base, inserted);
    }
  }
  if (x->i < inserted) {
    batch.Remove(t, base + (inserted - n), n, n - (inserted - x->i));
  } else if (x->i > inserted) {
    insert(x->i - inserted);
  }
}

void InsertDictionaryNormal(EncoderState* s, const uint8_t* dictionary, int32_t len) {
  Batch batch;
  for (ptrdiff_t i = 0, left = len - (kMinMatch - 1); left > 0;) {
    const ptrdiff_t n = left < kBatch ? left : kBatch;
    batch.Insert(&s->tables.normal, dictionary + i, s->tablePos + static_cast<uint32_t>(i), n);
    i += n;
    left -= n;
  }
}

}  // namespace zeldc
