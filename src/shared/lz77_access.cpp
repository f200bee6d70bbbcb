// GetStatus, GetPairs and SetPairs: one function each for encoder and decoder.

#include "core/alias.h"
#include "shared/lz77_state.h"

extern "C" {

zelStatus zelsEncodeLZ77GetStatus_8u(zelLZ77DeflateStatus* pStatus, zelLZ77State* pState) {
  if (!pStatus || !pState) return zelErrNullPtr;
  *pStatus = pState->deflateStatus;
  return zelOk;
}

zelStatus zelsEncodeLZ77GetPairs_8u(zelLZ77Pair** ppPairs, int32_t* pPairsPos, int32_t* pPairsLen,
                                    zelLZ77State* pState) {
  if (!ppPairs || !pPairsPos || !pPairsLen || !pState) return zelErrNullPtr;
  *ppPairs = pState->Pairs();
  *pPairsPos = pState->pairsPos;
  *pPairsLen = pState->pairsLen;
  return zelOk;
}

zelStatus zelsEncodeLZ77SetPairs_8u(zelLZ77Pair* pPairs, int32_t pairsPos, int32_t pairsLen, zelLZ77State* pState) {
  if (!pPairs || !pState) return zelErrNullPtr;
  pState->callerPairs.Set(reinterpret_cast<uintptr_t>(pPairs));
  pState->pairsPos = pairsPos;
  pState->pairsLen = pairsLen;
  return zelOk;
}

ZELDC_ALIAS(zelsDecodeLZ77GetStatus_8u, zelsEncodeLZ77GetStatus_8u);
ZELDC_ALIAS(zelsDecodeLZ77GetPairs_8u, zelsEncodeLZ77GetPairs_8u);
ZELDC_ALIAS(zelsDecodeLZ77SetPairs_8u, zelsEncodeLZ77SetPairs_8u);

}  // extern "C"
