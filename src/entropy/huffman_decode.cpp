// Bits to bytes.
//
// How much of the source a call reads is part of the contract, and so is the treatment of zeros: whoever loads byte by
// byte counts whole bytes of zeros ahead, from the code on at which they begin. The inner loop knows nothing of that.
// It takes over where no zeros have been counted and nothing is held that this call has not read, and whatever it reads
// ahead it gives back: behind a byte that is not the one with the zero code a decoder without look-ahead stands at the
// same place, with nothing counted, and reads on from there as it would have done.

#include <string.h>

#include <algorithm>

#include "core/target.h"
#include "entropy/huffman_decode_many.h"
#include "entropy/huffman_state.h"

using namespace zeldc;

namespace {

// The decoder as its record has it between calls, see zelsDecodeHuff_8u: bits are held in the accumulator, before them
// `zeroCount` zeros in whole bytes that have been counted out of it.
struct CarefulDecoder {
  uint32_t accumulator;
  uint32_t bitCount;
  uint64_t zeroCount;
  const uint8_t* src;
  const uint8_t* srcEnd;
  uint8_t* dst;
  uint8_t* dstEnd;

  void Load() {
    for (;;) {
      while (bitCount <= 16 && src < srcEnd) {
        accumulator |= uint32_t{*src++} << (24 - bitCount);
        bitCount += 8;
      }
      if (bitCount < 8 || accumulator >> 24 != 0) return;
      accumulator <<= 8;
      bitCount -= 8;
      zeroCount += 8;
    }
  }

  // Decodes a byte, or many that are all zeros in the stream; there is room. False where the next code is not complete.
  bool Step(const zelHuffState* s) {
    Load();
    const uint32_t maxLen = static_cast<uint32_t>(s->maxLen);
    if (zeroCount >= maxLen) {
      const size_t n = static_cast<size_t>(std::min<uint64_t>(zeroCount / maxLen, static_cast<size_t>(dstEnd - dst)));
      memset(dst, s->zeroSymbol, n);
      dst += n;
      zeroCount -= uint64_t{n} * maxLen;
      return true;
    }
    const uint32_t zeros = static_cast<uint32_t>(zeroCount);
    const HuffSymbol symbol = FindSymbol(s->tables, accumulator >> zeros, static_cast<uint32_t>(s->minLen));
    if (symbol.length > bitCount + zeros) return false;
    if (symbol.length >= zeros) {
      accumulator <<= symbol.length - zeros;
      bitCount -= symbol.length - zeros;
      zeroCount = 0;
    } else {
      zeroCount -= symbol.length;  // of zeros only and not the longest: in codes that are not complete
    }
    *dst++ = symbol.value;
    return true;
  }

  bool HoldsOnlyFrom(const uint8_t* start) const {
    return zeroCount == 0 && src - start >= static_cast<ptrdiff_t>((bitCount + 7) / 8);
  }
  BitPlace Place() const { return {src - (bitCount + 7) / 8, (0 - bitCount) & 7}; }

  void Seek(BitPlace place) {
    src = place.byte;
    accumulator = 0;
    bitCount = 0;
    zeroCount = 0;
    if (place.bit > 0) {
      accumulator = uint32_t{*src++} << (24 + place.bit);
      bitCount = 8 - place.bit;
    }
  }
};

// Less output or input than this is not worth the making of a table.
constexpr ptrdiff_t kManySymbols = 4096;
constexpr ptrdiff_t kMuchSource = 1024;

ZELDC_NOINLINE void RunTripleCodes(const zelHuffState* s, HuffLoop* loop) {
  const TripleCodes codes(s);
  loop->Run(s, codes);
}

// The decoder stands in its source with no zeros counted, and the code is complete.
void ownDecodeMany(const zelHuffState* s, CarefulDecoder* d) {
  const BitPlace start = d->Place();
  uint8_t* const dstStart = d->dst;
  HuffLoop loop(start, d->srcEnd, d->dst, d->dstEnd);
  if (d->dstEnd - d->dst >= kManySymbols && d->srcEnd - start.byte >= kMuchSource) RunTripleCodes(s, &loop);
  loop.Run(s, SingleCodes(s->tables));

  // Back in front of zeros that may have been counted ahead.
  d->dst = loop.dst();
  while (d->dst > dstStart && d->dst[-1] == s->zeroSymbol) --d->dst;
  const int64_t back = int64_t{loop.dst() - d->dst} * s->maxLen;
  const BitPlace place = loop.place();
  const int64_t at = std::max<int64_t>(int64_t{place.byte - start.byte} * 8 + place.bit - back, start.bit);
  d->Seek({start.byte + at / 8, static_cast<uint32_t>(at % 8)});
}

void ownDecode(const zelHuffState* s, CarefulDecoder* decoder) {
  if (s->maxLen < 1) return;
  CarefulDecoder d = *decoder;
  const uint8_t* const start = d.src;
  if (s->isComplete) {
    while (d.dst < d.dstEnd && !d.HoldsOnlyFrom(start) && d.Step(s)) continue;
    if (d.dst < d.dstEnd && d.HoldsOnlyFrom(start)) ownDecodeMany(s, &d);
  }
  while (d.dst < d.dstEnd && d.Step(s)) continue;
  *decoder = d;
}

}  // namespace

extern "C" {

zelStatus zelsDecodeHuffOne_8u(const uint8_t* pSrc, int32_t srcOffsetBits, uint8_t* pDst, const zelHuffState* pState) {
  if (!pSrc || !pDst || !pState) return zelErrNullPtr;
  if (srcOffsetBits < 0 || srcOffsetBits > 7 || pState->maxLen < 1) return zelErrSize;
  if (!pState->HasTables()) return zelErrNullPtr;
  uint64_t bits = 0;
  for (int32_t at = 0; at < srcOffsetBits + pState->maxLen; at += 8) bits |= uint64_t{*pSrc++} << (56 - at);
  const uint32_t next = static_cast<uint32_t>(bits << srcOffsetBits >> 32);
  *pDst = FindSymbol(pState->tables, next, static_cast<uint32_t>(pState->minLen)).value;
  return zelOk;
}

zelStatus zelsDecodeHuff_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                            zelHuffState* pState) {
  if (!pSrc || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (srcLen < 1 || *pDstLen < 1) return zelErrSize;
  if (!pState->HasTables()) return zelErrNullPtr;
  CarefulDecoder d = {pState->accumulator, pState->PendingBits(), pState->ZeroCount(), pSrc, pSrc + srcLen, pDst,
                      pDst + *pDstLen};

  ownDecode(pState, &d);

  *pDstLen = static_cast<int32_t>(d.dst - pDst);
  pState->accumulator = d.accumulator;
  pState->bitCount = static_cast<int32_t>(d.bitCount);
  pState->SetZeroCount(d.zeroCount);
  return zelOk;
}

}  // extern "C"
