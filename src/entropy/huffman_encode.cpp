// Bytes to bits.

#include <string.h>

#include "core/target.h"
#include "entropy/huffman_state.h"

using namespace zeldc;

namespace {

// Where the codes go: `count` pending bits below 32, the first uppermost, zeros below them.
struct WordWriter {
  uint64_t bits;
  uint32_t count;
  uint8_t* out;

  ZELDC_ALWAYS_INLINE void Put(ShortCode joined) {
    count += LengthOf(joined);
    bits |= uint64_t{CodeOf(joined)} << (63 - count) << 1;  // in two steps: without bits the shift is by 64
    if (count < 32) return;
    StoreBE(out, static_cast<uint32_t>(bits >> 32));
    out += 4;
    bits <<= 32;
    count -= 32;
  }
};

// Whether more bytes would be written than a count can say.
bool IsTooMuch(const zelHuffState* s, const uint8_t* src, int32_t srcLen) {
  constexpr int64_t kMaxBits = int64_t{INT32_MAX} * 8;
  if (s->bitCount + int64_t{srcLen} * s->maxLen <= kMaxBits) return false;
  int64_t bits = s->bitCount;
  for (int32_t i = 0; i < srcLen; ++i) bits += LengthOf(s->codes[src[i]]);
  return bits / 32 * 4 > INT32_MAX;
}

void ownEncode(const zelHuffState* s, const uint8_t* src, const uint8_t* srcEnd, WordWriter* writer) {
  WordWriter w = *writer;
  while (src < srcEnd) w.Put(s->codes[*src++]);
  *writer = w;
}

}  // namespace

extern "C" {

zelStatus zelsEncodeHuffOne_8u(uint8_t src, uint8_t* pDst, int32_t dstOffsetBits, const zelHuffState* pState) {
  if (!pDst || !pState) return zelErrNullPtr;
  if (dstOffsetBits < 0 || dstOffsetBits > 7) return zelErrSize;
  const ShortCode code = pState->codes[src];
  if (code == 0) return zelErrHuffLenTable;
  const uint32_t end = LengthOf(code) + static_cast<uint32_t>(dstOffsetBits);
  const uint64_t bits = uint64_t{CodeOf(code)} << (64 - end);
  *pDst = static_cast<uint8_t>(*pDst | bits >> 56);
  for (uint32_t at = 8; at < end; at += 8) *++pDst = static_cast<uint8_t>(bits >> (56 - at));
  return zelOk;
}

zelStatus zelsEncodeHuff_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                            zelHuffState* pState) {
  if (!pSrc || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (srcLen < 1 || IsTooMuch(pState, pSrc, srcLen)) return zelErrSize;
  WordWriter writer = {uint64_t{pState->accumulator} << 32, static_cast<uint32_t>(pState->bitCount), pDst};

  ownEncode(pState, pSrc, pSrc + srcLen, &writer);

  *pDstLen = static_cast<int32_t>(writer.out - pDst);
  pState->accumulator = static_cast<uint32_t>(writer.bits >> 32);
  pState->bitCount = static_cast<int32_t>(writer.count);
  return zelOk;
}

zelStatus zelsEncodeHuffFinal_8u(uint8_t* pDst, int32_t* pDstLen, const zelHuffState* pState) {
  if (!pDst || !pDstLen || !pState) return zelErrNullPtr;
  const int32_t len = (pState->bitCount + 7) / 8;
  for (int32_t i = 0; i < len; ++i) pDst[i] = static_cast<uint8_t>(pState->accumulator >> (24 - 8 * i));
  *pDstLen = len;
  return zelOk;
}

}  // extern "C"
