// The one-call match search: bytes to items, with tables and window of the caller's.
//
// Kernels run over contiguous memory: while matches can start in the window, over a copy of the window and the input's
// beginning, then over the input itself.

#include <string.h>

#include "deflate/one_call_chained.h"
#include "deflate/rolling_hash.h"
#include "zeldc/deflate_helpers.h"

namespace zeldc {

namespace {

// Without a flush, bytes that must follow the first byte of an item: a match of full length, and the hash of the last
// position in it.
constexpr int32_t kMargin = 260;
constexpr int32_t kFirstFlushToEnd = 2;

// Bytes from which on side tables, which are made anew for each call, pay.
constexpr int32_t kFirstLongCall = 2048;

constexpr int32_t kMinWindow = 256;
constexpr int32_t kMinHash = 256;
constexpr int32_t kMaxHash = 65536;

void Add(int32_t* counter, uint32_t n) { *counter = static_cast<int32_t>(static_cast<uint32_t>(*counter) + n); }

void AddCounts(const OneCall* c, int32_t* litFreq, int32_t* distFreq) {
  PairStatistics statistics;
  c->counter.Sum(c->made, &statistics);
  for (int i = 0; i < kLitLenSymbols; ++i) {
    if (i != kEndOfBlock) Add(litFreq + i, statistics.litLen[i]);
  }
  for (int i = 0; i < kDistanceSymbols; ++i) Add(distFreq + i, statistics.distance[i]);
}

// Runs search(base, stop, readEnd) up to `stop`, first on the copy behind the window, which begin(base, readEnd) sees,
// then on the input. What has no three bytes behind follows as literals.
template <typename Begin, typename Run>
ZELDC_ALWAYS_INLINE void SearchCall(OneCall* c, const uint8_t* src, const uint8_t* window, ptrdiff_t stop, Begin begin,
                                    Run run) {
  constexpr ptrdiff_t kLookAhead = kMaxMatch + 32;
  uint8_t joined[2 * kWindowSize + kLookAhead];
  const ptrdiff_t winSize = static_cast<ptrdiff_t>(c->t.winSize);
  const ptrdiff_t searchStop = stop < c->hashed ? stop : c->hashed;
  c->StartPairs();
  if (c->history > 0) {
    const ptrdiff_t copied = c->size < winSize + kLookAhead ? c->size : winSize + kLookAhead;
    memcpy(joined, window, static_cast<size_t>(c->history));
    memcpy(joined + c->history, src, static_cast<size_t>(copied));
    begin(joined + c->history, copied);
    run(joined + c->history, searchStop < winSize ? searchStop : winSize, copied);
  } else {
    begin(src, c->size);
  }
  run(src, searchStop, c->size);
  for (; c->x.i >= searchStop && c->x.i < stop && c->room > 0; ++c->x.i) {
    PutLiteral(&c->x, src[c->x.i]);
    c->PutItems();
  }
}

void SearchFastCall(OneCall* c, const uint8_t* src, const uint8_t* window, ptrdiff_t stop) {
  SearchCall(
      c, src, window, stop, [](const uint8_t*, ptrdiff_t) {},
      [&](const uint8_t* base, ptrdiff_t end, ptrdiff_t readEnd) { SearchOneCallFast(c, base, end, readEnd); });
}

void SearchChainedCall(OneCall* c, const uint8_t* src, const uint8_t* window, ptrdiff_t stop, int32_t level) {
  SideTables t;
  SearchCall(
      c, src, window, stop, [&](const uint8_t* base, ptrdiff_t readEnd) { StartSideTables(c, &t, base, readEnd); },
      [&](const uint8_t* base, ptrdiff_t end, ptrdiff_t readEnd) {
        SearchOneCallChained(c, &t, base, end, readEnd, level);
      });
}

void SearchShortCall(OneCall* c, const uint8_t* src, const uint8_t* window, ptrdiff_t stop, int32_t level) {
  SearchCall(
      c, src, window, stop, [](const uint8_t*, ptrdiff_t) {},
      [&](const uint8_t* base, ptrdiff_t end, ptrdiff_t) { SearchOneCallShort(c, base, end, level); });
}

}  // namespace

void OneCall::PutItems() {
  const int32_t n = static_cast<int32_t>(x.pair - pairs);
  ZELDC_ASSERT(0 <= n && n <= room && x.pair <= x.pairEnd);
  counter.Count(pairs, n);
  // In locals, which the stores of bytes leave alone.
  uint8_t* const bytes = lit;
  uint16_t* const distances = dist;
  for (int32_t k = 0; k < n; ++k) {
    const zelLZ77Pair pair = pairs[k];
    bytes[k] = static_cast<uint8_t>(PlaceOf(pair).place);
    distances[k] = pair.distance;
  }
  lit += n;
  dist += n;
  room -= n;
  made += n;
  StartPairs();
}

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsDeflateDictionarySet_8u(const uint8_t* pDict, int32_t dictLen, int32_t* pHashHeadTbl, int32_t hashSize,
                                      int32_t* pHashPrevTbl, uint8_t* pWindow, int32_t winSize, int32_t comprLevel) {
  if (dictLen < kMinMatch) return zelOk;
  if (!pDict || !pHashHeadTbl || !pHashPrevTbl || !pWindow) return zelErrNullPtr;
  if (winSize < kMinWindow || winSize > kWindowSize) return zelErrSize;
  if (hashSize < kMinHash || hashSize > kMaxHash) return zelErrSize;
  const int32_t n = dictLen < winSize ? dictLen : winSize;
  memmove(pWindow, pDict + (dictLen - n), static_cast<size_t>(n));
  if (n < kMaxMatch) return zelOk;
  const uint32_t mask = static_cast<uint32_t>(hashSize) - 1;
  if (comprLevel >= kFirstChainedLevel) {
    int32_t* const head = pHashHeadTbl + (SaltedHash(pWindow) & mask);
    for (int32_t i = 0; i <= n - kMaxMatch; ++i) {
      pHashPrevTbl[i] = *head;
      *head = i;
    }
  } else {
    pHashHeadTbl[RollingHash(pWindow, mask)] = 0;
    for (int32_t i = 1; i <= n - kMaxMatch; ++i) pHashHeadTbl[RollingHashWithByteBefore(pWindow + i, mask)] = i;
  }
  return zelOk;
}

zelStatus zelsDeflateLZ77_8u(uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                             int32_t winSize, int32_t* pHashHeadTbl, int32_t* pHashPrevTbl, int32_t hashSize,
                             int32_t* pLitFreqTable, int32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                             int32_t* pDstLen, int32_t comprLevel, zelLZ77FlushMode flush) {
  if (!ppSrc || !pSrcLen || !pSrcIdx || !pWindow || !pHashHeadTbl || !pHashPrevTbl) return zelErrNullPtr;
  if (!pLitFreqTable || !pDistFreqTable || !pLitDst || !pDistDst || !pDstLen || !*ppSrc) return zelErrNullPtr;
  if (winSize < kMinWindow || winSize > kWindowSize) return zelErrSize;
  if (hashSize < kMinHash || hashSize > kMaxHash) return zelErrSize;
  const int32_t stop = flush >= kFirstFlushToEnd ? *pSrcLen : *pSrcLen >= kMargin ? *pSrcLen - (kMargin - 1) : 0;
  if (stop <= 0 || *pDstLen <= 0) return zelOk;

  OneCall c;
  c.t = {pHashHeadTbl, pHashPrevTbl, static_cast<uint32_t>(hashSize) - 1, static_cast<uint32_t>(winSize)};
  c.size = *pSrcLen;
  c.hashed = c.size < kMinMatch ? 0 : c.size - (kMinMatch - 1);
  c.history = *pSrcIdx < 0 ? 0 : *pSrcIdx < winSize ? *pSrcIdx : winSize;
  c.x = {};
  c.x.posBase = static_cast<uint32_t>(*pSrcIdx);
  c.x.matchEnd = c.size;
  c.x.oldest = -kWindowSize;  // that nothing reaches before the history is seen to where positions are entered
  c.lit = pLitDst;
  c.dist = pDistDst;
  c.room = *pDstLen;
  c.made = 0;
  if (comprLevel < kFirstChainedLevel) {
    SearchFastCall(&c, *ppSrc, pWindow, stop);
  } else if (c.size < kFirstLongCall) {
    SearchShortCall(&c, *ppSrc, pWindow, stop, comprLevel);
  } else {
    SearchChainedCall(&c, *ppSrc, pWindow, stop, comprLevel);
  }
  AddCounts(&c, pLitFreqTable, pDistFreqTable);

  const int32_t consumed = static_cast<int32_t>(c.x.i);
  *ppSrc += consumed;
  *pSrcLen -= consumed;
  *pSrcIdx = static_cast<int32_t>(c.x.posBase + static_cast<uint32_t>(consumed));
  *pDstLen = c.room;
  return zelOk;
}

}  // extern "C"
