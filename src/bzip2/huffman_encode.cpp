// Symbols to bits: each group of 50 with its own code.
//
// Three symbols, of at most 17 bits each, fit in a 64-bit accumulator beside the seven bits that a store leaves there.
// They are joined among themselves first, so that only one shift a store waits for the place where they go.

#include <algorithm>

#include "bzip2/huffman_encode_state.h"
#include "shared/bits_msb.h"

using namespace zeldc;

namespace {

// What a group can take, and what the last store writes beyond it.
constexpr int32_t kRoomOfGroup = (7 + kGroupSize * kMaxWrittenLength) / 8 + 8;

// Bits that wait in a word, `count` of them at most 7, and where they go.
struct Pending {
  uint64_t bits;
  uint32_t count;
  uint8_t* out;
};

// The sum of joined codes holds the sum of their lengths in its low six bits; what stands above is carried along.
template <int kSymbols>
ZELDC_ALWAYS_INLINE void PutSymbols(const JoinedCode* codes, const uint16_t* src, Pending* p) {
  static_assert(kSymbols * kMaxWrittenLength + 7 < 64);
  JoinedCode sum = 0;
  uint64_t joined = 0;
  for (int i = 0; i < kSymbols; ++i) {
    const JoinedCode code = codes[src[i]];
    joined = joined << (code & 63) | CodeOf(code);
    sum += code;
  }
  const uint32_t count = (p->count + sum) & 63;
  p->bits |= joined << (-count & 63);
  StoreBE(p->out, p->bits);
  p->out += count >> 3;
  p->bits <<= count & 56;
  p->count = count & 7;
}

ZELDC_ALWAYS_INLINE void PutGroup(const JoinedCode* codes, const uint16_t* src, Pending* p) {
  for (int i = 0; i < 48; i += 3) PutSymbols<3>(codes, src + i, p);
  PutSymbols<2>(codes, src + 48, p);
}
static_assert(kGroupSize == 50);

void ownEncodeSymbols(const zelBZ2HuffEncodeState* s, const uint8_t* selectors, const uint16_t* src, int32_t srcLen,
                      MsbWriter* writer) {
  MsbWriter out = *writer;
  const uint16_t* const srcEnd = src + srcLen;
  int32_t group = 0;

  // At least one symbol is left for the careful part: after the last one nothing is written.
  if (srcLen > kGroupSize && out.outEnd - out.out >= kRoomOfGroup + 4) {
    out.WriteBytes();
    Pending pending = {out.bits, out.count, out.out};
    for (; srcEnd - src > kGroupSize && out.outEnd - pending.out >= kRoomOfGroup; src += kGroupSize, ++group) {
      PutGroup(s->codes[selectors[group]], src, &pending);
    }
    out.bits = pending.bits;
    out.count = pending.count;
    out.out = pending.out;
  }

  while (src < srcEnd) {
    const JoinedCode* const codes = s->codes[selectors[group++]];
    const uint16_t* const groupEnd = srcEnd - src > kGroupSize ? src + kGroupSize : srcEnd;
    for (; src < groupEnd; ++src) out.WriteAndPut(CodeOf(codes[*src]), LengthOf(codes[*src]));
  }
  *writer = out;
}

}  // namespace

extern "C" zelStatus zelsEncodeHuff_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, const uint16_t** ppSrc,
                                              int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                              zelBZ2HuffEncodeState* pState) {
  if (!pCode || !pCodeLenBits || !ppSrc || !pSrcLen) return zelErrNullPtr;
  if (!*ppSrc || !pDst || !pDstLen || !pState) return zelErrNullPtr;
  if (*pDstLen < 1) return zelErrSize;
  if (*pSrcLen < 0 || GroupsOf(*pSrcLen) > pState->numSelectors) return zelErrSize;
  if (!AllBelow(*ppSrc, *pSrcLen, pState->alphaSize)) return zelErrBadArg;
  MsbWriter out(*pCode, *pCodeLenBits, pDst, static_cast<size_t>(*pDstLen));

  ownEncodeSymbols(pState, pState->Selectors(), *ppSrc, *pSrcLen, &out);

  *ppSrc += *pSrcLen;
  *pSrcLen = 0;
  *pDstLen = static_cast<int32_t>(out.out - pDst);
  *pCode = out.Waiting();
  *pCodeLenBits = out.WaitingCount();
  return out.count > 32 ? zelWarnDstFull : zelOk;
}
