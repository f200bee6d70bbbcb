// Bits to bytes.

#include <string.h>

#include <algorithm>

#include "core/target.h"
#include "entropy/huffman_state.h"

using namespace zeldc;

namespace {

struct Symbol {
  uint8_t value;
  uint32_t length;
};

// The code at the front of 32 bits, of `length` bits or more. Bits that are no code count as the last one of a length.
ZELDC_ALWAYS_INLINE Symbol FindSymbol(const HuffDecodeTables& t, uint32_t bits, uint32_t length) {
  while (bits < t.firstCode[length]) ++length;
  const uint32_t place = t.firstPlace[length] + ((bits - t.firstCode[length]) >> (32 - length));
  return {t.symbols[std::min<uint32_t>(place, t.lastPlace[length])], length};
}

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
    const Symbol symbol = FindSymbol(s->tables, accumulator >> zeros, static_cast<uint32_t>(s->minLen));
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
};

}  // namespace

extern "C" {

zelStatus zelsDecodeHuffOne_8u(const uint8_t* pSrc, int32_t srcOffsetBits, uint8_t* pDst, const zelHuffState* pState) {
  if (!pSrc || !pDst || !pState) return zelErrNullPtr;
  if (srcOffsetBits < 0 || srcOffsetBits > 7 || pState->maxLen < 1) return zelErrSize;
  if (!pState->isDecoder) return zelErrNullPtr;
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
  if (!pState->isDecoder) return zelErrNullPtr;
  CarefulDecoder d = {
      pState->accumulator, static_cast<uint32_t>(pState->bitCount), pState->ZeroCount(), pSrc, pSrc + srcLen, pDst,
      pDst + *pDstLen};
  if (pState->maxLen > 0) {
    while (d.dst < d.dstEnd && d.Step(pState)) continue;
  }
  *pDstLen = static_cast<int32_t>(d.dst - pDst);
  pState->accumulator = d.accumulator;
  pState->bitCount = static_cast<int32_t>(d.bitCount);
  pState->SetZeroCount(d.zeroCount);
  return zelOk;
}

}  // extern "C"
