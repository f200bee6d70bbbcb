// Symbols to bits: each group of 50 with its own code.
//
// Codes wait in a 64-bit accumulator. How many symbols of a table surely fit beside the seven bits that a store leaves
// there depends on its longest code, and for each such number there is a loop of its own.

#include <algorithm>

#include "bzip2/huffman_encode_state.h"
#include "shared/bits_msb.h"

using namespace zeldc;

namespace {

// What a group can take, and what the last store writes beyond it.
constexpr int32_t kRoomOfGroup = (7 + kGroupSize * kMaxWrittenLength) / 8 + 8;

// One symbol: `room` is the number of free bits modulo 64, in its low six bits; what stands above has no meaning.
ZELDC_ALWAYS_INLINE void PutJoined(JoinedCode joined, uint64_t* bits, uint32_t* room) {
  *room -= joined;
  *bits |= uint64_t{CodeOf(joined)} << (*room & 63);
}

template <int kSymbols>
ZELDC_ALWAYS_INLINE void PutSymbols(const JoinedCode* codes, const uint16_t* src, uint64_t* bits, uint32_t* room,
                                    uint8_t** out) {
  for (int i = 0; i < kSymbols; ++i) PutJoined(codes[src[i]], bits, room);
  StoreBE(*out, *bits);
  const uint32_t count = (0 - *room) & 63;  // at most 63 bits wait
  *out += count >> 3;
  *bits <<= count & 56;
  *room = 0 - (count & 7);
}

template <int kSymbols>
ZELDC_ALWAYS_INLINE void PutGroup(const JoinedCode* codes, const uint16_t* src, uint64_t* bits, uint32_t* room,
                                  uint8_t** out) {
  for (int i = 0; i + kSymbols <= kGroupSize; i += kSymbols) PutSymbols<kSymbols>(codes, src + i, bits, room, out);
  constexpr int kRest = kGroupSize % kSymbols;
  if constexpr (kRest > 0) PutSymbols<kRest>(codes, src + kGroupSize - kRest, bits, room, out);
}

void ownEncodeSymbols(const zelBZ2HuffEncodeState* s, const uint8_t* selectors, const uint16_t* src, int32_t srcLen,
                      MsbWriter* writer) {
  MsbWriter out = *writer;
  const uint16_t* const srcEnd = src + srcLen;
  int32_t group = 0;

  // At least one symbol is left for the careful part: after the last one nothing is written.
  if (srcLen > kGroupSize && out.outEnd - out.out >= kRoomOfGroup + 4) {
    out.WriteBytes();
    uint64_t bits = out.bits;
    uint32_t room = 0 - out.count;
    uint8_t* next = out.out;
    for (; srcEnd - src > kGroupSize && out.outEnd - next >= kRoomOfGroup; src += kGroupSize, ++group) {
      const int table = selectors[group];
      const JoinedCode* const codes = s->codes[table];
      const int longest = s->longest[table];
      if (longest <= 11) {
        PutGroup<5>(codes, src, &bits, &room, &next);
      } else if (longest <= 14) {
        PutGroup<4>(codes, src, &bits, &room, &next);
      } else {
        PutGroup<3>(codes, src, &bits, &room, &next);
      }
    }
    out.bits = bits;
    out.count = (0 - room) & 63;
    out.out = next;
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
