// The three header bits of a block, read ahead of its decoder.

#include "inflate/decoder_state.h"

using namespace zeldc;

extern "C" zelStatus zelsDecodeLZ77GetBlockType_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pBlockType,
                                                   zelLZ77State* pLZ77State) {
  if (!ppSrc || !pSrcLen || !pBlockType || !pLZ77State || !*ppSrc) return zelErrNullPtr;
  if (*pSrcLen < 0) return zelErrSize;
  DecoderState* s = Decoder(pLZ77State);
  if (s->decodeStage != kStageHeader) {
    *pBlockType = s->blockType;
    return zelOk;
  }

  uint64_t bits = s->bitBuffer.Get();
  if (s->bitCount < 3) {
    if (*pSrcLen == 0) return zelWarnSrcShort;
    bits |= uint64_t{*(*ppSrc)++} << s->bitCount;
    --*pSrcLen;
    s->bitCount += 8;
  }
  s->finalBlock = bits & 1;
  switch ((bits >> 1) & 3) {
    case 0:
      s->blockType = zelLZ77HuffStored;
      s->decodeStage = kStageStoredAnnounced;
      *pBlockType = s->blockType;
      break;
    case 1:
      s->blockType = zelLZ77HuffFixed;
      s->decodeStage = kStageSymbols;
      *pBlockType = s->blockType;
      break;
    case 2:
      s->blockType = zelLZ77HuffDynamic;
      s->decodeStage = kStageDynamicCounts;
      *pBlockType = s->blockType;
      break;
    default:
      break;  // reserved: the caller sees its *pBlockType unchanged
  }
  s->bitBuffer.Set(bits >> 3);
  s->bitCount -= 3;
  return zelOk;
}
