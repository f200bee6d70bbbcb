// The one-call match search: bytes to items, with tables and window of the caller's.
//
// The search runs over contiguous memory: while matches can start in the window, over a copy of the window and the
// input's beginning on the stack, then over the input itself.

#include <string.h>

#include "deflate/match_kernel.h"
#include "deflate/one_call.h"
#include "deflate/pair_codes.h"
#include "zeldc/deflate_helpers.h"

namespace zeldc {

namespace {

// Without a flush, bytes that must follow the first byte of an item: a match of full length, and the hash of the last
// position in it.
constexpr int32_t kMargin = 260;
constexpr int32_t kFirstFlushToEnd = 2;

struct OneCall {
  OneCallTables t;
  uint32_t position;  // of the input's first byte
  ptrdiff_t size;     // of the input
  ptrdiff_t stop;     // no item starts here or behind
  ptrdiff_t i;        // next byte
  uint32_t rolling;   // hash of two bytes at i
  uint8_t* lit;
  uint16_t* dist;
  int32_t room;
  int32_t* litFreq;
  int32_t* distFreq;
};

void Count(int32_t* counter) { *counter = static_cast<int32_t>(static_cast<uint32_t>(*counter) + 1); }

void PutItemLiteral(OneCall* x, uint8_t byte) {
  *x->lit++ = byte;
  *x->dist++ = 0;
  --x->room;
  Count(x->litFreq + byte);
}

void PutItemMatch(OneCall* x, Match m) {
  const uint32_t d = m.distance - 1;
  *x->lit++ = static_cast<uint8_t>(m.length - kMinMatch);
  *x->dist++ = static_cast<uint16_t>(m.distance);
  --x->room;
  Count(x->litFreq + kFirstLengthSymbol + kLengthSymbolIndex.of[m.length - kMinMatch]);
  Count(x->distFreq + kDistanceSymbolIndex.of[d < 256 ? d : 256 + (d >> 7)]);
}

// The distance to a table's entry, or 0 when it is good for nothing.
uint32_t GoodDistance(const OneCall* x, uint32_t position, int32_t entry) {
  const uint32_t distance = position - static_cast<uint32_t>(entry);
  return entry >= 0 && static_cast<int32_t>(position) > entry && distance < x->t.winSize ? distance : 0;
}

uint32_t LengthLimit(const OneCall* x) { return Smaller(kMaxMatch, x->size - x->i); }

// Enters position i, which has three bytes, and answers what was there.
int32_t EnterFast(OneCall* x, const uint8_t* p, uint32_t position) {
  x->rolling = Roll(x->rolling, p[2], x->t.hashMask);
  int32_t* const head = x->t.head + x->rolling;
  const int32_t before = *head;
  *head = static_cast<int32_t>(position);
  return before;
}

int32_t EnterChained(OneCall* x, const uint8_t* p, uint32_t position) {
  int32_t* const head = x->t.head + (SaltedHash(p) & x->t.hashMask);
  const int32_t before = *head;
  x->t.chain[position % x->t.winSize] = before;
  *head = static_cast<int32_t>(position);
  return before;
}

template <bool kChained>
void RunGreedy(OneCall* x, const uint8_t* base, ptrdiff_t stop, int candidates) {
  while (x->i < stop && x->room > 0) {
    const uint8_t* const p = base + x->i;
    const uint32_t position = x->position + static_cast<uint32_t>(x->i);
    const uint32_t limit = LengthLimit(x);
    Match best{2, 0};
    if (limit >= kMinMatch) {
      int32_t candidate = kChained ? EnterChained(x, p, position) : EnterFast(x, p, position);
      for (int left = candidates; left > 0; --left) {
        const uint32_t distance = GoodDistance(x, position, candidate);
        if (distance == 0) break;
        const uint32_t length = MatchLength(p, p - distance, 0, limit);
        if (length > best.length) best = {length, distance};
        if (kChained) candidate = x->t.chain[(position - distance) % x->t.winSize];
      }
    }
    if (best.length < kMinMatch) {
      PutItemLiteral(x, *p);
      ++x->i;
      continue;
    }
    PutItemMatch(x, best);
    for (uint32_t n = 1; n < best.length && x->i + static_cast<ptrdiff_t>(n) + 2 < x->size; ++n) {
      if (kChained) {
        EnterChained(x, p + n, position + n);
      } else {
        EnterFast(x, p + n, position + n);
      }
    }
    x->i += best.length;
  }
}

void Run(OneCall* x, const uint8_t* base, ptrdiff_t stop, int32_t level) {
  if (level < kFirstChainedLevel) {
    RunGreedy<false>(x, base, stop, 1);
  } else {
    RunGreedy<true>(x, base, stop, level < kFirstThoroughLevel ? 16 : 256);
  }
}

void SearchOneCall(OneCall* x, const uint8_t* src, const uint8_t* window, int32_t level) {
  // Room for the window, the input that matches can start before, and the longest match there.
  uint8_t joined[2 * kWindowSize + kMaxMatch + 16];
  if (x->size >= 2) x->rolling = StartRollingHash(src);
  const int32_t position = static_cast<int32_t>(x->position);
  if (position > 0) {
    const ptrdiff_t winSize = static_cast<ptrdiff_t>(x->t.winSize);
    const ptrdiff_t history = position < winSize ? position : winSize;
    const ptrdiff_t input = x->size < winSize + kMaxMatch + 16 ? x->size : winSize + kMaxMatch + 16;
    memcpy(joined, window, static_cast<size_t>(history));
    memcpy(joined + history, src, static_cast<size_t>(input));
    Run(x, joined + history, x->stop < winSize ? x->stop : winSize, level);
  }
  Run(x, src, x->stop, level);
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsDeflateDictionarySet_8u(const uint8_t* pDict, int32_t dictLen, int32_t* pHashHeadTbl, int32_t hashSize,
                                      int32_t* pHashPrevTbl, uint8_t* pWindow, int32_t winSize, int32_t comprLevel) {
  if (dictLen < kMinMatch) return zelOk;
  if (!pDict || !pHashHeadTbl || !pHashPrevTbl || !pWindow) return zelErrNullPtr;
  if (winSize < kMinOneCallWindow || winSize > kWindowSize) return zelErrSize;
  if (hashSize < kMinOneCallHash || hashSize > kMaxOneCallHash) return zelErrSize;
  const int32_t n = dictLen < winSize ? dictLen : winSize;
  memcpy(pWindow, pDict + (dictLen - n), static_cast<size_t>(n));
  if (n < kMaxMatch) return zelOk;
  const uint32_t mask = static_cast<uint32_t>(hashSize) - 1;
  if (comprLevel >= kFirstChainedLevel) {
    int32_t* const head = pHashHeadTbl + (SaltedHash(pWindow) & mask);
    for (int32_t i = 0; i <= n - kMaxMatch; ++i) {
      pHashPrevTbl[i] = *head;
      *head = i;
    }
  } else {
    uint32_t hash = StartRollingHash(pWindow);
    for (int32_t i = 0; i <= n - kMaxMatch; ++i) {
      hash = Roll(hash, pWindow[i + 2], mask);
      pHashHeadTbl[hash] = i;
    }
  }
  return zelOk;
}

zelStatus zelsDeflateLZ77_8u(uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                             int32_t winSize, int32_t* pHashHeadTbl, int32_t* pHashPrevTbl, int32_t hashSize,
                             int32_t* pLitFreqTable, int32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                             int32_t* pDstLen, int32_t comprLevel, zelLZ77FlushMode flush) {
  if (!ppSrc || !pSrcLen || !pSrcIdx || !pWindow || !pHashHeadTbl || !pHashPrevTbl) return zelErrNullPtr;
  if (!pLitFreqTable || !pDistFreqTable || !pLitDst || !pDistDst || !pDstLen || !*ppSrc) return zelErrNullPtr;
  if (winSize < kMinOneCallWindow || winSize > kWindowSize) return zelErrSize;
  if (hashSize < kMinOneCallHash || hashSize > kMaxOneCallHash) return zelErrSize;
  if (*pSrcLen <= 0 || *pDstLen <= 0) return zelOk;

  OneCall x{};
  x.t = {pHashHeadTbl, pHashPrevTbl, static_cast<uint32_t>(hashSize) - 1, static_cast<uint32_t>(winSize)};
  x.position = static_cast<uint32_t>(*pSrcIdx);
  x.size = *pSrcLen;
  x.stop = flush >= kFirstFlushToEnd ? x.size : x.size - (kMargin - 1);
  x.lit = pLitDst;
  x.dist = pDistDst;
  x.room = *pDstLen;
  x.litFreq = pLitFreqTable;
  x.distFreq = pDistFreqTable;
  if (x.stop > 0) SearchOneCall(&x, *ppSrc, pWindow, comprLevel);

  const int32_t consumed = static_cast<int32_t>(x.i);
  *ppSrc += consumed;
  *pSrcLen -= consumed;
  *pSrcIdx = static_cast<int32_t>(x.position + static_cast<uint32_t>(consumed));
  *pDstLen = x.room;
  return zelOk;
}

}  // extern "C"
