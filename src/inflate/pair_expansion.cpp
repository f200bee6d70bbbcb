// Pairs to bytes, through a linear history of 32 KiB. Bound by the branch between literals and matches.

#include <string.h>

#include "inflate/decoder_state.h"

namespace zeldc {

namespace {

struct Expansion {
  const zelLZ77Pair* pair;
  const zelLZ77Pair* pairEnd;
  uint8_t* out;
  uint8_t* outStart;
  uint8_t* outEnd;
};

// As much of a match as there is room for; the rest waits in the record.
zelStatus ExpandMatch(DecoderState* s, Expansion* x, size_t distance, size_t len) {
  const size_t written = static_cast<size_t>(x->out - x->outStart);
  if (distance > written + HistorySize(s->history)) return zelErrBadData;
  const size_t room = static_cast<size_t>(x->outEnd - x->out);
  const size_t n = len < room ? len : room;
  CopyMatchThroughHistory(HistoryEnd(s->history), x->outStart, x->out, distance, n);
  x->out += n;
  s->pendingLen = static_cast<int32_t>(len - n);
  s->pendingDist = static_cast<int32_t>(distance);
  return n < len ? zelWarnDstFull : zelOk;
}

// The pairs for which there is plenty of room.
void ExpandFast(Expansion* x) {
  const zelLZ77Pair* pair = x->pair;
  uint8_t* out = x->out;
  uint8_t* const fastEnd = x->outEnd - (kMaxMatch + kCopySlack);
  for (; pair < x->pairEnd && out < fastEnd; ++pair) {
    const size_t distance = pair->distance;
    const size_t length = pair->length;
    if (distance == 0) {
      *out++ = static_cast<uint8_t>(length);
    } else {
      if (ZELDC_UNLIKELY(distance > static_cast<size_t>(out - x->outStart) || length - 1 >= kMaxMatch)) break;
      CopyMatchWide(out, distance, length);
      out += length;
    }
  }
  x->pair = pair;
  x->out = out;
}

zelStatus Expand(DecoderState* s, Expansion* x) {
  if (s->pendingLen > 0) {
    const zelStatus status = ExpandMatch(s, x, static_cast<size_t>(s->pendingDist), static_cast<size_t>(s->pendingLen));
    if (status != zelOk) return status;
  }
  for (;;) {
    if (x->outEnd - x->out > kMaxMatch + kCopySlack) ExpandFast(x);
    if (x->pair == x->pairEnd) return s->streamEnded ? zelWarnStreamEnd : zelOk;
    if (x->out == x->outEnd) return zelWarnDstFull;
    if (x->pair->distance == 0) {
      *x->out++ = static_cast<uint8_t>(x->pair++->length);
    } else {
      const zelStatus status = ExpandMatch(s, x, x->pair->distance, x->pair->length);
      if (status == zelErrBadData) return status;
      ++x->pair;
      if (status != zelOk) return status;
    }
  }
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" zelStatus zelsDecodeLZ77_8u(zelLZ77Pair** ppPairs, int32_t* pPairsLen, uint8_t** ppDst, int32_t* pDstLen,
                                       zelLZ77FlushMode /*flush*/, zelLZ77State* pLZ77State) {
  if (!ppPairs || !ppDst || !pLZ77State || !pPairsLen || !pDstLen) return zelErrNullPtr;
  if (*pDstLen < 0 || *pPairsLen < 0) return zelErrSize;
  if (*pPairsLen == 0) return zelOk;
  if (*pDstLen == 0) return zelWarnDstFull;
  if (!*ppPairs || !*ppDst) return zelErrNullPtr;

  DecoderState* s = Decoder(pLZ77State);
  const RedzoneGuard guard(s);
  Expansion x{*ppPairs, *ppPairs + *pPairsLen, *ppDst, *ppDst, *ppDst + *pDstLen};
  const zelStatus status = Expand(s, &x);
  if (status == zelWarnStreamEnd) {
    s->pendingLen = 0;
    s->pendingDist = 0;
  } else {
    AppendToHistory(&s->history, x.outStart, static_cast<size_t>(x.out - x.outStart));
  }
  *ppPairs += x.pair - *ppPairs;
  *pPairsLen = static_cast<int32_t>(x.pairEnd - x.pair);
  *pDstLen = static_cast<int32_t>(x.outEnd - x.out);
  *ppDst = x.out;
  return status;
}
