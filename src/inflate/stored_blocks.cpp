// Stored blocks: to bytes (zelsDecodeLZ77StoredBlock_8u) and to pairs (zelsDecodeLZ77StoredHuff_8u). Bound by the copy.

#include <string.h>

#include "inflate/decoder_state.h"
#include "shared/bits_lsb.h"

namespace zeldc {

namespace {

zelStatus EndBlock(DecoderState* s) {
  s->decodeStage = kStageHeader;
  s->storedRemaining = 0;
  return s->finalBlock ? zelWarnStreamEnd : zelOk;
}

// LEN and its complement.
zelStatus ReadLength(DecoderState* s, BytewiseReader* in) {
  if (!in->Gather(32)) return zelWarnSrcShort;
  const uint32_t lengths = static_cast<uint32_t>(in->bits);
  if ((lengths & 0xFFFF) != ((lengths >> 16) ^ 0xFFFF)) return zelErrSize;
  in->Take(32);
  s->storedRemaining = static_cast<int32_t>(lengths & 0xFFFF);
  return zelOk;
}

zelStatus StoredToBytes(DecoderState* s, BytewiseReader* in, uint8_t** dst, int32_t* dstLen) {
  if (s->decodeStage < kStageStoredAnnounced || s->decodeStage > kStageStoredCopy) return zelErr;
  if (s->decodeStage == kStageStoredAnnounced) {
    in->AlignToByte();
    s->decodeStage = kStageStoredLength;
  }
  if (s->decodeStage == kStageStoredLength) {
    const zelStatus status = ReadLength(s, in);
    if (status != zelOk) return status;
    if (s->storedRemaining == 0) return EndBlock(s);
    s->decodeStage = kStageStoredBuffered;
  }
  if (s->decodeStage == kStageStoredBuffered) {
    // Whole bytes that were taken before the block began. They go to the output only, not into the history.
    for (; s->storedRemaining > 0 && in->count >= 8; --s->storedRemaining, --*dstLen) {
      if (*dstLen == 0) return zelWarnDstFull;
      *(*dst)++ = static_cast<uint8_t>(in->Take(8));
    }
    s->decodeStage = kStageStoredCopy;
  }

  int32_t n = s->storedRemaining;
  if (n > in->left) n = in->left;
  if (n > *dstLen) n = *dstLen;
  memcpy(*dst, in->src, static_cast<size_t>(n));
  AppendToHistory(&s->history, *dst, static_cast<size_t>(n));
  in->src += n;
  in->left -= n;
  *dst += n;
  *dstLen -= n;
  s->storedRemaining -= n;
  if (s->storedRemaining == 0) return EndBlock(s);
  return *dstLen > 0 ? zelWarnSrcShort : zelWarnDstFull;
}

zelStatus StoredToPairs(DecoderState* s, BytewiseReader* in, zelLZ77Pair** pairs, int32_t* pairsLen) {
  if (s->decodeStage != kStagePairsStoredLength && s->decodeStage != kStagePairsStoredBytes) {
    BytewiseReader ahead = *in;
    if (!ahead.Gather(3)) return zelWarnSrcShort;
    const uint32_t header = ahead.Take(3);
    if (header > 1) return zelErr;
    *in = ahead;
    s->blockType = zelLZ77HuffStored;
    s->finalBlock = static_cast<int32_t>(header);
    s->decodeStage = kStagePairsStoredLength;
  }
  if (s->decodeStage != kStagePairsStoredBytes) {
    in->AlignToByte();
    const zelStatus status = ReadLength(s, in);
    if (status != zelOk) return status;
    if (s->storedRemaining == 0) return EndBlock(s);
    s->decodeStage = kStagePairsStoredBytes;
  }

  for (;;) {
    if (in->left == 0 && in->count < 8) return zelWarnSrcShort;
    if (*pairsLen == 0) return zelWarnDstFull;
    if (s->storedRemaining < 1) return EndBlock(s);  // the stage was set by a Huffman decoder
    in->Gather(8);
    *(*pairs)++ = {static_cast<uint16_t>(in->Take(8)), 0};
    --*pairsLen;
    if (--s->storedRemaining == 0) return EndBlock(s);
  }
}

}  // namespace

}  // namespace zeldc

using namespace zeldc;

extern "C" {

zelStatus zelsDecodeLZ77StoredBlock_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                       zelLZ77State* pLZ77State) {
  if (!ppSrc || !ppDst || !pSrcLen || !pDstLen || !*ppSrc || !*ppDst || !pLZ77State) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pDstLen < 0) return zelErrSize;
  if (*pDstLen == 0) return zelWarnDstFull;
  DecoderState* s = Decoder(pLZ77State);
  const RedzoneGuard guard(s);
  BytewiseReader in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  const zelStatus status = StoredToBytes(s, &in, ppDst, pDstLen);
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.left;
  return status;
}

zelStatus zelsDecodeLZ77StoredHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                      int32_t* pPairsLen, zelLZ77State* pLZ77State) {
  if (!ppSrc || !ppPairs || !pSrcLen || !pPairsLen || !*ppSrc || !*ppPairs || !pLZ77State) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pPairsLen < 0) return zelErrSize;
  DecoderState* s = Decoder(pLZ77State);
  const RedzoneGuard guard(s);
  BytewiseReader in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  const zelStatus status = StoredToPairs(s, &in, ppPairs, pPairsLen);
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.left;
  return status;
}

}  // extern "C"
