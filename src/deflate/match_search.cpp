// The match search: bytes to pairs.

#include <string.h>

#include "checksum/adler32.h"
#include "checksum/crc.h"
#include "core/vector_primitives.h"
#include "deflate/match_kernel.h"

namespace zeldc {

namespace {

// Between two sweeps, the newest entry may go from one window back to less than 2^16 back, even though a match at the
// end of the stretch is inserted whole.
constexpr uint32_t kSweepInterval = 32000;
static_assert(kWindowSize + kSweepInterval + 2 * kMaxMatch < 0x10000);
constexpr uint16_t kEmpty = 0x8000;  // as seen from position 0

void Sweep(EncoderState* s, uint32_t pos) {
  if (s->level == zelLZ77LevelFast) {
    SweepTable(s->tables.fast.head, pos);
  } else if (s->level == zelLZ77LevelNormal) {
    SweepTable(s->tables.normal.head, pos);
  } else {
    SweepTable(s->tables.best.head3, pos);
    SweepTable(s->tables.best.head4, pos);
  }
  s->nextSweep = pos + kSweepInterval;
}

bool IsSweepDue(const EncoderState* s, uint32_t pos) { return static_cast<int32_t>(s->nextSweep - pos) <= 0; }

// Runs the level's kernel up to `stop`, with the sweeps that fall due.
void Run(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
  EncoderState* s = x->state;
  while (x->i < stop && x->pair < x->pairEnd) {
    const uint32_t pos = x->posBase + static_cast<uint32_t>(x->i);
    if (IsSweepDue(s, pos)) Sweep(s, pos);
    // Sums of positions and more may overflow a 32-bit ptrdiff_t at the end of the largest calls, differences do not.
    const ptrdiff_t due = static_cast<ptrdiff_t>(s->nextSweep - pos);
    const ptrdiff_t until = due < stop - x->i ? x->i + due : stop;
    if (s->level == zelLZ77LevelFast) {
      SearchFast(x, base, until, readEnd);
    } else if (s->level == zelLZ77LevelNormal) {
      SearchNormal(x, base, until, readEnd);
    } else {
      SearchBest(x, base, until, readEnd);
    }
  }
}

// Forgets all but the last `kept` bytes of the history, or less where it is shorter.
void TrimHistory(EncoderState* s, int32_t kept) {
  if (s->historyFill <= kept) return;
  memmove(s->history, s->history + (s->historyFill - kept), static_cast<size_t>(kept));
  s->historyFill = kept;
}

void AppendToHistory(EncoderState* s, const uint8_t* bytes, int32_t len) {
  if (len > kWindowSize) {
    bytes += len - kWindowSize;
    len = kWindowSize;
  }
  if (len == 0) return;
  if (s->historyFill + len > kHistorySize) TrimHistory(s, kWindowSize - len);
  ownsCopy_8u(bytes, s->history + s->historyFill, len);
  s->historyFill += len;
}

// While matches can start in the history: searches a copy of the input behind the history, stretch by stretch, and
// leaves what it has searched there.
void SearchBehindHistory(Search* x, const uint8_t* src, int32_t n, ptrdiff_t searchEnd) {
  constexpr int32_t kLookAhead = kMaxMatch + 8;
  EncoderState* s = x->state;
  const ptrdiff_t end = searchEnd < kWindowSize ? searchEnd : kWindowSize;
  while (x->i < end && x->pair < x->pairEnd) {
    const int32_t i = static_cast<int32_t>(x->i);
    if (n - i > kHistorySize - s->historyFill) TrimHistory(s, kWindowSize);
    const int32_t room = kHistorySize - s->historyFill;
    const int32_t copied = n - i < room ? n - i : room;
    ownsCopy_8u(src + i, s->history + s->historyFill, copied);
    const ptrdiff_t stop = copied == n - i ? end : Smaller(end, x->i + copied - kLookAhead);
    Run(x, s->history + (s->historyFill - i), stop, i + copied);
    s->historyFill += static_cast<int32_t>(x->i) - i;
  }
}

// Searches the call's n bytes and enters what was consumed into the history; answers how many bytes that is.
int32_t SearchCall(EncoderState* s, const uint8_t* src, int32_t n, zelLZ77Pair** pairs, int32_t room, bool fullFlush) {
  // Calls that are too short to search move on, too.
  if (IsSweepDue(s, s->tablePos)) Sweep(s, s->tablePos);
  // The last two or three bytes are literals, and no match covers them.
  const ptrdiff_t searchEnd = n - (s->level == zelLZ77LevelBest ? 3 : 2);
  Search x{};
  x.state = s;
  x.pair = *pairs;
  x.pairEnd = *pairs + room;
  x.posBase = s->tablePos;
  x.matchEnd = searchEnd;
  x.oldest = -ptrdiff_t{s->historyFill < kWindowSize ? s->historyFill : kWindowSize};
  // Position 0 of a stream is no match source for a full flush.
  if (fullFlush && s->historyPos <= kWindowSize) {
    const ptrdiff_t one = 1 - static_cast<ptrdiff_t>(s->historyPos);
    if (one > x.oldest) x.oldest = one;
  }

  if (s->historyFill > 0) SearchBehindHistory(&x, src, n, searchEnd);
  const ptrdiff_t inHistory = s->historyFill > 0 ? x.i : 0;
  // From here on no match reaches before the input.
  Run(&x, src, searchEnd, n);
  for (; x.i >= searchEnd && x.i < n && x.pair < x.pairEnd; ++x.i) PutLiteral(&x, src[x.i]);

  const int32_t consumed = static_cast<int32_t>(x.i);
  AppendToHistory(s, src + inHistory, consumed - static_cast<int32_t>(inHistory));
  s->tablePos += static_cast<uint32_t>(consumed);
  if (fullFlush) {
    ClearMatchTables(s);
    s->historyFill = 0;
  }
  *pairs = x.pair;
  return consumed;
}

}  // namespace

void SweepTable(uint16_t* table, uint32_t pos) {
  const uint16_t now = static_cast<uint16_t>(pos);
  const uint16_t dead = static_cast<uint16_t>(pos - kWindowSize);
  for (int i = 0; i < kHashSize; ++i) table[i] = static_cast<int16_t>(now - table[i]) <= 0 ? dead : table[i];
}

void ClearMatchTables(EncoderState* s) {
  auto clear = [](uint16_t* table) {
    ownsSet_16s(static_cast<int16_t>(kEmpty), reinterpret_cast<int16_t*>(table), kHashSize);
  };
  s->tablePos = 0;
  s->nextSweep = kSweepInterval;
  if (s->level == zelLZ77LevelFast) {
    clear(s->tables.fast.head);
  } else if (s->level == zelLZ77LevelNormal) {
    clear(s->tables.normal.head);
  } else {
    clear(s->tables.best.head3);
    clear(s->tables.best.head4);
    s->tables.best.chained = 0;
    s->tables.best.ranked = 0;
  }
}

void InsertDictionary(EncoderState* s) {
  if (s->level == zelLZ77LevelFast) {
    InsertDictionaryFast(s, s->history, s->historyFill);
  } else if (s->level == zelLZ77LevelNormal) {
    InsertDictionaryNormal(s, s->history, s->historyFill);
  } else {
    InsertDictionaryBest(s, s->history, s->historyFill);
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
  // Keeps the running position within its 32 bits; the tables count modulo 2^16 anyway.
  if (s->historyPos > uint32_t{INT32_MAX} - static_cast<uint32_t>(*pSrcLen)) s->historyPos &= kWindowSize - 1;
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
  s->historyPos = fullFlush ? 0 : s->historyPos + static_cast<uint32_t>(consumed);
  s->srcRemain -= consumed;
  *ppSrc += consumed;
  *pSrcLen -= consumed;
  *pPairsLen -= static_cast<int32_t>(*ppPairs - firstPair);
  return *pSrcLen > 0 ? zelWarnDstFull : zelOk;
}
