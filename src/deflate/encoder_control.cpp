// Size, creation, reset, dictionary and status of the encoder's record.

#include "core/alloc.h"
#include "core/vector_primitives.h"
#include "deflate/encoder_state.h"

using namespace zeldc;

namespace {

// What Init and Reset have in common.
void StartStream(EncoderState* s) {
  s->UseOwnPairs(zelLZ77MaxPairs);
  s->srcRemain = 0;
  s->lastFlush = zelLZ77FlushNone;
  s->historyPos = 0;
  s->checksum = 0;
  s->totalIn.Set(0);
  s->bitBuffer.Set(0);
  s->bitCount = 0;
  s->blockStep = kStepDone;
  s->markerOwed = 0;
  s->storedStep = kStoredBegin;
  s->storedLeft = 0;
  s->chosenMode = zelLZ77HuffFixed;
  s->trailerWritten = 0;
  s->codeBuilt = 0;
  s->treeBits = 0;
  s->treeBytesTaken = 0;
  ClearSearch(s);
}

}  // namespace

extern "C" {

zelStatus zelsEncodeLZ77GetSize_8u(int32_t* pSize) {
  if (!pSize) return zelErrNullPtr;
  *pSize = kEncoderRecordSize;
  return zelOk;
}

zelStatus zelsEncodeLZ77Init_8u(zelLZ77Level level, zelLZ77ChecksumKind checksum, zelLZ77State* pState) {
  if (!pState) return zelErrNullPtr;
  EncoderState* s = Encoder(pState);
  s->level = level == zelLZ77LevelFast || level == zelLZ77LevelBest ? level : zelLZ77LevelNormal;
  StartStream(s);
  s->checksumKind = checksum;
  s->deflateStatus = zelLZ77StatusInit;
  s->blockPhase = kPhaseNone;
  s->choicePending = 0;
  ownsZero_8u(s->trailer, sizeof(s->trailer));
  ownsZero_8u(s->litLenLengths, sizeof(s->litLenLengths));
  ownsZero_8u(s->distanceLengths, sizeof(s->distanceLengths));
  return zelOk;
}

zelStatus zelsEncodeLZ77InitAlloc_8u(zelLZ77Level level, zelLZ77ChecksumKind checksum, zelLZ77State** ppState) {
  if (!ppState) return zelErrNullPtr;
  *ppState = static_cast<zelLZ77State*>(zelAllocState(kEncoderRecordSize));
  if (!*ppState) return zelErrNoMem;
  return zelsEncodeLZ77Init_8u(level, checksum, *ppState);
}

zelStatus zelsEncodeLZ77Reset_8u(zelLZ77State* pState) {
  if (!pState) return zelErrNullPtr;
  StartStream(Encoder(pState));
  return zelOk;
}

zelStatus zelsEncodeLZ77SetDictionary_8u(const uint8_t* pDict, int32_t dictLen, zelLZ77State* pState) {
  if (!pDict || !pState) return zelErrNullPtr;
  if (dictLen < 0) return zelErrSize;
  if (dictLen < kMinMatch) return zelOk;
  EncoderState* s = Encoder(pState);
  if (s->deflateStatus != zelLZ77StatusInit) return zelErr;
  const RedzoneGuard guard(s);
  const int32_t used = dictLen < kWindowSize ? dictLen : kWindowSize;
  if (s->window.tablePos != 0 || s->window.fill != 0) ClearSearch(s);  // of an earlier dictionary
  ownsCopy_8u(pDict + (dictLen - used), s->window.history, used);
  s->historyPos = static_cast<uint32_t>(used);
  s->window.fill = used;
  InsertDictionary(s);
  return zelOk;
}

zelStatus zelsEncodeLZ77SetStatus_8u(zelLZ77DeflateStatus status, zelLZ77State* pState) {
  if (!pState) return zelErrNullPtr;
  if (status == zelLZ77StatusCoding) {
    Encoder(pState)->blockPhase = kPhaseHeader;
    pState->pairsLen = pState->pairsPos;
    pState->pairsPos = 0;
  } else if (status == zelLZ77StatusMatching) {
    pState->pairsPos = 0;
    pState->pairsLen = zelLZ77MaxPairs;
  }
  pState->deflateStatus = status;
  return zelOk;
}

}  // extern "C"
