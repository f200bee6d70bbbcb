// The match search: bytes to pairs.

#include "checksum/adler32.h"
#include "checksum/crc.h"
#include "deflate/search_levels.h"

namespace zeldc {

namespace {

// The kernel of the record's level.
struct LevelKernel {
  EncoderState* s;

  void Sweep(uint32_t pos) {
    if (s->level == zelLZ77LevelFast) {
      SweepTable(s->tables.fast.head, pos);
    } else if (s->level == zelLZ77LevelNormal) {
      SweepTable(s->tables.normal.head, pos);
    } else {
      SweepTable(s->tables.best.head3, pos);
      SweepTable(s->tables.best.head4, pos);
    }
  }

  void Run(Search* x, const uint8_t* base, ptrdiff_t stop, ptrdiff_t readEnd) {
    if (s->level == zelLZ77LevelFast) {
      SearchFast(&s->tables.fast, x, base, stop, readEnd);
    } else if (s->level == zelLZ77LevelNormal) {
      SearchNormal(&s->tables.normal, x, base, stop);
    } else {
      SearchBest(&s->tables.best, x, base, stop);
    }
  }

  void PutLiteral(Search* x, uint8_t byte) { zeldc::PutLiteral(x, byte); }
};

// Searches the call's n bytes; answers how many were consumed.
int32_t SearchBytes(EncoderState* s, const uint8_t* src, int32_t n, zelLZ77Pair** pairs, int32_t room, bool fullFlush) {
  // The last two or three bytes are literals.
  Search x = StartSearch(s->window, n, s->level == zelLZ77LevelBest ? 3 : 2);
  x.pair = *pairs;
  x.pairEnd = *pairs + room;
  // Position 0 of a stream is no match source for a full flush.
  if (fullFlush && s->historyPos <= kWindowSize) {
    const ptrdiff_t one = 1 - static_cast<ptrdiff_t>(s->historyPos);
    if (one > x.oldest) x.oldest = one;
  }
  LevelKernel kernel{s};
  const int32_t consumed = SearchCall(&s->window, &kernel, &x).Run(src, n);
  if (fullFlush) ClearSearch(s);
  *pairs = x.pair;
  return consumed;
}

}  // namespace

void ClearSearch(EncoderState* s) {
  ClearWindow(&s->window);
  if (s->level == zelLZ77LevelFast) {
    ClearTable(s->tables.fast.head);
  } else if (s->level == zelLZ77LevelNormal) {
    ClearTable(s->tables.normal.head);
  } else {
    ClearTable(s->tables.best.head3);
    ClearTable(s->tables.best.head4);
    s->tables.best.chained = 0;
    s->tables.best.ranked = 0;
  }
}

void InsertDictionary(EncoderState* s) {
  SearchWindow* const w = &s->window;
  if (s->level == zelLZ77LevelFast) {
    InsertDictionaryFast(&s->tables.fast, w->tablePos, w->history, w->fill);
  } else if (s->level == zelLZ77LevelNormal) {
    InsertDictionaryNormal(&s->tables.normal, w->tablePos, w->history, w->fill);
  } else {
    InsertDictionaryBest(&s->tables.best, w->tablePos, w->history, w->fill);
  }
  w->tablePos += static_cast<uint32_t>(w->fill);
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
  const RedzoneGuard guard(s);
  // Keeps the running position within its 32 bits; the tables count modulo 2^16 anyway.
  if (s->historyPos > uint32_t{INT32_MAX} - static_cast<uint32_t>(*pSrcLen)) s->historyPos &= kWindowSize - 1;
  s->srcRemain = *pSrcLen;
  s->lastFlush = flush;
  if (*pPairsLen == 0) return zelWarnDstFull;
  if (*pSrcLen == 0) return zelOk;
  s->choicePending = 0;

  const bool fullFlush = flush == zelLZ77FlushFull;
  zelLZ77Pair* const firstPair = *ppPairs;
  const int32_t consumed = SearchBytes(s, *ppSrc, *pSrcLen, ppPairs, *pPairsLen, fullFlush);
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
