// The three header bits of a block, read ahead of its decoder.

#include "inflate/decoder_state.h"
#include "shared/bits_lsb.h"

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

  BytewiseReader in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  if (!in.Gather(3)) return zelWarnSrcShort;
  s->finalBlock = static_cast<int32_t>(in.Take(1));
  switch (in.Take(2)) {
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
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.left;
  return zelOk;
}
