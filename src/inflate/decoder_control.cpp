// Size, creation, reset, dictionary, status and copy of the decoder's record.

#include <string.h>

#include "core/alloc.h"
#include "core/vector_primitives.h"
#include "inflate/decoder_state.h"

using namespace zeldc;

namespace {

// Everything that decoding reads before it writes. The window is read only as far as the fill counts say.
void StartStream(DecoderState* s) {
  s->UseOwnPairs(kDecoderPairs);
  s->deflateStatus = zelLZ77StatusInit;
  s->bitBuffer.Set(0);
  s->bitCount = 0;
  SetHistoryFill(&s->history, 0);
  s->decodeStage = kStageHeader;
  s->storedRemaining = 0;
  s->finalBlock = 0;
  s->streamEnded = 0;
  s->blockType = 0;
  s->pendingLen = 0;
  s->pendingDist = 0;
  s->codeLengthCodes = 0;
  s->litLenCodes = 0;
  s->distanceCodes = 0;
  s->lengthsRead = 0;
  ownsZero_8u(s->codeLengthTable.entries, sizeof(s->codeLengthTable.entries));
  ownsZero_8u(s->codeLengths, sizeof(s->codeLengths));
  MakeEmptyTables(&s->tables);
}

}  // namespace

extern "C" {

zelStatus zelsDecodeLZ77GetSize_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = kDecoderRecordSize;
  return zelOk;
}

zelStatus zelsDecodeLZ77Init_8u(int32_t mode, zelLZ77State* pLZ77State) {
  if (!pLZ77State) return zelErrNullPtr;
  StartStream(Decoder(pLZ77State));
  pLZ77State->checksumKind = mode;
  return zelOk;
}

zelStatus zelsDecodeLZ77InitAlloc_8u(int32_t mode, zelLZ77State** ppLZ77State) {
  if (!ppLZ77State) return zelErrNullPtr;
  auto* state = static_cast<zelLZ77State*>(zelAllocState(kDecoderRecordSize));
  if (!state) return zelErrNoMem;
  const zelStatus status = zelsDecodeLZ77Init_8u(mode, state);
  *ppLZ77State = state;
  return status;
}

zelStatus zelsDecodeLZ77Reset_8u(zelLZ77State* pLZ77State) {
  if (!pLZ77State) return zelErrNullPtr;
  StartStream(Decoder(pLZ77State));
  return zelOk;
}

zelStatus zelsDecodeLZ77SetDictionary_8u(const uint8_t* pDict, int32_t dictLen, zelLZ77State* pLZ77State) {
  if (!pDict || !pLZ77State) return zelErrNullPtr;
  if (dictLen < 1) return zelErrSize;
  DecoderState* s = Decoder(pLZ77State);
  const RedzoneGuard guard(s);
  const int32_t used = dictLen < kWindowSize ? dictLen : kWindowSize;
  if (used < kWindowSize) ownsZero_8u(s->history.window, kWindowSize - used);
  ownsCopy_8u(pDict + (dictLen - used), s->history.window + (kWindowSize - used), used);
  SetHistoryFill(&s->history, kWindowSize);
  return zelOk;
}

zelStatus zelsDecodeLZ77SetStatus_8u(zelLZ77DeflateStatus status, zelLZ77State* pLZ77State) {
  if (!pLZ77State) return zelErrNullPtr;
  pLZ77State->deflateStatus = status;
  return zelOk;
}

zelStatus zelsDecodeLZ77CopyState_8u(zelLZ77State* pSrcState, zelLZ77State* pDstState) {
  if (!pSrcState || !pDstState) return zelErrNullPtr;
  // The record holds no address within itself.
  memmove(static_cast<void*>(pDstState), pSrcState, sizeof(DecoderState));
  return zelOk;
}

}  // extern "C"
