// The match search: bytes to pairs.

#include <string.h>

#include "checksum/adler32.h"
#include "checksum/crc.h"
#include "core/target.h"
#include "core/vector_primitives.h"
#include "deflate/encoder_state.h"
#include "shared/unaligned.h"

namespace zeldc {

namespace {

// Table entries are positions modulo 2^16. An entry is good while it lies less than 2^15 back; entries are swept out
// before they lie 2^16 back and would look new again. A match may run over the sweep's position by its length.
constexpr uint32_t kSweepInterval = 32000;
constexpr uint16_t kEmpty = 0x8000;  // as seen from position 0

// One call's search, handed from one stretch of contiguous memory to the next.
struct Search {
  EncoderState* state;
  zelLZ77Pair* pair;
  zelLZ77Pair* pairEnd;
  int64_t i;         // next byte, counted from the call's first
  int64_t matchEnd;  // no match reaches further
  int64_t oldest;    // no match starts before
  uint32_t posBase;  // table position of the call's first byte
  // zelLZ77LevelBest: a match found for byte i, or of length 0.
  uint32_t carriedLen;
  uint32_t carriedDist;
};

inline uint32_t Min(int64_t a, int64_t b) { return static_cast<uint32_t>(a < b ? a : b); }

// The length of the match of a and b, which agree in their first `from` bytes, up to `limit`.
ZELDC_ALWAYS_INLINE uint32_t MatchLength(const uint8_t* a, const uint8_t* b, uint32_t from, uint32_t limit) {
  uint32_t n = from;
  for (; n + 8 <= limit; n += 8) {
    const uint64_t x = LoadLE<uint64_t>(a + n) ^ LoadLE<uint64_t>(b + n);
    if (x) return n + static_cast<uint32_t>(__builtin_ctzll(x) >> 3);
  }
  while (n < limit && a[n] == b[n]) ++n;
  return n;
}

inline uint32_t RollingHash(const uint8_t* p) {
  return ((uint32_t{p[0]} << 10) ^ (uint32_t{p[1]} << 5) ^ p[2]) & (kHashSize - 1);
}

inline void InsertFast(EncoderState* s, const uint8_t* p, uint32_t pos) {
  s->head[RollingHash(p)] = static_cast<uint16_t>(pos);
}

inline void Insert(EncoderState* s, const uint8_t* p, uint32_t pos) {
  uint16_t* const head = &s->head[SaltedHash(p)];
  s->chain[pos & (kWindowSize - 1)] = static_cast<uint16_t>(pos - *head);
  *head = static_cast<uint16_t>(pos);
}

struct Match {
  uint32_t length;
  uint32_t distance;
};

// The longest match at p of 3 or more bytes, the nearest of the longest, among the first `candidates` of the chain that
// starts `distance` bytes back.
inline Match LongestMatch(const EncoderState* s, const uint8_t* p, uint32_t pos, uint32_t distance, int candidates,
                          uint32_t maxDistance, uint32_t limit) {
  Match best{2, 0};
  for (; best.length < limit && distance <= maxDistance && candidates > 0; --candidates) {
    const uint8_t* c = p - distance;
    if (LoadNative<uint16_t>(c + best.length - 1) == LoadNative<uint16_t>(p + best.length - 1)) {
      const uint32_t length = MatchLength(p, c, 0, limit);
      if (length > best.length) best = {length, distance};
    }
    distance += s->chain[(pos - distance) & (kWindowSize - 1)];
  }
  return best;
}

// Each kernel searches from byte i of the call up to, not including, `stop`; base[i] is byte i, and base holds the
// history before and what matches need behind.

void SearchFast(Search* x, const uint8_t* base, int64_t stop) {
  EncoderState* s = x->state;
  int64_t i = x->i;
  while (i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(i);
    const uint32_t maxDistance = Min(kMaxDistance - 1, i - x->oldest);
    uint16_t* const head = &s->head[RollingHash(p)];
    const uint32_t distance = static_cast<uint16_t>(pos - *head);
    *head = static_cast<uint16_t>(pos);
    uint32_t length = 0;
    if (distance - 1 < maxDistance) length = MatchLength(p, p - distance, 0, Min(kMaxMatch, x->matchEnd - i));
    if (length < kMinMatch) {
      *x->pair++ = {*p, 0};
      ++i;
      continue;
    }
    *x->pair++ = {static_cast<uint16_t>(length), static_cast<uint16_t>(distance)};
    for (uint32_t k = 1; k < length; ++k) InsertFast(s, p + k, pos + k);
    i += length;
  }
  x->i = i;
}

void SearchNormal(Search* x, const uint8_t* base, int64_t stop) {
  EncoderState* s = x->state;
  int64_t i = x->i;
  while (i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(i);
    const uint32_t maxDistance = Min(kMaxDistance - 1, i - x->oldest);
    const uint32_t distance = static_cast<uint16_t>(pos - s->head[SaltedHash(p)]);
    Insert(s, p, pos);
    const Match m = LongestMatch(s, p, pos, distance, 16, maxDistance, Min(kMaxMatch, x->matchEnd - i));
    if (m.length < kMinMatch) {
      *x->pair++ = {*p, 0};
      ++i;
      continue;
    }
    *x->pair++ = {static_cast<uint16_t>(m.length), static_cast<uint16_t>(m.distance)};
    for (uint32_t k = 1; k < m.length; ++k) Insert(s, p + k, pos + k);
    i += m.length;
  }
  x->i = i;
}

void SearchBest(Search* x, const uint8_t* base, int64_t stop) {
  EncoderState* s = x->state;
  int64_t i = x->i;
  Match carried{x->carriedLen, x->carriedDist};
  auto search = [&](int64_t at) {
    const uint8_t* p = base + at;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(at);
    const uint32_t distance = static_cast<uint16_t>(pos - s->head[SaltedHash(p)]);
    return LongestMatch(s, p, pos, distance, 512, Min(kMaxDistance - 1, at - x->oldest),
                        Min(kMaxMatch, x->matchEnd - at));
  };
  while (i < stop && x->pair < x->pairEnd) {
    const uint8_t* p = base + i;
    const uint32_t pos = x->posBase + static_cast<uint32_t>(i);
    if (carried.length == 0) carried = search(i);
    Insert(s, p, pos);
    const Match next = search(i + 1);
    if (carried.length < next.length || (carried.length < 4 && (carried.length != 3 || carried.distance > 4096))) {
      *x->pair++ = {*p, 0};
      carried = next;
      ++i;
      continue;
    }
    *x->pair++ = {static_cast<uint16_t>(carried.length), static_cast<uint16_t>(carried.distance)};
    for (uint32_t k = 1; k < carried.length; ++k) Insert(s, p + k, pos + k);
    i += carried.length;
    carried.length = 0;
  }
  x->carriedLen = carried.length;
  x->carriedDist = carried.distance;
  x->i = i;
}

void Sweep(EncoderState* s, uint32_t pos) {
  const uint16_t now = static_cast<uint16_t>(pos);
  const uint16_t dead = static_cast<uint16_t>(pos - kEmpty);
  for (uint16_t& e : s->head) e = static_cast<int16_t>(now - e) < 0 ? dead : e;
  s->nextSweep = pos + kSweepInterval;
}

// Runs the level's kernel up to `stop`, with the sweeps that fall due.
void Run(Search* x, const uint8_t* base, int64_t stop) {
  EncoderState* s = x->state;
  while (x->i < stop && x->pair < x->pairEnd) {
    const uint32_t pos = x->posBase + static_cast<uint32_t>(x->i);
    if (static_cast<int32_t>(s->nextSweep - pos) <= 0) Sweep(s, pos);
    const int64_t due = x->i + (s->nextSweep - pos);
    const int64_t until = due < stop ? due : stop;
    if (s->level == zelLZ77LevelFast) {
      SearchFast(x, base, until);
    } else if (s->level == zelLZ77LevelNormal) {
      SearchNormal(x, base, until);
    } else {
      SearchBest(x, base, until);
    }
  }
}

// Searches the call's n bytes and enters what was consumed into the history; answers how many bytes that is.
int32_t SearchCall(EncoderState* s, const uint8_t* src, int32_t n, zelLZ77Pair** pairs, int32_t room, bool fullFlush) {
  Search x{};
  x.state = s;
  x.pair = *pairs;
  x.pairEnd = *pairs + room;
  x.posBase = s->tablePos;
  // The last two or three bytes are literals, and no match covers them.
  const int64_t searchEnd = n - (s->level == zelLZ77LevelBest ? 3 : 2);
  x.matchEnd = searchEnd;
  x.oldest = -int64_t{s->historyFill < kWindowSize ? s->historyFill : kWindowSize};
  // Position 0 of a stream is no match source for a full flush.
  if (fullFlush && 1 - int64_t{s->historyPos} > x.oldest) x.oldest = 1 - int64_t{s->historyPos};

  // While matches can start in the history, the search runs over a copy of the input behind the history; from then on,
  // and from the start when there is no history, over the input itself.
  int32_t copied = 0;
  if (s->historyFill > 0) {
    constexpr int32_t kSeam = kHistorySize - kWindowSize;
    copied = n < kSeam ? n : kSeam;
    if (s->historyFill + copied > kHistorySize) {
      memmove(s->history, s->history + (s->historyFill - kWindowSize), kWindowSize);
      s->historyFill = kWindowSize;
    }
    ownsCopy_8u(src, s->history + s->historyFill, copied);
    Run(&x, s->history + s->historyFill, searchEnd < kWindowSize ? searchEnd : kWindowSize);
  }
  Run(&x, src, searchEnd);
  for (; x.i < n && x.i >= searchEnd && x.pair < x.pairEnd; ++x.i) *x.pair++ = {src[x.i], 0};

  const int32_t consumed = static_cast<int32_t>(x.i);
  if (fullFlush) {
    ClearMatchTables(s);
    s->historyFill = 0;
  } else {
    if (consumed <= copied) {
      s->historyFill += consumed;
    } else {
      const int32_t kept = consumed < kWindowSize ? consumed : kWindowSize;
      ownsCopy_8u(src + (consumed - kept), s->history, kept);
      s->historyFill = kept;
    }
    s->tablePos += static_cast<uint32_t>(consumed);
  }
  *pairs = x.pair;
  return consumed;
}

}  // namespace

void ClearMatchTables(EncoderState* s) {
  s->tablePos = 0;
  s->nextSweep = kSweepInterval;
  ownsSet_16s(static_cast<int16_t>(kEmpty), reinterpret_cast<int16_t*>(s->head), kHashSize);
}

void InsertDictionary(EncoderState* s) {
  for (int32_t i = 0; i + kMinMatch <= s->historyFill; ++i) {
    const uint32_t pos = s->tablePos + static_cast<uint32_t>(i);
    if (s->level == zelLZ77LevelFast) {
      InsertFast(s, s->history + i, pos);
    } else {
      Insert(s, s->history + i, pos);
    }
  }
  s->tablePos += static_cast<uint32_t>(s->historyFill);
}

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsEncodeLZ77_8u(uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs, int32_t* pPairsLen,
                                       zelLZ77FlushMode flush, zelLZ77State* pState) {
  if (!ppSrc || !ppPairs || !pSrcLen || !pPairsLen || !*ppPairs || !pState) return zelErrNullPtr;
  if (*pPairsLen < 0) return zelErrSize;
  if (*pSrcLen < 0) return zelErrSize;
  if (!*ppSrc && *pSrcLen > 0) return zelErrNullPtr;
  EncoderState* s = Encoder(pState);
  // Keeps the running position below 2^31; the tables count modulo 2^16 anyway.
  if (s->historyPos > INT32_MAX - *pSrcLen) s->historyPos &= kWindowSize - 1;
  s->srcRemain = *pSrcLen;
  s->lastFlush = flush;
  if (*pPairsLen == 0) return zelWarnDstFull;
  if (*pSrcLen == 0) return zelOk;
  s->choicePending = 0;

  const bool fullFlush = flush == zelLZ77FlushFull;
  zelLZ77Pair* const firstPair = *ppPairs;
  const int32_t consumed = SearchCall(s, *ppSrc, *pSrcLen, ppPairs, *pPairsLen, fullFlush);
  if (s->checksumKind == zelLZ77CheckAdler32) {
    s->checksum = ownAdler32(s->checksum, *ppSrc, static_cast<size_t>(consumed));
  } else if (s->checksumKind == zelLZ77CheckCrc32) {
    s->checksum = ~ownCrc32(~s->checksum, *ppSrc, static_cast<size_t>(consumed));
  }
  s->totalIn.Set(s->totalIn.Get() + static_cast<uint32_t>(consumed));
  s->historyPos = fullFlush ? 0 : s->historyPos + consumed;
  s->srcRemain -= consumed;
  *ppSrc += consumed;
  *pSrcLen -= consumed;
  *pPairsLen -= static_cast<int32_t>(*ppPairs - firstPair);
  return *pSrcLen > 0 ? zelWarnDstFull : zelOk;
}
