// Stored blocks: to bytes (zelsDecodeLZ77StoredBlock_8u) and to pairs (zelsDecodeLZ77StoredHuff_8u). Bound by the copy.

#include <string.h>

#include "inflate/decoder_state.h"

namespace zeldc {

namespace {

// Bits and source of a call; bytes are taken one at a time, as many as are needed.
struct StoredSource {
  uint64_t bits;
  int32_t count;
  const uint8_t* src;
  int32_t len;

  // At least n bits, n up to 32, or all that there are.
  bool Gather(int32_t n) {
    while (count < n) {
      if (len == 0) return false;
      bits |= uint64_t{*src++} << count;
      --len;
      count += 8;
    }
    return true;
  }

  uint32_t Take(int n) {
    const uint32_t v = static_cast<uint32_t>(bits & ((uint64_t{1} << n) - 1));
    bits >>= n;
    count -= n;
    return v;
  }

  void Align() { Take(count & 7); }
};

zelStatus EndBlock(DecoderState* s) {
  s->decodeStage = kStageHeader;
  s->storedRemaining = 0;
  return s->finalBlock ? zelWarnStreamEnd : zelOk;
}

// LEN and its complement.
zelStatus ReadLength(DecoderState* s, StoredSource* in) {
  if (!in->Gather(32)) return zelWarnSrcShort;
  const uint32_t lengths = static_cast<uint32_t>(in->bits);
  if ((lengths & 0xFFFF) != ((lengths >> 16) ^ 0xFFFF)) return zelErrSize;
  in->Take(32);
  s->storedRemaining = static_cast<int32_t>(lengths & 0xFFFF);
  return zelOk;
}

zelStatus StoredToBytes(DecoderState* s, StoredSource* in, uint8_t** dst, int32_t* dstLen) {
  if (s->decodeStage < kStageStoredAnnounced || s->decodeStage > kStageStoredCopy) return zelErr;
  if (s->decodeStage == kStageStoredAnnounced) {
    in->Align();
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
  if (n > in->len) n = in->len;
  if (n > *dstLen) n = *dstLen;
  memcpy(*dst, in->src, static_cast<size_t>(n));
  AppendToHistory(&s->history, *dst, static_cast<size_t>(n));
  in->src += n;
  in->len -= n;
  *dst += n;
  *dstLen -= n;
  s->storedRemaining -= n;
  if (s->storedRemaining == 0) return EndBlock(s);
  return *dstLen > 0 ? zelWarnSrcShort : zelWarnDstFull;
}

zelStatus StoredToPairs(DecoderState* s, StoredSource* in, zelLZ77Pair** pairs, int32_t* pairsLen) {
  if (s->decodeStage != kStagePairsStoredLength && s->decodeStage != kStagePairsStoredBytes) {
    StoredSource ahead = *in;
    if (!ahead.Gather(3)) return zelWarnSrcShort;
    const uint32_t header = ahead.Take(3);
    if (header > 1) return zelErr;
    *in = ahead;
    s->blockType = zelLZ77HuffStored;
    s->finalBlock = static_cast<int32_t>(header);
    s->decodeStage = kStagePairsStoredLength;
  }
  if (s->decodeStage != kStagePairsStoredBytes) {
    in->Align();
    const zelStatus status = ReadLength(s, in);
    if (status != zelOk) return status;
    if (s->storedRemaining == 0) return EndBlock(s);
    s->decodeStage = kStagePairsStoredBytes;
  }

  for (;;) {
    if (in->len == 0 && in->count < 8) return zelWarnSrcShort;
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
  StoredSource in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  const zelStatus status = StoredToBytes(s, &in, ppDst, pDstLen);
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.len;
  return status;
}

zelStatus zelsDecodeLZ77StoredHuff_8u(const uint8_t** ppSrc, int32_t* pSrcLen, zelLZ77Pair** ppPairs,
                                      int32_t* pPairsLen, zelLZ77State* pLZ77State) {
  if (!ppSrc || !ppPairs || !pSrcLen || !pPairsLen || !*ppSrc || !*ppPairs || !pLZ77State) return zelErrNullPtr;
  if (*pSrcLen < 0 || *pPairsLen < 0) return zelErrSize;
  DecoderState* s = Decoder(pLZ77State);
  const RedzoneGuard guard(s);
  StoredSource in{s->bitBuffer.Get(), s->bitCount, *ppSrc, *pSrcLen};
  const zelStatus status = StoredToPairs(s, &in, ppPairs, pPairsLen);
  s->bitBuffer.Set(in.bits);
  s->bitCount = in.count;
  *ppSrc = in.src;
  *pSrcLen = in.len;
  return status;
}

}  // extern "C"
